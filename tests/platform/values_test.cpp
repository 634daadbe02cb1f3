// Times, strings and properties.
#include "tessivar/platform/dds_string.h"
#include "tessivar/platform/qos.h"

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace tessivar::platform;
using testing::ElementsAre;

constexpr std::int64_t second = 1000000000;

TEST(Duration, BecomesNanosecondsAndBack) {
  const struct {
    DDS_Duration_t duration;
    std::int64_t nanoseconds;
  } cases[] = {{DDS_DURATION_ZERO, 0},
               {{3, 500000000}, 3500000000},
               {{0x7ffffffe, 999999999}, 0x7ffffffe * second + 999999999},
               {DDS_DURATION_INFINITE, never}};
  for (const auto& c : cases) {
    EXPECT_EQ(to_nanoseconds(c.duration), c.nanoseconds);
    EXPECT_EQ(to_duration(c.nanoseconds), c.duration) << c.nanoseconds;
  }
  EXPECT_EQ(to_nanoseconds(DDS_Duration_t{0x7fffffff, 0}), never);
  EXPECT_EQ(to_duration(-1), DDS_DURATION_ZERO);
  EXPECT_EQ(DDS_Duration_from_millis(-1), DDS_DURATION_INFINITE);
  EXPECT_EQ(DDS_Duration_from_millis(1999), (DDS_Duration_t{1, 999000000}));
  EXPECT_EQ(to_nanoseconds(DDS_TIME_INVALID), -1);
  EXPECT_EQ(to_time(INT64_MAX).sec, DDS_TIME_INVALID.sec);
}

TEST(String, IsReplacedInPlaceWhenItFitsAndCopiedWithinItsBound) {
  char* text = DDS_String_alloc(10);
  const char* before = text;
  EXPECT_EQ(DDS_String_replace(&text, "ten chars!"), before);
  EXPECT_EQ(DDS_String_replace(&text, text + 4), before) << "a part of itself";
  EXPECT_STREQ(text, "chars!");
  EXPECT_FALSE(DDS_String_copy_bounded(&text, "abcde", 5));
  EXPECT_TRUE(DDS_String_copy_bounded(&text, "abcd", 5));
  EXPECT_STREQ(text, "abcd");
  EXPECT_EQ(DDS_String_replace(&text, nullptr), nullptr);
}

TEST(Property, IsAddedAssertedAndRemoved) {
  using Helper = DDSPropertyQosPolicyHelper;
  DDS_DomainParticipantQos qos;
  DDS_PropertyQosPolicy& policy = qos.property;
  EXPECT_EQ(Helper::add_property(policy, "a", "1", DDS_BOOLEAN_FALSE), DDS_RETCODE_OK);
  EXPECT_EQ(Helper::add_property(policy, "a", "2", DDS_BOOLEAN_FALSE), DDS_RETCODE_PRECONDITION_NOT_MET);
  for (const char* name : {"b", "c", "d"}) Helper::assert_property(policy, name, "x", DDS_BOOLEAN_TRUE);
  const DDS_DomainParticipantQos copy = qos;
  EXPECT_EQ(Helper::assert_property(policy, "c", "longer than before", DDS_BOOLEAN_FALSE), DDS_RETCODE_OK);
  EXPECT_EQ(Helper::remove_property(policy, "b"), DDS_RETCODE_OK);
  EXPECT_EQ(Helper::remove_property(policy, "b"), DDS_RETCODE_PRECONDITION_NOT_MET);
  EXPECT_EQ(Helper::add_property(policy, "n", nullptr, DDS_BOOLEAN_FALSE), DDS_RETCODE_BAD_PARAMETER);
  const auto texts = [](const DDS_PropertyQosPolicy& its) {
    std::vector<std::string> result;
    for (DDS_Long i = 0; i < its.value.length(); ++i)
      result.push_back(its.value[i].name + std::string(its.value[i].value));
    return result;
  };
  EXPECT_THAT(texts(policy), ElementsAre("a1", "clonger than before", "dx"));
  EXPECT_THAT(texts(copy.property), ElementsAre("a1", "bx", "cx", "dx")) << "a copy is independent";
}

}  // namespace
