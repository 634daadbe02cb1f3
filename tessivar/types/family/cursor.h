// SPDX-License-Identifier: Apache-2.0

// Cursors, which are positions in an encoding: SizeCursor counts, WriteCursor writes, ReadCursor reads.
//
// Alignment is relative to the octet after the encapsulation header (DDSI-RTPS 2.3, 10.2). WriteCursor and ReadCursor
// never pass their limit. A failure is final: the octets that were written or read before the failure must not be used.
#pragma once

#include "tessivar/platform/base.h"
#include "tessivar/platform/detail/byte_order.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace tessivar::types {

using platform::host_is_little_endian;

constexpr std::size_t align_up(std::size_t position, std::size_t alignment) {
  return (position + alignment - 1) & ~(alignment - 1);
}

template <class T>
T swap_octets(T value) {
  if constexpr (sizeof(T) == 1) {
    return value;
  } else if constexpr (sizeof(T) == 2) {
    return std::bit_cast<T>(platform::reversed(std::bit_cast<std::uint16_t>(value)));
  } else if constexpr (sizeof(T) == 4) {
    return std::bit_cast<T>(platform::reversed(std::bit_cast<std::uint32_t>(value)));
  } else {
    return std::bit_cast<T>(platform::reversed(std::bit_cast<std::uint64_t>(value)));
  }
}

/// Copies `size` octets, at least one. Most texts are short: they are copied without a call, as two blocks that may
/// overlap.
inline void copy_text(char* to, const char* from, std::size_t size) {
  const auto copy_ends = [=]<std::size_t Block>(std::integral_constant<std::size_t, Block>) {
    std::memcpy(to, from, Block);
    std::memcpy(to + size - Block, from + size - Block, Block);
  };
  if (size >= 32) {
    std::memcpy(to, from, size);
  } else if (size >= 16) {
    copy_ends(std::integral_constant<std::size_t, 16>());
  } else if (size >= 8) {
    copy_ends(std::integral_constant<std::size_t, 8>());
  } else if (size >= 4) {
    copy_ends(std::integral_constant<std::size_t, 4>());
  } else {
    to[0] = from[0];
    to[size / 2] = from[size / 2];
    to[size - 1] = from[size - 1];
  }
}

/// Parameter headers (DDS-XTypes 1.3, 7.4.1.1.5.2): 14 bits of id and two flags, then a length of 16 bits. The long
/// form adds an id and a length of 32 bits each.
namespace parameter {
constexpr std::uint16_t id_mask = 0x3fff;
constexpr std::uint16_t must_understand = 0x4000;
constexpr std::uint16_t implementation_specific = 0x8000;
constexpr std::uint16_t extended = 0x3f01;
constexpr std::uint16_t list_end = 0x3f02;
constexpr std::uint16_t ignore = 0x3f03;
constexpr std::uint16_t first_reserved = 0x3f00;
constexpr std::uint32_t long_id_mask = 0x0fffffff;
constexpr std::uint32_t long_must_understand = 0x40000000;
constexpr std::uint32_t long_implementation_specific = 0x80000000;
constexpr std::size_t alignment = 4;
constexpr std::size_t header_size = 4;
constexpr std::size_t max_length = 0xffff;
}  // namespace parameter

/// Counts the octets of an encoding.
struct SizeCursor {
  std::size_t position = 0;

  static constexpr bool reports = false;
  void align(std::size_t alignment) { position = align_up(position, alignment); }
  template <class T>
  bool put(T) {
    position = align_up(position, sizeof(T)) + sizeof(T);
    return true;
  }
  template <class T>
  bool put_array(const T*, std::size_t count) {
    if (count > 0) position = align_up(position, sizeof(T)) + sizeof(T) * count;
    return true;
  }
  bool put_text(const char*, std::size_t size) {
    position += size;
    return true;
  }
  std::size_t open_parameter(DDS_UnsignedLong) {
    align(parameter::alignment);
    return position += parameter::header_size;
  }
  bool close_parameter(std::size_t) {
    align(parameter::alignment);
    return true;
  }
  bool end_parameters() {
    align(parameter::alignment);
    position += parameter::header_size;
    return true;
  }
};

/// Ignores everything that is put into it. Used to check an encoding without storing it.
struct NullCursor {
  static constexpr bool reports = false;
  template <class T>
  bool put(T) {
    return true;
  }
  template <class T>
  bool put_array(const T*, std::size_t) {
    return true;
  }
  bool put_text(const char*, std::size_t) { return true; }
};

/// Writes an encoding. Padding octets are 0.
template <bool Swap>
struct WriteCursor {
  std::uint8_t* origin;
  std::size_t position;
  std::size_t limit;

  /// If true, `encode` logs an invalid enumerator.
  static constexpr bool reports = true;

  bool align(std::size_t alignment) {
    const std::size_t aligned = align_up(position, alignment);
    if (aligned > limit) return false;
    while (position < aligned) origin[position++] = 0;
    return true;
  }
  template <class T>
  bool put(T value) {
    const std::size_t aligned = align_up(position, sizeof(T));
    if (aligned + sizeof(T) > limit) return false;
    while (position < aligned) origin[position++] = 0;
    if constexpr (Swap) value = swap_octets(value);
    std::memcpy(origin + position, &value, sizeof(T));
    position += sizeof(T);
    return true;
  }
  template <class T>
  bool put_array(const T* values, std::size_t count) {
    if (count == 0) return true;
    if constexpr (Swap && sizeof(T) > 1) {
      for (std::size_t i = 0; i < count; ++i)
        if (!put(values[i])) return false;
    } else {
      if (!align(sizeof(T)) || count > (limit - position) / sizeof(T)) return false;
      std::memcpy(origin + position, values, count * sizeof(T));
      position += count * sizeof(T);
    }
    return true;
  }
  /// Writes the octets of a text, at least one.
  bool put_text(const char* text, std::size_t size) {
    if (size > limit - position) return false;
    copy_text(reinterpret_cast<char*>(origin + position), text, size);
    position += size;
    return true;
  }
  /// Returns the position of the parameter's body, or 0 if the buffer is too small.
  std::size_t open_parameter(DDS_UnsignedLong id) {
    if (!align(parameter::alignment)) return 0;
    return put(static_cast<std::uint16_t>(id)) && put(std::uint16_t{0}) ? position : 0;
  }
  /// Pads the body to the alignment and writes its length into the header.
  bool close_parameter(std::size_t body) {
    if (body == 0 || !align(parameter::alignment) || position - body > parameter::max_length) return false;
    WriteCursor header = {origin, body - sizeof(std::uint16_t), body};
    return header.put(static_cast<std::uint16_t>(position - body));
  }
  bool end_parameters() {
    constexpr std::uint16_t id = parameter::list_end | parameter::must_understand;
    return align(parameter::alignment) && put(id) && put(std::uint16_t{0});
  }
};

/// The header of a parameter that was read. The body ends at `end`.
struct ParameterHeader {
  DDS_UnsignedLong id;
  bool must_understand;
  bool is_list_end;
  std::size_t end;
};

struct LeanStorage;

/// Reads data from the network. Every length is checked before it is used.
template <bool Swap>
struct ReadCursor {
  const std::uint8_t* origin;
  std::size_t position;
  std::size_t limit;
  LeanStorage* lean = nullptr;  // of the sample that is decoded, see memory.h; null if there is none

  /// Returns a cursor for the octets from here to `end`.
  ReadCursor until(std::size_t end) const { return {origin, position, end, lean}; }

  template <class T>
  bool get(T& value) {
    const std::size_t aligned = align_up(position, sizeof(T));
    if (aligned + sizeof(T) > limit) return false;
    std::memcpy(&value, origin + aligned, sizeof(T));
    if constexpr (Swap) value = swap_octets(value);
    position = aligned + sizeof(T);
    return true;
  }
  /// Returns a pointer to `count` elements of `octets` octets each, without changing their byte order. Returns null if
  /// the data has fewer elements.
  const std::uint8_t* get_block(std::size_t octets, std::size_t count) {
    if (count == 0) return origin + position;
    const std::size_t aligned = align_up(position, octets);
    if (aligned > limit || count > (limit - aligned) / octets) return nullptr;
    position = aligned + count * octets;
    return origin + aligned;
  }
  template <class T>
  bool get_array(T* values, std::size_t count) {
    const std::uint8_t* block = get_block(sizeof(T), count);
    if (!block) return false;
    std::memcpy(values, block, sizeof(T) * count);
    if constexpr (Swap && sizeof(T) > 1)
      for (std::size_t i = 0; i < count; ++i) values[i] = swap_octets(values[i]);
    return true;
  }
  std::size_t remainder() const { return limit - position; }

  bool get_parameter(ParameterHeader& header) {
    position = align_up(position, parameter::alignment);
    std::uint16_t short_id;
    std::uint16_t short_length;
    if (!get(short_id) || !get(short_length)) return false;
    const std::uint16_t id = short_id & parameter::id_mask;
    const bool specific = (short_id & parameter::implementation_specific) != 0;
    header = {id, (short_id & parameter::must_understand) != 0, id == parameter::list_end && !specific, position};
    if (header.is_list_end) return true;
    std::size_t length = short_length;
    if (id == parameter::extended && !specific) {
      std::uint32_t long_id;
      std::uint32_t long_length;
      if (length != sizeof long_id + sizeof long_length || !get(long_id) || !get(long_length)) return false;
      header.id = long_id & parameter::long_id_mask;
      header.must_understand = (long_id & parameter::long_must_understand) != 0;
      if (long_id & parameter::long_implementation_specific) header.id = no_member;
      length = long_length;
    } else if (id >= parameter::first_reserved || specific) {
      if (id == parameter::ignore) header.must_understand = false;
      header.id = no_member;
    }
    if (length > limit - position) return false;
    header.end = position + length;
    return true;
  }

  /// Ends the body of a parameter. Only padding may remain in it.
  bool close_parameter(const ReadCursor& body) {
    if (body.remainder() >= parameter::alignment) return false;
    position = body.limit;
    return true;
  }

 private:
  static constexpr DDS_UnsignedLong no_member = 0xffffffff;
};

}  // namespace tessivar::types
