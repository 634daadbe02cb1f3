// SPDX-License-Identifier: Apache-2.0

// Tests parameter lists of other implementations: the decoded values, or the refusal.
#include "tessivar/types/command/command.h"
#include "tessivar/types/logging/logging.h"
#include "tests/support/source_file.h"
#include "tests/types/support/any_type.h"
#include "tests/types/support/encoding.h"

#include <fstream>

#include <gtest/gtest.h>

namespace types_test {
namespace {

/// Calls `test(octets, reads)` for each list with that name. `reads` is null for a list that must be refused.
template <class Test>
void for_lists(const char* name, const std::string& before, const std::string& after, Test&& test) {
  const json lists =
      json::parse(std::ifstream(tessivar::testing::source_file("tests/types/data/parameter_lists.json")));
  for (const json& list : lists.at(name)) {
    SCOPED_TRACE(list.at("what"));
    test(from_hex(before + list.at("hex").get<std::string>() + after), list.value("reads", json()));
  }
}

/// Tests that the list was decoded as expected.
bool is_read(const AnySample& sample, const Octets& octets, bool expected) {
  DDS_KeyHash_t hash;
  EXPECT_EQ(sample.type().plugin->check(octets.data(), octets.size(), &hash), expected);
  const bool read = decode(sample, octets);
  EXPECT_EQ(read, expected);
  return read && expected;
}

TEST(ParameterListTest, IsDecodedInAnyDialect) {
  for_lists("LogMessageEx2", "00030000", "", [](const Octets& octets, const json& reads) {
    const Sample<Tessivar_Logging::LogMessageEx2> sample("Tessivar_Logging::LogMessageEx2");
    DDS_String_replace(&sample->title, "before");
    sample->state = 3;
    if (!is_read(sample, octets, !reads.is_null())) return;
    // Members that are missing in the list have their defaults.
    EXPECT_EQ(sample->title, reads.value("title", std::string()));
    EXPECT_EQ(sample->state, reads.value("state", 0));
  });
}

TEST(ParameterListTest, OptionalMemberIsDecodedInAnyDialect) {
  std::string members = "00010000";
  for (int i = 0; i < 6; ++i) members += "0100000000000000";
  for_lists("rcAddress of a Unit", members, "0100000000", [](const Octets& octets, const json& reads) {
    const Sample<Tessivar::Unit> sample("Tessivar::Unit");
    sample->rcAddress = new Tessivar::Address();
    if (!is_read(sample, octets, !reads.is_null())) return;
    ASSERT_EQ(sample->rcAddress != nullptr, reads.contains("port"));
    if (sample->rcAddress) {
      EXPECT_EQ(sample->rcAddress->port, reads.at("port"));
    }
  });
}

}  // namespace
}  // namespace types_test
