#include "tessivar/framework/address/address_ex.h"
#include "tessivar/types/core/core.h"

#include <string>

#include <gtest/gtest.h>

namespace {

using TessivarDDS::AddressEx;

TEST(AddressEx, made_of_numbers_has_the_canonical_text) {
  const struct {
    AddressEx address;
    const char* text;
    unsigned int packed;
  } cases[] = {
      {AddressEx(1, 2, 10), "0001:02:0A", 0x0001020A},
      {AddressEx(0x12345, 0x1FF, 0x1FF), "2345:FF:FF", 0x2345FFFF},
      {AddressEx(-1, -1, -1), "FFFF:FF:FF", 0xFFFFFFFF},
      {AddressEx(0x12345678u), "1234:56:78", 0x12345678},
      {AddressEx(Tessivar::Address{0xABCD, 1, 2}), "ABCD:01:02", 0xABCD0102},
      {AddressEx(), "", 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    EXPECT_STREQ(c.address.guid(), c.text);
    EXPECT_EQ(c.address.packed(), c.packed);
    const Tessivar::Address converted = c.address.convert();
    EXPECT_EQ(converted.net, c.address.net());
    EXPECT_EQ(c.packed >> 16, static_cast<unsigned>(converted.net));
    EXPECT_EQ(c.packed >> 8 & 0xFF, static_cast<unsigned>(converted.unit));
    EXPECT_EQ(c.packed & 0xFF, static_cast<unsigned>(converted.port));
  }
}

TEST(AddressEx, made_of_a_text_keeps_it) {
  const struct {
    const char* text;
    unsigned int packed;
  } cases[] = {
      {"1:2:3", 0x00010203},
      {"0001:02:03", 0x00010203},
      {" 0x1: 2: 0X3", 0x00010203},
      {"abcd:eF:10", 0xABCDEF10},
      {"12345:1FF:1FF", 0x2345FFFF},
      {"1:2:3:4 and more", 0x00010203},
      {"-1:2:3", 0xFFFF0203},
      {"1:2", 0},
      {"1:2:", 0},
      {"1 :2:3", 0},
      {"garbage", 0},
      {"", 0},
  };
  for (const auto& c : cases) {
    const AddressEx address(c.text);
    EXPECT_STREQ(address.guid(), c.text);
    EXPECT_EQ(address.packed(), c.packed) << c.text;
  }
  const char* null = nullptr;
  EXPECT_TRUE(AddressEx(null) == AddressEx());
}

TEST(AddressEx, compares_texts_and_without_them_numbers) {
  const AddressEx none;
  const AddressEx low("\x01"), high("\xFF");  // unsigned
  const struct {
    const AddressEx &a, &b;
    bool equal, less, greater;
  } cases[] = {
      {none, none, true, false, false},
      {none, low, false, false, false},
      {low, none, false, false, false},
      {low, high, false, true, false},
      {high, low, false, false, true},
      {AddressEx(1, 2, 3), AddressEx("0001:02:03"), true, false, false},
      {AddressEx(1, 2, 3), AddressEx("1:2:3"), false, true, false},
      {AddressEx("a"), AddressEx("ab"), false, true, false},
      {AddressEx(0xFFFF, 0, 0), AddressEx("garbage"), false, true, false},
      {AddressEx(""), none, false, false, false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.a.guid()) + " and " + c.b.guid());
    EXPECT_EQ(c.a == c.b, c.equal);
    EXPECT_EQ(c.a != c.b, !c.equal);
    EXPECT_EQ(c.a < c.b, c.less);
    EXPECT_EQ(c.a > c.b, c.greater);
  }
}

TEST(AddressEx, is_a_value_and_fills_address_members_of_samples) {
  AddressEx a(1, 2, 3);
  const AddressEx b = a;
  const AddressEx& same = a;
  a = same;
  EXPECT_STREQ(a.guid(), "0001:02:03");
  a = AddressEx("other");
  EXPECT_STREQ(b.guid(), "0001:02:03") << "a text of its own";

  char buffer[32] = "before";
  char* into = buffer;
  AddressEx().copyTo(into);
  EXPECT_STREQ(buffer, "before") << "no text";
  b.copyTo(into);
  EXPECT_STREQ(buffer, "0001:02:03");
  char* fresh = nullptr;
  b.copyTo(fresh);
  EXPECT_EQ(fresh, nullptr) << "no buffer";
  b.copyTo(&fresh);
  EXPECT_STREQ(fresh, "0001:02:03");
  AddressEx().copyTo(&fresh);
  EXPECT_STREQ(fresh, "");
  DDS_String_free(fresh);
}

}  // namespace
