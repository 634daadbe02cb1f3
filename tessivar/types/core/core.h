// SPDX-License-Identifier: Apache-2.0

// The core types of module Tessivar, which the other modules are built from.
#pragma once

#include "tessivar/types/declare.h"

namespace Tessivar {

/// The bus address of a port of a device.
struct TESSIVAR_API Address {
  DDS_UnsignedShort net = 0;
  DDS_Octet unit = 0;
  DDS_Octet port = 0;
};
TESSIVAR_NESTED_TYPE(Address)

/// Names a device: the text of its address, at most 64 characters. Owned by the sample that holds it.
typedef char* Guid;
TESSIVAR_TYPEDEF(Guid)

/// Names one request/reply node: at most 16 octets.
typedef DDS_OctetSeq ReqReplyGuid;
TESSIVAR_TYPEDEF(ReqReplyGuid)

/// An interval, closed where it says so.
struct TESSIVAR_API Range {
  DDS_Long min = 0;
  DDS_Long max = 0;
  DDS_Boolean minInclusive = DDS_BOOLEAN_FALSE;
  DDS_Boolean maxInclusive = DDS_BOOLEAN_FALSE;
};
TESSIVAR_NESTED_TYPE(Range)

/// A closed interval of numbers from 0.
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
