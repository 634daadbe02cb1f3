// SPDX-License-Identifier: Apache-2.0

#include "tessivar/platform/writer/writer_instances.h"

#include <new>

namespace tessivar::platform {

WriterInstances::ByKey::value_type* WriterInstances::known(const EncodedKey& key) {
  if (latest_ && latest_->first == key.bytes()) return latest_;
  const auto found = by_key_.find(key.bytes());
  if (found == by_key_.end()) return nullptr;
  return latest_ = &*found;
}

std::optional<KeyHash> WriterInstances::add(const EncodedKey& key, const void* sample, bool written,
                                            const DDS_InstanceHandle_t& meant) {
  const MutexLock lock(mutex_);
  if (ByKey::value_type* instance = known(key)) {
    if (is_nil_or_handle_of(meant, instance->second.hash)) instance->second.written |= written;
    return instance->second.hash;
  }
  DDS_KeyHash_t octets = {};
  if (!type_.instance_to_keyhash(nullptr, &octets, sample)) return std::nullopt;
  const KeyHash hash = key_hash_of(octets.value);
  if (!is_nil_or_handle_of(meant, hash)) return hash;
  try {
    const auto added = by_key_.emplace(key.bytes(), Known{hash, written}).first;
    try {
      by_hash_[hash] = &added->first;
    } catch (...) {
      by_key_.erase(added);
      throw;
    }
  } catch (const std::bad_alloc&) {
    return std::nullopt;
  }
  return hash;
}

std::optional<WriterInstances::Known> WriterInstances::find(const EncodedKey& key) {
  const MutexLock lock(mutex_);
  const ByKey::value_type* instance = known(key);
  return instance ? std::optional(instance->second) : std::nullopt;
}

void WriterInstances::remove(const EncodedKey& key) {
  const MutexLock lock(mutex_);
  const auto instance = by_key_.find(key.bytes());
  if (instance == by_key_.end()) return;
  by_hash_.erase(instance->second.hash);
  by_key_.erase(instance);
  latest_ = nullptr;
}

std::optional<std::string> WriterInstances::key_of(const DDS_InstanceHandle_t& handle) {
  if (!handle.isValid) return std::nullopt;
  const MutexLock lock(mutex_);
  const auto instance = by_hash_.find(key_hash_of(handle.keyHash.value));
  return instance == by_hash_.end() ? std::nullopt : std::optional(*instance->second);
}

}  // namespace tessivar::platform
