// SPDX-License-Identifier: Apache-2.0

// Primitive types, return codes, handles and times of the DDS platform.
//
// Plain values, safe to copy between threads. Nothing here blocks or allocates.
#pragma once

#include "tessivar/platform/export.h"

#include <cstdint>

typedef std::uint8_t DDS_Octet;
typedef std::uint8_t DDS_Boolean;
typedef char DDS_Char;
typedef std::int16_t DDS_Short;
typedef std::uint16_t DDS_UnsignedShort;
typedef std::int32_t DDS_Long;
typedef std::uint32_t DDS_UnsignedLong;
typedef std::int32_t DDS_Enum;
typedef std::int64_t DDS_LongLong;
typedef std::uint64_t DDS_UnsignedLongLong;
typedef float DDS_Float;
typedef double DDS_Double;

typedef int RTIBool;
typedef std::uint16_t RTIEncapsulationId;

constexpr DDS_Boolean DDS_BOOLEAN_TRUE = 1;
constexpr DDS_Boolean DDS_BOOLEAN_FALSE = 0;
constexpr RTIBool RTI_TRUE = 1;
constexpr RTIBool RTI_FALSE = 0;

/// "As many as there are", wherever a count is asked for.
constexpr DDS_Long DDS_LENGTH_UNLIMITED = -1;

/// Results of the platform's operations (OMG DDS 1.4, 2.2.1.1).
enum DDS_ReturnCode_t {
  DDS_RETCODE_OK = 0,
  DDS_RETCODE_ERROR = 1,
  DDS_RETCODE_UNSUPPORTED = 2,
  DDS_RETCODE_BAD_PARAMETER = 3,
  DDS_RETCODE_PRECONDITION_NOT_MET = 4,
  DDS_RETCODE_OUT_OF_RESOURCES = 5,
  DDS_RETCODE_NOT_ENABLED = 6,
  DDS_RETCODE_IMMUTABLE_POLICY = 7,
  DDS_RETCODE_INCONSISTENT_POLICY = 8,
  DDS_RETCODE_ALREADY_DELETED = 9,
  DDS_RETCODE_TIMEOUT = 10,
  DDS_RETCODE_NO_DATA = 11,
  DDS_RETCODE_ILLEGAL_OPERATION = 12,
};

typedef DDS_Long DDS_DomainId_t;

/// A 16-octet RTPS key hash (DDSI-RTPS 2.3, 9.6.3.8); `length` is 16 once it is set, 0 before.
struct DDS_KeyHash_t {
  DDS_Octet value[16];
  DDS_UnsignedLong length;
};

/// Names an instance (by its key hash) or an entity (by its GUID).
struct DDS_InstanceHandle_t {
  DDS_KeyHash_t keyHash;
  DDS_Boolean isValid;
};

/// The handle of nothing.
constexpr DDS_InstanceHandle_t DDS_HANDLE_NIL = {{{0}, 0}, DDS_BOOLEAN_FALSE};

/// Two nil handles are equal; valid ones are when their octets are.
TESSIVAR_API DDS_Boolean DDS_InstanceHandle_equals(const DDS_InstanceHandle_t* a, const DDS_InstanceHandle_t* b);
TESSIVAR_API DDS_Boolean DDS_InstanceHandle_is_nil(const DDS_InstanceHandle_t* handle);

/// A span of time: whole seconds and nanoseconds (0 to 999,999,999).
struct DDS_Duration_t {
  DDS_Long sec;
  DDS_UnsignedLong nanosec;
};

/// A point of time since 1970-01-01 UTC.
struct DDS_Time_t {
  DDS_Long sec;
  DDS_UnsignedLong nanosec;
};

constexpr DDS_Duration_t DDS_DURATION_ZERO = {0, 0};
constexpr DDS_Duration_t DDS_DURATION_INFINITE = {0x7fffffff, 0x7fffffff};
constexpr DDS_Time_t DDS_TIME_INVALID = {-1, 0xffffffff};

inline bool operator==(const DDS_Duration_t& a, const DDS_Duration_t& b) {
  return a.sec == b.sec && a.nanosec == b.nanosec;
}

/// `milliseconds` as a duration; -1 is without limit.
TESSIVAR_API DDS_Duration_t DDS_Duration_from_millis(DDS_Long milliseconds);

namespace tessivar::platform {

/// Nanoseconds of a duration, at most `never`; infinite is `never`.
constexpr std::int64_t never = INT64_MAX;
TESSIVAR_API std::int64_t to_nanoseconds(const DDS_Duration_t& duration);

/// Wall-clock time; `DDS_TIME_INVALID` is -1.
TESSIVAR_API std::int64_t to_nanoseconds(const DDS_Time_t& time);
TESSIVAR_API DDS_Time_t to_time(std::int64_t nanoseconds_since_epoch);

}  // namespace tessivar::platform
