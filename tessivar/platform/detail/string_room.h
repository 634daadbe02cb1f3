// SPDX-License-Identifier: Apache-2.0

// How much room a sample's string has.
//
// A string from DDS_String_alloc or DDS_String_dup lies behind a header that states its room, at an odd address. A
// string from malloc lies at an even address; all that is certain of its room is the text that it holds.
#pragma once

#include "tessivar/platform/export.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace tessivar::platform {

/// The room in 4 octets, and one octet that makes the string's address odd.
constexpr std::size_t string_header = 5;

inline bool has_string_header(const char* text) {
  return (reinterpret_cast<std::uintptr_t>(text) & 1) != 0;
}

/// Octets, terminator included; 0 for null.
inline std::size_t string_room(const char* text) {
  if (!text) return 0;
  if (!has_string_header(text)) return std::strlen(text) + 1;
  std::uint32_t room;
  std::memcpy(&room, text - string_header, sizeof room);
  return room;
}

/// Gives `*text` room for exactly `octets` (at least 1), terminator included; its content is lost. False with `*text`
/// unchanged when memory is short.
TESSIVAR_API bool renew_string(char** text, std::size_t octets);

}  // namespace tessivar::platform
