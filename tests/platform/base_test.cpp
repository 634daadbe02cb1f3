#include "tessivar/platform/base.h"

#include <gtest/gtest.h>

namespace {

using tessivar::platform::never;
using tessivar::platform::to_duration;
using tessivar::platform::to_nanoseconds;
using tessivar::platform::to_time;

constexpr std::int64_t second = 1000000000;

TEST(Duration, becomes_nanoseconds_and_back) {
  const struct {
    DDS_Duration_t duration;
    std::int64_t nanoseconds;
  } cases[] = {
      {DDS_DURATION_ZERO, 0},         {{0, 1}, 1},
      {{3, 500000000}, 3500000000},   {{0x7ffffffe, 999999999}, 0x7ffffffe * second + 999999999},
      {DDS_DURATION_INFINITE, never},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(to_nanoseconds(c.duration), c.nanoseconds);
    EXPECT_EQ(to_duration(c.nanoseconds), c.duration) << c.nanoseconds;
  }
  EXPECT_EQ(to_nanoseconds(DDS_Duration_t{0x7fffffff, 0}), never);
  EXPECT_EQ(to_duration(-1), DDS_DURATION_ZERO);
  EXPECT_EQ(to_duration(0x7fffffff * second), DDS_DURATION_INFINITE);
}

TEST(Duration, comes_from_milliseconds) {
  const struct {
    DDS_Long milliseconds;
    DDS_Duration_t duration;
  } cases[] = {{-1, DDS_DURATION_INFINITE}, {-2, DDS_DURATION_ZERO}, {0, DDS_DURATION_ZERO},
               {1999, {1, 999000000}},      {3000, {3, 0}},          {2147483647, {2147483, 647000000}}};
  for (const auto& c : cases) EXPECT_EQ(DDS_Duration_from_millis(c.milliseconds), c.duration) << c.milliseconds;
}

TEST(Time, outside_its_range_is_invalid) {
  EXPECT_EQ(to_nanoseconds(DDS_TIME_INVALID), -1);
  for (const std::int64_t outside : {std::int64_t{-1}, std::int64_t{0x80000000} * second, INT64_MAX}) {
    EXPECT_EQ(to_time(outside).sec, DDS_TIME_INVALID.sec) << outside;
  }
}

TEST(InstanceHandle, is_compared_by_validity_and_octets) {
  DDS_InstanceHandle_t a = DDS_HANDLE_NIL;
  DDS_InstanceHandle_t b = DDS_HANDLE_NIL;
  b.keyHash.value[15] = 1;
  EXPECT_TRUE(DDS_InstanceHandle_equals(&a, &b)) << "nil is nil";
  a.isValid = DDS_BOOLEAN_TRUE;
  EXPECT_FALSE(DDS_InstanceHandle_equals(&a, &b));
  b.isValid = DDS_BOOLEAN_TRUE;
  EXPECT_FALSE(DDS_InstanceHandle_equals(&a, &b)) << "the last octet counts";
  EXPECT_FALSE(DDS_InstanceHandle_equals(&a, nullptr));
}

}  // namespace
