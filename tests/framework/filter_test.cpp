// SPDX-License-Identifier: Apache-2.0

#include "tessivar/framework/domain/detail/text_list.h"
#include "tessivar/framework/filters/address_content_filter.h"
#include "tests/framework/support/samples.h"
#include "tests/support/log_recorder.h"

#include <gmock/gmock.h>

namespace {

using namespace TessivarDDS;
using namespace tessivar::testing;
using namespace testing;

class AddressContentFilterTest : public Test {
 protected:
  ~AddressContentFilterTest() override { filter.finalize(data); }
  DDS_ReturnCode_t compile(const char* expression, const std::vector<std::string>& addresses = {}) {
    DDS_StringSeq parameters;
    assignTexts(parameters, addresses);
    return filter.compile(&data, expression, parameters, nullptr, nullptr, std::exchange(data, nullptr));
  }
  bool passes(const void* sample) { return filter.evaluate(data, sample, nullptr); }

  LogRecorder log;
  AddressContentFilter& filter = AddressContentFilter::instance();
  void* data = nullptr;
};

TEST_F(AddressContentFilterTest, AcceptsUnitsByTheirText) {
  const struct {
    std::vector<std::string> wanted;
    const char* unit;
    bool passes;
  } cases[] = {{{}, "0001:02:03", true},
               {{"a", "0001:02:03", "a"}, "0001:02:03", true},
               {{"1:2:3"}, "0001:02:03", false},
               {{"0001:02:03"}, "0001:02:033", false}};
  for (const auto& each : cases) {
    ASSERT_EQ(compile("typeName=Tessivar::Command", each.wanted), DDS_RETCODE_OK);
    EXPECT_EQ(passes(command(each.unit, 1).get()), each.passes) << PrintToString(each.wanted) << each.unit;
  }
}

TEST_F(AddressContentFilterTest, RefusesUnknownTypesInTheExpression) {
  const char* const form = "Expected expression in the form typeName=Type";
  const std::pair<const char*, const char*> cases[] = {
      {nullptr, "Expression was null"},
      {"", form},
      {"typeName=Tessivar::Unit", "address content filter: Tessivar::Unit"},
      // The length of the type name is the number of characters before the first blank of the whole expression.
      {"typeName=Tessivar::Command and much more", "address content filter: Tessivar::Command and much"},
  };
  for (const auto& [expression, message] : cases) {
    EXPECT_EQ(compile(expression), DDS_RETCODE_ERROR);
    EXPECT_THAT(log.lines(), Contains(EndsWith(message)));
    EXPECT_EQ(data, nullptr);
  }
}

}  // namespace
