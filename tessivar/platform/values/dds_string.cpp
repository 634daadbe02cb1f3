// SPDX-License-Identifier: Apache-2.0

#include "tessivar/platform/dds_string.h"

#include "tessivar/platform/detail/string_room.h"

#include <cstdlib>
#include <cstring>
#include <new>

using tessivar::platform::has_string_header;
using tessivar::platform::renew_string;
using tessivar::platform::string_header;
using tessivar::platform::string_room;

char* DDS_String_alloc(std::size_t length) {
  char* text = nullptr;
  return length < UINT32_MAX && renew_string(&text, length + 1) ? text : nullptr;
}

char* DDS_String_dup(const char* text) {
  if (!text) return nullptr;
  const std::size_t length = std::strlen(text);
  char* copy = DDS_String_alloc(length);
  if (copy) std::memcpy(copy, text, length + 1);
  return copy;
}

void DDS_String_free(char* text) {
  if (has_string_header(text))
    ::operator delete(text - string_header);
  else
    std::free(text);
}

char* DDS_String_replace(char** destination, const char* text) {
  if (!destination) return nullptr;
  if (!text) {
    DDS_String_free(*destination);
    *destination = nullptr;
    return nullptr;
  }
  const std::size_t octets = std::strlen(text) + 1;
  if (string_room(*destination) >= octets) {
    std::memmove(*destination, text, octets);
    return *destination;
  }
  char* copy = DDS_String_dup(text);  // before the old string is freed: `text` may be a part of it
  if (!copy) return nullptr;
  DDS_String_free(*destination);
  return *destination = copy;
}

RTIBool DDS_String_copy_bounded(char** destination, const char* text, std::size_t size) {
  if (!destination || !text) return RTI_FALSE;
  const std::size_t octets = strnlen(text, size) + 1;
  if (octets > size) return RTI_FALSE;
  if (*destination == text) return RTI_TRUE;
  if (string_room(*destination) < octets && !renew_string(destination, size)) return RTI_FALSE;
  std::memmove(*destination, text, octets);
  return RTI_TRUE;
}

namespace tessivar::platform {

bool renew_string(char** text, std::size_t octets) {
  if (octets > UINT32_MAX) return false;
  auto* header = static_cast<char*>(::operator new(string_header + octets, std::nothrow));
  if (!header) return false;
  const auto room = static_cast<std::uint32_t>(octets);
  std::memcpy(header, &room, sizeof room);
  header[string_header] = '\0';
  DDS_String_free(*text);
  *text = header + string_header;
  return true;
}

}  // namespace tessivar::platform
