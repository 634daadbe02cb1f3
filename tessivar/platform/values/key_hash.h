// SPDX-License-Identifier: Apache-2.0

// Functions for key hashes as keys of hash tables and as instance handles.
#pragma once

#include "tessivar/platform/base.h"

#include <array>
#include <cstring>

namespace tessivar::platform {

typedef std::array<std::uint8_t, 16> KeyHash;

struct KeyHashHasher {
  std::size_t operator()(const KeyHash& hash) const {
    // A key of up to 16 octets is its own key hash, so two hashes may differ in any octet. All octets are mixed.
    std::uint64_t low = 0;
    std::uint64_t high = 0;
    std::memcpy(&low, hash.data(), sizeof low);
    std::memcpy(&high, hash.data() + sizeof low, sizeof high);
    const std::uint64_t mixed = (low ^ (high * 0x9e3779b97f4a7c15u)) * 0xff51afd7ed558ccdu;
    return static_cast<std::size_t>(mixed ^ (mixed >> 32));
  }
};

inline KeyHash key_hash_of(const std::uint8_t (&octets)[16]) {
  KeyHash hash;
  std::memcpy(hash.data(), octets, hash.size());
  return hash;
}

inline DDS_InstanceHandle_t handle_of(const KeyHash& hash) {
  DDS_InstanceHandle_t handle = DDS_HANDLE_NIL;
  std::memcpy(handle.keyHash.value, hash.data(), hash.size());
  handle.keyHash.length = static_cast<DDS_UnsignedLong>(hash.size());
  handle.isValid = DDS_BOOLEAN_TRUE;
  return handle;
}

/// Returns true if the handle is nil, or if it is the handle of the instance with that key hash.
inline bool is_nil_or_handle_of(const DDS_InstanceHandle_t& handle, const KeyHash& hash) {
  return !handle.isValid || std::memcmp(handle.keyHash.value, hash.data(), hash.size()) == 0;
}

}  // namespace tessivar::platform
