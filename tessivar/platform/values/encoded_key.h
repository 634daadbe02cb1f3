// SPDX-License-Identifier: Apache-2.0

// The encoded key of a sample. A key of up to 512 octets needs no allocation.
#pragma once

#include "tessivar/platform/type_plugin.h"

#include <cstdint>
#include <string_view>
#include <type_traits>
#include <vector>

namespace tessivar::platform {

class EncodedKey {
 public:
  /// `encode(buffer, capacity)` returns the size of the key and writes the key only if it fits, like
  /// PRESTypePlugin::encode_key.
  template <class Encode>
  requires std::is_invocable_r_v<std::size_t, const Encode&, std::uint8_t*, std::size_t>
  explicit EncodedKey(const Encode& encode) {
    size_ = encode(near_, sizeof near_);
    if (size_ > sizeof near_) {
      far_.resize(size_);
      encode(far_.data(), size_);
    }
  }
  EncodedKey(const PRESTypePlugin& type, const void* sample)
      : EncodedKey(
            [&](std::uint8_t* buffer, std::size_t capacity) { return type.encode_key(sample, buffer, capacity); }) {}
  EncodedKey(const EncodedKey&) = delete;
  EncodedKey& operator=(const EncodedKey&) = delete;

  /// Returns false if the key cannot be encoded.
  explicit operator bool() const { return size_ != 0; }
  const std::uint8_t* data() const { return far_.empty() ? near_ : far_.data(); }
  std::size_t size() const { return size_; }
  std::string_view bytes() const { return {reinterpret_cast<const char*>(data()), size_}; }

 private:
  std::uint8_t near_[512];
  std::vector<std::uint8_t> far_;
  std::size_t size_ = 0;
};

}  // namespace tessivar::platform
