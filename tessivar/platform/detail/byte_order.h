// SPDX-License-Identifier: Apache-2.0

// The octet order of the host, and functions that reverse it.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>

namespace tessivar::platform {

constexpr bool host_is_little_endian = std::endian::native == std::endian::little;

/// Returns an unsigned number with its octets in reverse order. Compilers translate it to one instruction.
constexpr std::uint16_t reversed(std::uint16_t number) {
  return static_cast<std::uint16_t>(number >> 8 | number << 8);
}
constexpr std::uint32_t reversed(std::uint32_t number) {
  return number >> 24 | (number >> 8 & 0xff00) | (number << 8 & 0xff0000) | number << 24;
}
constexpr std::uint64_t reversed(std::uint64_t number) {
  return std::uint64_t{reversed(static_cast<std::uint32_t>(number))} << 32 |
         reversed(static_cast<std::uint32_t>(number >> 32));
}

}  // namespace tessivar::platform
