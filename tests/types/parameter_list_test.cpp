// Lists of parameters as other implementations write them.
#include "tessivar/types/command/command.h"
#include "tessivar/types/logging/logging.h"
#include "tests/types/support/any_type.h"
#include "tests/types/support/encoding.h"

#include <gtest/gtest.h>

namespace types_test {
namespace {

constexpr const char* header = "00030000";

struct List {
  const char* what;
  std::string parameters;
  bool good;
};

/// A list that says title "abc" at most.
const List lists[] = {
    {"nothing but the end", "027f0000", true},
    {"the other end", "023f0000", true},
    {"an end with a length is an end", "027f0400", true},
    {"no end", "", false},
    {"half an end", "027f", false},
    {"a member", "090008000400000061626300027f0000", true},
    {"a member of exact length", "090006000200000061000000027f0000", true},
    {"a member with must-understand", "094008000400000061626300027f0000", true},
    {"a long header", "017f080009000000080000000400000061626300027f0000", true},
    {"a long header without must-understand", "013f080009000000080000000400000061626300027f0000", true},
    {"a long header whose id must be understood", "017f080009000040080000000400000061626300027f0000", true},
    {"a long header of another length", "017f0c000900000008000000000000000400000061626300027f0000", false},
    {"a long header that is cut", "017f080009000000", false},
    {"a long length beyond the end", "017f080009000000ffffffff0400000061626300027f0000", false},
    {"out of order", "0900080004000000616263000400040007000000027f0000", true},
    {"twice", "090008000400000078787800090008000400000061626300027f0000", true},
    {"an unknown id", "0b000400ffffffff027f0000", true},
    {"an unknown id without value", "0b000000027f0000", true},
    {"an unknown id that must be understood", "0b400400ffffffff027f0000", false},
    {"an unknown long id", "017f08000900010004000000ffffffff027f0000", true},
    {"an unknown long id that must be understood", "017f08000900014004000000ffffffff027f0000", false},
    {"id 9 of somebody else", "09800400ffffffff027f0000", true},
    {"id 9 of somebody else that must be understood", "09c00400ffffffff027f0000", false},
    {"to be ignored", "037f0400ffffffff027f0000", true},
    {"a length beyond the end", "0900ff000400000061626300027f0000", false},
    {"a length that cuts the member", "090004000400000061626300027f0000", false},
    {"a length with more than padding", "09000c00040000006162630000000000027f0000", false},
    {"a string over its bound", "0900700066000000" + std::string(216, '7') + "027f0000", false},
    {"octets behind the end", "027f0000000000", true},
    {"too many octets behind the end", "027f000000000000", false},
};

TEST(ParameterList, IsReadInAnyDialect) {
  for (const List& list : lists) {
    SCOPED_TRACE(list.what);
    const Octets octets = from_hex(header + list.parameters);
    const Sample<Tessivar_Logging::LogMessageEx2> sample("Tessivar_Logging::LogMessageEx2");
    DDS_String_replace(&sample->title, "before");
    sample->state = 3;
    DDS_KeyHash_t hash;
    EXPECT_EQ(sample.type().plugin->check(octets.data(), octets.size(), &hash), list.good);
    ASSERT_EQ(decode(sample, octets), list.good);
    if (!list.good) continue;
    // Members that are not in the list have their defaults.
    const bool has_title = list.parameters.find("616263") != std::string::npos;
    const bool is_short = list.parameters.find("6100") != std::string::npos && !has_title;
    EXPECT_STREQ(sample->title, has_title ? "abc" : is_short ? "a" : "");
    EXPECT_EQ(sample->state, list.parameters.find("04000400") != std::string::npos ? 7 : 0);
  }
}

/// A unit up to `rcAddress`, little-endian, and what follows it.
std::string unit(const std::string& parameter) {
  std::string text = "00010000";
  for (int i = 0; i < 3; ++i) text += "0100000000000000";
  for (int i = 0; i < 3; ++i) text += "0100000000000000";
  return text + parameter + "0100000000";
}

const List optional_members[] = {
    {"absent", unit("07000000"), true},
    {"present", unit("0700040001000203"), true},
    {"present with must-understand", unit("0740040001000203"), true},
    {"a long header", unit("017f0800070000000400000001000203"), true},
    {"a long header, absent", unit("017f08000700000000000000"), true},
    {"another member's id", unit("0800040001000203"), false},
    {"a list end", unit("027f0000"), false},
    {"too short for its member", unit("0700030001000200"), false},
    {"more than padding", unit("070008000100020300000000"), false},
    {"longer than the rest", unit("0700ff0001000203"), false},
    {"no header", unit(""), false},
};

TEST(OptionalMember, IsReadInAnyDialect) {
  for (const List& list : optional_members) {
    SCOPED_TRACE(list.what);
    const Octets octets = from_hex(list.parameters);
    const Sample<Tessivar::Unit> sample("Tessivar::Unit");
    sample->rcAddress = new Tessivar::Address();
    DDS_KeyHash_t hash;
    EXPECT_EQ(sample.type().plugin->check(octets.data(), octets.size(), &hash), list.good);
    ASSERT_EQ(decode(sample, octets), list.good);
    if (!list.good) continue;
    const bool present = list.parameters.find("01000203") != std::string::npos;
    ASSERT_EQ(sample->rcAddress != nullptr, present);
    if (present) {
      EXPECT_EQ(sample->rcAddress->port, 3);
    }
  }
}

}  // namespace
}  // namespace types_test
