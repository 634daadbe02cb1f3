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

/// Means "no limit" or "all" wherever a count is expected.
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

namespace tessivar::platform {

/// Participants of a domain with a higher id have no valid ports (DDSI-RTPS 2.3, 9.6.1.1).
constexpr DDS_DomainId_t highest_domain_id = 232;

}  // namespace tessivar::platform

/// A 16-octet RTPS key hash (DDSI-RTPS 2.3, 9.6.3.8). `length` is 16 if the hash is set, otherwise 0.
struct DDS_KeyHash_t {
  DDS_Octet value[16];
  DDS_UnsignedLong length;
};

/// Identifies an instance by its key hash, or an entity by its GUID.
struct DDS_InstanceHandle_t {
  DDS_KeyHash_t keyHash;
  DDS_Boolean isValid;
};

/// The nil handle: it identifies no instance and no entity.
constexpr DDS_InstanceHandle_t DDS_HANDLE_NIL = {{{0}, 0}, DDS_BOOLEAN_FALSE};

/// Returns true if both handles are nil, or if both are valid and their octets are equal.
TESSIVAR_API DDS_Boolean DDS_InstanceHandle_equals(const DDS_InstanceHandle_t* a, const DDS_InstanceHandle_t* b);
/// Returns true if the handle is nil or `handle` is null.
TESSIVAR_API DDS_Boolean DDS_InstanceHandle_is_nil(const DDS_InstanceHandle_t* handle);

/// A span of time: whole seconds and nanoseconds (0 to 999,999,999).
struct DDS_Duration_t {
  DDS_Long sec;
  DDS_UnsignedLong nanosec;
};

/// A point in time: seconds and nanoseconds since 1970-01-01 UTC.
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

/// Returns `milliseconds` as a duration: -1 gives DDS_DURATION_INFINITE, a smaller value DDS_DURATION_ZERO.
TESSIVAR_API DDS_Duration_t DDS_Duration_from_millis(DDS_Long milliseconds);

namespace tessivar::platform {

/// The number of nanoseconds that stands for an infinite duration.
constexpr std::int64_t never = INT64_MAX;
/// Returns the duration in nanoseconds; `never` for an infinite duration.
TESSIVAR_API std::int64_t to_nanoseconds(const DDS_Duration_t& duration);

/// Returns nanoseconds since 1970-01-01 UTC; -1 for DDS_TIME_INVALID and for times before 1970.
TESSIVAR_API std::int64_t to_nanoseconds(const DDS_Time_t& time);
/// Returns DDS_TIME_INVALID for a negative time and for a time after the year 2038, which does not fit.
TESSIVAR_API DDS_Time_t to_time(std::int64_t nanoseconds_since_epoch);

}  // namespace tessivar::platform
