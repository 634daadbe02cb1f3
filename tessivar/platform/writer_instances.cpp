#include "tessivar/platform/writer_instances.h"

#include <new>

namespace tessivar::platform {

std::optional<KeyHash> WriterInstances::add(const EncodedKey& key, const void* sample, bool written) {
  const std::lock_guard lock(mutex_);
  if (const auto known = by_key_.find(key.bytes()); known != by_key_.end()) {
    known->second.written |= written;
    return known->second.hash;
  }
  DDS_KeyHash_t octets = {};
  if (!type_.instance_to_keyhash(nullptr, &octets, sample)) return std::nullopt;
  const KeyHash hash = key_hash_of(octets.value);
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

std::optional<WriterInstances::Known> WriterInstances::find(const EncodedKey& key) const {
  const std::lock_guard lock(mutex_);
  const auto known = by_key_.find(key.bytes());
  return known == by_key_.end() ? std::nullopt : std::optional(known->second);
}

void WriterInstances::remove(const EncodedKey& key) {
  const std::lock_guard lock(mutex_);
  const auto known = by_key_.find(key.bytes());
  if (known == by_key_.end()) return;
  by_hash_.erase(known->second.hash);
  by_key_.erase(known);
}

std::optional<std::string> WriterInstances::key_of(const DDS_InstanceHandle_t& handle) const {
  if (!handle.isValid) return std::nullopt;
  const std::lock_guard lock(mutex_);
  const auto known = by_hash_.find(key_hash_of(handle.keyHash.value));
  return known == by_hash_.end() ? std::nullopt : std::optional(*known->second);
}

}  // namespace tessivar::platform
