// SPDX-License-Identifier: Apache-2.0

// The address of a unit or port on the bus.
#pragma once

#include "tessivar/platform/export.h"

#include <cstdint>
#include <string>

namespace Tessivar {
struct Address;
}

namespace TessivarDDS {

/// Names a unit, and a port of it, by a text ("0001:02:0A": net, unit and port in hexadecimal) and by the same three
/// numbers packed into 32 bits (net in bits 16 to 31, unit in 8 to 15, port in 0 to 7).
///
/// The text is the identity: it is kept as given and it alone is compared, byte by byte, when both sides have one;
/// "1:2:3" and "0001:02:03" are different keys with the same numbers. Two values without text compare by number. A
/// value with and one without text are unequal and neither is less, so an ordered container must not mix them.
///
/// A value: copies are independent; const access from several threads is safe. When memory is short a value is left
/// without text. Nothing throws but toString(), when memory is short.
class TESSIVAR_API AddressEx {
 public:
  /// No text, all numbers 0.
  AddressEx() = default;
  /// `net` is cut to 16 bits, `unit` and `port` to 8.
  AddressEx(int net, int unit, int port);
  explicit AddressEx(unsigned int packed);
  /// Keeps `text` as it is; null is none. The numbers are 0 when it is not three hexadecimal ones parted by colons.
  AddressEx(const char* text);
  /// The packed value is made without cutting the members to their widths; the text is made with.
  AddressEx(const Tessivar::Address& address);
  AddressEx(const AddressEx& other);
  AddressEx(AddressEx&& other) noexcept;
  AddressEx& operator=(const AddressEx& other);
  AddressEx& operator=(AddressEx&& other) noexcept;
  ~AddressEx();

  bool operator==(const AddressEx& other) const;
  bool operator!=(const AddressEx& other) const;
  bool operator<(const AddressEx& other) const;
  bool operator>(const AddressEx& other) const;

  Tessivar::Address convert() const;
  /// The text, "" when there is none. Owned by this value; not to be changed.
  char* guid() const;
  int net() const { return static_cast<int>(packed_ >> 16); }
  int unit() const { return static_cast<int>((packed_ >> 8) & 0xFFu); }
  int port() const { return static_cast<int>(packed_ & 0xFFu); }
  unsigned int packed() const { return packed_; }
  std::string toString() const;

  /// Copies the text into the caller's buffer, which must be long enough; nothing when there is no text or no buffer.
  void copyTo(char*& destination) const;
  /// The text, or "": into the buffer `*destination`, which must be long enough, or as a new platform string, which the
  /// caller frees, when `*destination` is null.
  void copyTo(char** destination) const;

 private:
  char* text_ = nullptr;  // a platform string
  std::uint32_t packed_ = 0;
};

}  // namespace TessivarDDS
