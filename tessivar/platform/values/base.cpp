// SPDX-License-Identifier: Apache-2.0

#include "tessivar/platform/base.h"

#include <cstring>

DDS_Boolean DDS_InstanceHandle_equals(const DDS_InstanceHandle_t* a, const DDS_InstanceHandle_t* b) {
  if (!a || !b) return DDS_BOOLEAN_FALSE;
  if (!a->isValid || !b->isValid) return a->isValid == b->isValid;
  return std::memcmp(a->keyHash.value, b->keyHash.value, sizeof a->keyHash.value) == 0;
}

DDS_Boolean DDS_InstanceHandle_is_nil(const DDS_InstanceHandle_t* handle) {
  return !handle || !handle->isValid;
}

DDS_Duration_t DDS_Duration_from_millis(DDS_Long milliseconds) {
  if (milliseconds == -1) return DDS_DURATION_INFINITE;
  if (milliseconds < 0) return DDS_DURATION_ZERO;
  return {milliseconds / 1000, static_cast<DDS_UnsignedLong>(milliseconds % 1000) * 1000000u};
}

namespace tessivar::platform {

namespace {
constexpr std::int64_t second = 1000000000;
}

std::int64_t to_nanoseconds(const DDS_Duration_t& duration) {
  if (duration.sec == DDS_DURATION_INFINITE.sec) return never;
  return duration.sec * second + duration.nanosec;
}

std::int64_t to_nanoseconds(const DDS_Time_t& time) {
  return time.sec < 0 ? -1 : time.sec * second + time.nanosec;
}

DDS_Time_t to_time(std::int64_t nanoseconds_since_epoch) {
  const std::int64_t seconds = nanoseconds_since_epoch / second;
  if (nanoseconds_since_epoch < 0 || seconds > INT32_MAX) return DDS_TIME_INVALID;
  return {static_cast<DDS_Long>(seconds), static_cast<DDS_UnsignedLong>(nanoseconds_since_epoch % second)};
}

}  // namespace tessivar::platform
