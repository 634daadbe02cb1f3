// SPDX-License-Identifier: Apache-2.0

// A stream of CDR octets over a caller's buffer.
//
// The types' plugin functions read and write it. It owns nothing and is not thread-safe.
#pragma once

#include "tessivar/platform/base.h"

/// The order of a stream's octets.
enum RTICdrEndian { RTI_CDR_BIG_ENDIAN = 0, RTI_CDR_LITTLE_ENDIAN = 1 };

#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
constexpr RTICdrEndian RTI_CDR_HOST_ENDIAN = RTI_CDR_BIG_ENDIAN;
#else
constexpr RTICdrEndian RTI_CDR_HOST_ENDIAN = RTI_CDR_LITTLE_ENDIAN;
#endif

/// Encapsulation identifiers (DDSI-RTPS 2.3, 10.5; DDS-XTypes 1.3, 7.6.3.1.2).
constexpr RTIEncapsulationId RTI_CDR_ENCAPSULATION_ID_CDR_BE = 0;
constexpr RTIEncapsulationId RTI_CDR_ENCAPSULATION_ID_CDR_LE = 1;
constexpr RTIEncapsulationId RTI_CDR_ENCAPSULATION_ID_PL_CDR_BE = 2;
constexpr RTIEncapsulationId RTI_CDR_ENCAPSULATION_ID_PL_CDR_LE = 3;
constexpr unsigned int RTI_CDR_ENCAPSULATION_HEADER_SIZE = 4;

struct RTICdrStream {
  char* buffer;
  int buffer_length;  // octets
  char* current_position;
  char* alignment_origin;  // alignment counts from here
  RTICdrEndian endian;
  RTIBool need_byte_swap;  // the stream's order is not the host's
};

/// An empty stream in the host's order.
TESSIVAR_API void RTICdrStream_init(RTICdrStream* stream);
/// Puts the stream at the start of `buffer`, which holds `length` octets. The order stays as it is. A negative length
/// or a null buffer leaves no room: every read and write fails.
TESSIVAR_API void RTICdrStream_set(RTICdrStream* stream, char* buffer, int length);
TESSIVAR_API void RTICdrStream_setEndian(RTICdrStream* stream, RTICdrEndian endian);
/// Octets from the start of the buffer.
TESSIVAR_API int RTICdrStream_getCurrentPositionOffset(const RTICdrStream* stream);
/// Octets from the current position to the end of the buffer.
TESSIVAR_API int RTICdrStream_getRemainder(const RTICdrStream* stream);

/// Writes the 4-octet header, sets the stream's order from it and moves the alignment origin behind it. 0 for an
/// identifier above 3 or too little room.
TESSIVAR_API RTIBool RTICdrStream_serializeAndSetCdrEncapsulation(RTICdrStream* stream, RTIEncapsulationId id);
/// Reads the header; as above.
TESSIVAR_API RTIBool RTICdrStream_deserializeAndSetCdrEncapsulation(RTICdrStream* stream);
