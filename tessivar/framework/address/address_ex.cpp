// SPDX-License-Identifier: Apache-2.0

#include "tessivar/framework/address/address_ex.h"

#include "tessivar/types/core/core.h"

#include <cstdio>
#include <cstring>
#include <utility>

namespace TessivarDDS {

namespace {

constexpr std::uint32_t pack(std::uint32_t net, std::uint32_t unit, std::uint32_t port) {
  return (net << 16) | (unit << 8) | port;
}

/// Returns "NNNN:UU:PP". The fields are cut to their widths.
char* canonicalText(std::uint32_t net, std::uint32_t unit, std::uint32_t port) {
  char text[sizeof "NNNN:UU:PP"];
  std::snprintf(text, sizeof text, "%04X:%02X:%02X", net & 0xFFFFu, unit & 0xFFu, port & 0xFFu);
  return DDS_String_dup(text);
}

std::uint32_t parse(const char* text) {
  unsigned int net = 0, unit = 0, port = 0;
  if (!text || std::sscanf(text, "%X:%X:%X", &net, &unit, &port) != 3) return 0;
  return pack(net, unit & 0xFFu, port & 0xFFu);
}

}  // namespace

AddressEx::AddressEx(int net, int unit, int port) {
  const auto n = static_cast<std::uint32_t>(net);
  const auto u = static_cast<std::uint32_t>(unit);
  const auto p = static_cast<std::uint32_t>(port);
  text_ = canonicalText(n, u, p);
  packed_ = pack(n, u & 0xFFu, p & 0xFFu);
}

AddressEx::AddressEx(unsigned int packed) : text_(canonicalText(packed >> 16, packed >> 8, packed)), packed_(packed) {}

AddressEx::AddressEx(const char* text) : text_(DDS_String_dup(text)), packed_(parse(text)) {}

AddressEx::AddressEx(const Tessivar::Address& address)
    : text_(canonicalText(address.net, address.unit, address.port)),
      packed_(pack(address.net, address.unit, address.port)) {}

AddressEx::AddressEx(const AddressEx& other) : text_(DDS_String_dup(other.text_)), packed_(other.packed_) {}

AddressEx::AddressEx(AddressEx&& other) noexcept
    : text_(std::exchange(other.text_, nullptr)), packed_(std::exchange(other.packed_, 0)) {}

AddressEx& AddressEx::operator=(const AddressEx& other) {
  if (this != &other) *this = AddressEx(other);
  return *this;
}

AddressEx& AddressEx::operator=(AddressEx&& other) noexcept {
  std::swap(text_, other.text_);
  std::swap(packed_, other.packed_);
  return *this;
}

AddressEx::~AddressEx() {
  DDS_String_free(text_);
}

bool AddressEx::operator==(const AddressEx& other) const {
  if (text_ && other.text_) return std::strcmp(text_, other.text_) == 0;
  return !text_ && !other.text_ && packed_ == other.packed_;
}

bool AddressEx::operator!=(const AddressEx& other) const {
  return !(*this == other);
}

bool AddressEx::operator<(const AddressEx& other) const {
  if (text_ && other.text_) return std::strcmp(text_, other.text_) < 0;
  return !text_ && !other.text_ && packed_ < other.packed_;
}

bool AddressEx::operator>(const AddressEx& other) const {
  return other < *this;
}

Tessivar::Address AddressEx::convert() const {
  Tessivar::Address address;
  address.net = static_cast<DDS_UnsignedShort>(packed_ >> 16);
  address.unit = static_cast<DDS_Octet>(packed_ >> 8);
  address.port = static_cast<DDS_Octet>(packed_);
  return address;
}

char* AddressEx::guid() const {
  static char none[] = "";
  return text_ ? text_ : none;
}

std::string AddressEx::toString() const {
  return guid();
}

void AddressEx::copyTo(char*& destination) const {
  // The caller's memory is large enough, see the header. NOLINTNEXTLINE(clang-analyzer-security.insecureAPI.strcpy)
  if (text_ && destination) std::strcpy(destination, text_);
}

void AddressEx::copyTo(char** destination) const {
  if (!destination) return;
  if (*destination) {
    std::strcpy(*destination, guid());  // NOLINT(clang-analyzer-security.insecureAPI.strcpy): as above
  } else {
    *destination = DDS_String_dup(guid());
  }
}

}  // namespace TessivarDDS
