// SPDX-License-Identifier: Apache-2.0

#include "tessivar/framework/address/address_ex.h"
#include "tessivar/types/core/core.h"

#include <string>

#include <gtest/gtest.h>

namespace {

using TessivarDDS::AddressEx;

TEST(AddressExTest, EachConstructorGivesTextAndNumbers) {
  const struct {
    AddressEx address;
    const char* text;
    unsigned int packed;
  } cases[] = {
      {AddressEx(), "", 0},
      {AddressEx(1, 2, 10), "0001:02:0A", 0x0001020A},
      {AddressEx(0x12345, 0x1FF, 0x1FF), "2345:FF:FF", 0x2345FFFF},
      {AddressEx(Tessivar::Address{0xABCD, 1, 2}), "ABCD:01:02", 0xABCD0102},
      {AddressEx(" 0x1: 2: 0X3"), " 0x1: 2: 0X3", 0x00010203},
      {AddressEx("1:2:3:4 and more"), "1:2:3:4 and more", 0x00010203},
      {AddressEx("1 :2:3"), "1 :2:3", 0},
      {AddressEx(static_cast<const char*>(nullptr)), "", 0},
  };
  for (const auto& [address, text, packed] : cases) {
    EXPECT_STREQ(address.guid(), text);
    EXPECT_EQ(address.packed(), packed) << text;
    const Tessivar::Address converted = address.convert();
    EXPECT_EQ(converted.net << 16 | converted.unit << 8 | converted.port, static_cast<int>(packed)) << text;
  }
}

TEST(AddressExTest, ComparesTexts) {
  const AddressEx none, low("\x01"), high("\xFF");  // characters are compared as unsigned
  const struct {
    AddressEx a, b;
    bool equal, less, greater;
  } cases[] = {
      {none, low, false, false, false},
      {low, high, false, true, false},
      {high, low, false, false, true},
      {AddressEx(1, 2, 3), AddressEx("0001:02:03"), true, false, false},
      {AddressEx(1, 2, 3), AddressEx("1:2:3"), false, true, false},
      {AddressEx(0xFFFF, 0, 0), AddressEx("garbage"), false, true, false},
  };
  for (const auto& [a, b, equal, less, greater] : cases) {
    SCOPED_TRACE(std::string(a.guid()) + " and " + b.guid());
    EXPECT_EQ(a == b, equal);
    EXPECT_EQ(a != b, !equal);
    EXPECT_EQ(a < b, less);
    EXPECT_EQ(a > b, greater);
  }
}

}  // namespace
