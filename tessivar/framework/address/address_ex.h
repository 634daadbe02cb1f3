// SPDX-License-Identifier: Apache-2.0

// The address of a unit or a port on the bus.
#pragma once

#include "tessivar/platform/export.h"

#include <cstdint>
#include <string>

namespace Tessivar {
struct Address;
}

namespace TessivarDDS {

/// Identifies a unit and one of its ports. The address has two forms: a text ("0001:02:0A": net, unit and port in
/// hexadecimal) and the same three numbers packed into 32 bits (net in bits 16 to 31, unit in 8 to 15, port in 0 to 7).
///
/// The text is the identity and is kept as given. If both addresses have a text, only the texts are compared, byte by
/// byte: "1:2:3" and "0001:02:03" are different keys with the same numbers. Two addresses without text are compared by
/// their numbers. An address with text and an address without text are unequal, and neither is less. Therefore an
/// ordered container must not contain both.
///
/// A value type: copies are independent, and several threads may read one address at the same time. If memory is short,
/// an address has no text. Only toString() throws, if memory is short.
class TESSIVAR_API AddressEx {
 public:
  /// No text; all numbers are 0.
  AddressEx() = default;
  /// `net` is cut to 16 bits, `unit` and `port` to 8 bits.
  AddressEx(int net, int unit, int port);
  explicit AddressEx(unsigned int packed);
  /// Keeps `text` unchanged. Null means no text. The numbers are 0 unless the text begins with three hexadecimal
  /// numbers that are separated by colons.
  AddressEx(const char* text);
  /// The text has the form "0001:02:0A".
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
  /// Returns the text, or "" if there is none. The address owns the text; do not change it.
  char* guid() const;
  int net() const { return static_cast<int>(packed_ >> 16); }
  int unit() const { return static_cast<int>((packed_ >> 8) & 0xFFu); }
  int port() const { return static_cast<int>(packed_ & 0xFFu); }
  unsigned int packed() const { return packed_; }
  std::string toString() const;

  /// Copies the text into the buffer of the caller, which must be long enough. Does nothing if there is no text or no
  /// buffer.
  void copyTo(char*& destination) const;
  /// Copies the text, or "". If `*destination` is a buffer, it must be long enough. If `*destination` is null, it is
  /// set to a new platform string that the caller frees.
  void copyTo(char** destination) const;

 private:
  char* text_ = nullptr;  // a platform string
  std::uint32_t packed_ = 0;
};

}  // namespace TessivarDDS
