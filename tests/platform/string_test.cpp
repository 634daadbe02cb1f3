#include "tessivar/platform/dds_string.h"
#include "tessivar/platform/md5.h"

#include <string>

#include <gtest/gtest.h>

namespace {

/// Frees itself.
struct Text {
  char* text = nullptr;
  ~Text() { DDS_String_free(text); }
};

TEST(String, IsReplacedInPlaceWhenItFits) {
  Text room;
  room.text = DDS_String_alloc(10);
  const char* before = room.text;
  EXPECT_EQ(DDS_String_replace(&room.text, "ten chars!"), before);
  EXPECT_EQ(DDS_String_replace(&room.text, room.text + 4), before);  // a part of itself
  EXPECT_STREQ(room.text, "chars!");
  const std::string longer(100, 'x');
  EXPECT_STREQ(DDS_String_replace(&room.text, longer.c_str()), longer.c_str());
  EXPECT_EQ(DDS_String_replace(&room.text, nullptr), nullptr);
}

TEST(String, IsCopiedWithinItsBound) {
  Text copy;
  EXPECT_TRUE(DDS_String_copy_bounded(&copy.text, "abcd", 5));
  EXPECT_FALSE(DDS_String_copy_bounded(&copy.text, "abcde", 5));
  EXPECT_TRUE(DDS_String_copy_bounded(&copy.text, copy.text, 5));
  EXPECT_STREQ(copy.text, "abcd");
  EXPECT_FALSE(DDS_String_copy_bounded(&copy.text, nullptr, 5));
}

TEST(Md5, DigestsTheExamplesOfItsRfc) {
  const struct {
    std::string text;
    const char* digest;
  } examples[] = {{"", "d41d8cd98f00b204e9800998ecf8427e"},
                  {"abc", "900150983cd24fb0d6963f7d28e17f72"},
                  {"12345678901234567890123456789012345678901234567890123456789012345678901234567890",
                   "57edf4a22be3c955ac49da2e2107b67a"}};
  for (const auto& example : examples) {
    std::uint8_t digest[16];
    tessivar::platform::md5(reinterpret_cast<const std::uint8_t*>(example.text.data()), example.text.size(), digest);
    std::string hex;
    for (const std::uint8_t octet : digest) {
      char digits[3];
      std::snprintf(digits, sizeof digits, "%02x", octet);
      hex += digits;
    }
    EXPECT_EQ(hex, example.digest) << example.text;
  }
}

}  // namespace
