// The instances that one writer knows.
//
// Found by their encoded key, so that a known instance costs no key hash; by handle for who asks for the key.
#pragma once

#include "tessivar/platform/detail/mutex.h"
#include "tessivar/platform/values/encoded_key.h"
#include "tessivar/platform/values/key_hash.h"

#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>

namespace tessivar::platform {

/// Thread-safe.
class WriterInstances {
 public:
  explicit WriterInstances(const PRESTypePlugin& type) : type_(type) {}

  /// The hash of the sample's key, whose instance is known from now on; nothing when there is no memory for it.
  /// `written` says that the bus gets to know it, too. When `meant` is another instance's, nothing is recorded.
  std::optional<KeyHash> add(const EncodedKey& key, const void* sample, bool written,
                             const DDS_InstanceHandle_t& meant = DDS_HANDLE_NIL);
  struct Known {
    KeyHash hash;
    bool written;
  };
  std::optional<Known> find(const EncodedKey& key);
  void remove(const EncodedKey& key);
  /// The encoded key of that instance.
  std::optional<std::string> key_of(const DDS_InstanceHandle_t& handle);

 private:
  struct Hasher {
    typedef void is_transparent;
    std::size_t operator()(std::string_view bytes) const { return std::hash<std::string_view>()(bytes); }
  };
  typedef std::unordered_map<std::string, Known, Hasher, std::equal_to<>> ByKey;

  /// With the lock held; null when it is not known.
  ByKey::value_type* known(const EncodedKey& key);

  const PRESTypePlugin& type_;
  Mutex mutex_;
  ByKey by_key_;
  ByKey::value_type* latest_ = nullptr;  // writers tend to stay with an instance
  std::unordered_map<KeyHash, const std::string*, KeyHashHasher> by_hash_;
};

}  // namespace tessivar::platform
