// SPDX-License-Identifier: Apache-2.0

// A stream of CDR octets over a buffer of the caller.
//
// The plugin functions of the types read and write the stream. The stream does not own the buffer and is not
// thread-safe.
#pragma once

#include "tessivar/platform/base.h"
#include "tessivar/platform/detail/byte_order.h"

/// The order of a stream's octets.
enum RTICdrEndian { RTI_CDR_BIG_ENDIAN = 0, RTI_CDR_LITTLE_ENDIAN = 1 };

constexpr RTICdrEndian RTI_CDR_HOST_ENDIAN =
    tessivar::platform::host_is_little_endian ? RTI_CDR_LITTLE_ENDIAN : RTI_CDR_BIG_ENDIAN;

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
  char* alignment_origin;  // alignment is relative to this position
  RTICdrEndian endian;
  RTIBool need_byte_swap;  // true if the order of the stream is not that of the host
};

/// Makes `stream` an empty stream in the order of the host.
TESSIVAR_API void RTICdrStream_init(RTICdrStream* stream);
/// Sets the stream to the start of `buffer`, which has `length` octets. The order stays unchanged. With a negative
/// length or a null buffer the stream has no space: every read and write fails.
TESSIVAR_API void RTICdrStream_set(RTICdrStream* stream, char* buffer, int length);
TESSIVAR_API void RTICdrStream_setEndian(RTICdrStream* stream, RTICdrEndian endian);
/// Returns the number of octets from the start of the buffer to the current position.
TESSIVAR_API int RTICdrStream_getCurrentPositionOffset(const RTICdrStream* stream);
/// Returns the number of octets from the current position to the end of the buffer.
TESSIVAR_API int RTICdrStream_getRemainder(const RTICdrStream* stream);

/// Writes the 4-octet encapsulation header, sets the order of the stream from `id` and moves the alignment origin
/// behind the header. Returns 0 if `id` is above 3 or the stream has too little space.
TESSIVAR_API RTIBool RTICdrStream_serializeAndSetCdrEncapsulation(RTICdrStream* stream, RTIEncapsulationId id);
/// Reads the 4-octet header, sets the order from it and moves the alignment origin behind it. Returns 0 if the
/// identifier in the header is above 3 or the stream has fewer than 4 octets.
TESSIVAR_API RTIBool RTICdrStream_deserializeAndSetCdrEncapsulation(RTICdrStream* stream);
