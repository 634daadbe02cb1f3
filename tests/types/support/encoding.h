// SPDX-License-Identifier: Apache-2.0

// Functions for encodings as octets and as hexadecimal text.
#pragma once

#include "tests/types/support/any_type.h"

#include <optional>
#include <string>
#include <vector>

namespace types_test {

typedef std::vector<std::uint8_t> Octets;

inline std::string to_hex(const std::uint8_t* octets, std::size_t size) {
  constexpr const char* digits = "0123456789abcdef";
  std::string text;
  for (std::size_t i = 0; i < size; ++i) {
    text += digits[octets[i] >> 4];
    text += digits[octets[i] & 15];
  }
  return text;
}
inline std::string to_hex(const Octets& octets) {
  return to_hex(octets.data(), octets.size());
}
inline std::string to_hex(const DDS_KeyHash_t& hash) {
  return to_hex(hash.value, hash.length);
}

inline Octets from_hex(const std::string& text) {
  Octets octets;
  for (std::size_t i = 0; i + 1 < text.size(); i += 2)
    octets.push_back(static_cast<std::uint8_t>(std::stoi(text.substr(i, 2), nullptr, 16)));
  return octets;
}

/// A stream on its own octets.
class Stream {
 public:
  explicit Stream(std::size_t room) : octets_(room) { set(); }
  explicit Stream(Octets octets) : octets_(std::move(octets)) { set(); }
  Stream(const Stream&) = delete;
  Stream& operator=(const Stream&) = delete;
  RTICdrStream* get() { return &stream_; }
  std::size_t position() const { return static_cast<std::size_t>(RTICdrStream_getCurrentPositionOffset(&stream_)); }
  Octets written() const { return {octets_.begin(), octets_.begin() + static_cast<std::ptrdiff_t>(position())}; }

 private:
  void set() {
    RTICdrStream_init(&stream_);
    RTICdrStream_set(&stream_, reinterpret_cast<char*>(octets_.data()), static_cast<int>(octets_.size()));
  }
  Octets octets_;
  RTICdrStream stream_;
};

constexpr bool host_is_little_endian = RTI_CDR_HOST_ENDIAN == RTI_CDR_LITTLE_ENDIAN;

/// Returns the encoding with its header in the given octet order. Returns nothing on failure.
inline std::optional<Octets> encoding_of(const AnySample& sample, bool little_endian) {
  const AnyType& type = sample.type();
  Stream stream(type.plugin->get_serialized_sample_max_size(nullptr, RTI_TRUE, 0, 0));
  const auto id = static_cast<RTIEncapsulationId>((type.is_mutable ? 2 : 0) + (little_endian ? 1 : 0));
  if (!type.plugin->serialize(nullptr, sample.get(), stream.get(), RTI_TRUE, id, RTI_TRUE, nullptr))
    return std::nullopt;
  return stream.written();
}

/// Returns true if both samples have the same members.
inline bool same(const AnySample& a, const AnySample& b) {
  return a.text() == b.text() && encoding_of(a, true) == encoding_of(b, true);
}

inline bool decode(const AnySample& into, const Octets& octets) {
  return into.type().plugin->decode(into.get(), octets.data(), octets.size());
}

}  // namespace types_test
