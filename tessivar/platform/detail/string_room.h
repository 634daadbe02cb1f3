// SPDX-License-Identifier: Apache-2.0

// How much memory ("room") the string of a sample has.
//
// A string from DDS_String_alloc or DDS_String_dup has a header in front of it, which states its room, and begins at an
// odd address. A string from malloc begins at an even address; its room is at least its text with the terminator.
#pragma once

#include "tessivar/platform/export.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace tessivar::platform {

/// The size of the header: 4 octets for the room, and one octet that makes the address of the string odd.
constexpr std::size_t string_header = 5;

inline bool has_string_header(const char* text) {
  return (reinterpret_cast<std::uintptr_t>(text) & 1) != 0;
}

/// Returns the room in octets, including the terminator; 0 for null.
inline std::size_t string_room(const char* text) {
  if (!text) return 0;
  if (!has_string_header(text)) return std::strlen(text) + 1;
  std::uint32_t room;
  std::memcpy(&room, text - string_header, sizeof room);
  return room;
}

/// Replaces `*text` by an empty string with a room of exactly `octets` (at least 1), including the terminator. If
/// memory is short, returns false and leaves `*text` unchanged.
TESSIVAR_API bool renew_string(char** text, std::size_t octets);

}  // namespace tessivar::platform
