#include "tessivar/platform/dds_string.h"

#include <cstdlib>
#include <cstring>
#include <malloc.h>

char* DDS_String_alloc(std::size_t length) {
  char* text = static_cast<char*>(std::malloc(length + 1));
  if (text) text[0] = '\0';
  return text;
}

char* DDS_String_dup(const char* text) {
  return text ? strdup(text) : nullptr;
}

void DDS_String_free(char* text) {
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
  if (*destination && malloc_usable_size(*destination) >= octets) {
    std::memmove(*destination, text, octets);
    return *destination;
  }
  char* copy = DDS_String_dup(text);  // before the old one goes: `text` may be a part of it
  if (!copy) return nullptr;
  DDS_String_free(*destination);
  return *destination = copy;
}

RTIBool DDS_String_copy_bounded(char** destination, const char* text, std::size_t size) {
  if (!destination || !text) return RTI_FALSE;
  const std::size_t octets = strnlen(text, size) + 1;
  if (octets > size) return RTI_FALSE;
  if (*destination == text) return RTI_TRUE;
  if (!tessivar::platform::reserve_string(destination, octets, size)) return RTI_FALSE;
  std::memcpy(*destination, text, octets);
  return RTI_TRUE;
}

namespace tessivar::platform {

// The allocator knows how much room a string has, so that a string which an application put into a sample, shorter than
// its member's bound, is never overrun.
bool reserve_string(char** text, std::size_t octets, std::size_t preferred) {
  if (*text && malloc_usable_size(*text) >= octets) return true;
  char* room = static_cast<char*>(std::malloc(preferred > octets ? preferred : octets));
  if (!room) return false;
  room[0] = '\0';
  std::free(*text);
  *text = room;
  return true;
}

}  // namespace tessivar::platform
