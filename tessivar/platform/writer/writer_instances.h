// SPDX-License-Identifier: Apache-2.0

// The instances that one writer knows.
//
// An instance is found by its encoded key, so that no key hash is computed for a known instance. key_of() finds it by
// its handle.
#pragma once

#include "tessivar/platform/detail/mutex.h"
#include "tessivar/platform/values/encoded_key.h"
#include "tessivar/platform/values/key_hash.h"

#include <optional>
#include <string>
#include <unordered_map>

namespace tessivar::platform {

/// Thread-safe.
class WriterInstances {
 public:
  explicit WriterInstances(const PRESTypePlugin& type) : type_(type) {}

  /// Adds the instance of `sample` if it is unknown. Returns the hash of its key, or nullopt if memory is short.
  /// `written` says that the instance is also written to the bus. If `meant` is the handle of another instance, nothing
  /// is recorded.
  std::optional<KeyHash> add(const EncodedKey& key, const void* sample, bool written,
                             const DDS_InstanceHandle_t& meant = DDS_HANDLE_NIL);
  struct Known {
    KeyHash hash;
    bool written;
  };
  std::optional<Known> find(const EncodedKey& key);
  void remove(const EncodedKey& key);
  /// Returns the encoded key of the instance, or nullopt if the instance is unknown.
  std::optional<std::string> key_of(const DDS_InstanceHandle_t& handle);

 private:
  struct Hasher {
    typedef void is_transparent;
    std::size_t operator()(std::string_view bytes) const { return std::hash<std::string_view>()(bytes); }
  };
  typedef std::unordered_map<std::string, Known, Hasher, std::equal_to<>> ByKey;

  /// Returns null if the instance is unknown.
  ByKey::value_type* known(const EncodedKey& key) TESSIVAR_REQUIRES(mutex_);

  const PRESTypePlugin& type_;
  Mutex mutex_;
  ByKey by_key_ TESSIVAR_GUARDED_BY(mutex_);
  /// Writers often use the same instance again.
  ByKey::value_type* latest_ TESSIVAR_GUARDED_BY(mutex_) = nullptr;
  std::unordered_map<KeyHash, const std::string*, KeyHashHasher> by_hash_ TESSIVAR_GUARDED_BY(mutex_);
};

}  // namespace tessivar::platform
