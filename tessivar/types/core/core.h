// SPDX-License-Identifier: Apache-2.0

// The core types of module Tessivar. The types of the other modules use them.
#pragma once

#include "tessivar/types/type_support.h"

namespace Tessivar {

/// The bus address of one port of a device.
struct TESSIVAR_API Address {
  DDS_UnsignedShort net = 0;
  DDS_Octet unit = 0;
  DDS_Octet port = 0;
};
TESSIVAR_NESTED_TYPE(Address)

/// The address of a device as text, at most 64 characters. The sample owns the string.
typedef char* Guid;
TESSIVAR_TYPEDEF(Guid)

/// Identifies one request/reply node: at most 16 octets.
typedef DDS_OctetSeq ReqReplyGuid;
TESSIVAR_TYPEDEF(ReqReplyGuid)

/// An interval of numbers. `minInclusive` and `maxInclusive` tell if the limits belong to it.
struct TESSIVAR_API Range {
  DDS_Long min = 0;
  DDS_Long max = 0;
  DDS_Boolean minInclusive = DDS_BOOLEAN_FALSE;
  DDS_Boolean maxInclusive = DDS_BOOLEAN_FALSE;
};
TESSIVAR_NESTED_TYPE(Range)

/// An interval of numbers from 0. Both limits belong to it.
struct TESSIVAR_API ULRange {
  DDS_UnsignedLong min = 0;
  DDS_UnsignedLong max = 0;
};
TESSIVAR_NESTED_TYPE(ULRange)

/// A PTP time stamp (IEEE 1588).
struct TESSIVAR_API PtpTime {
  DDS_UnsignedLongLong seconds = 0;
  DDS_UnsignedLong nanoSeconds = 0;
};
TESSIVAR_NESTED_TYPE(PtpTime)

}  // namespace Tessivar
