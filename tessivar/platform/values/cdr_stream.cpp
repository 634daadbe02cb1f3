// SPDX-License-Identifier: Apache-2.0

#include "tessivar/platform/cdr_stream.h"

namespace {

bool begin_encapsulated(RTICdrStream* stream, unsigned int id) {
  if (id > RTI_CDR_ENCAPSULATION_ID_PL_CDR_LE) return false;
  RTICdrStream_setEndian(stream, (id & 1) != 0 ? RTI_CDR_LITTLE_ENDIAN : RTI_CDR_BIG_ENDIAN);
  stream->current_position += RTI_CDR_ENCAPSULATION_HEADER_SIZE;
  stream->alignment_origin = stream->current_position;
  return true;
}

bool has_room_for_header(const RTICdrStream* stream) {
  return stream && stream->buffer &&
         RTICdrStream_getRemainder(stream) >= static_cast<int>(RTI_CDR_ENCAPSULATION_HEADER_SIZE);
}

}  // namespace

void RTICdrStream_init(RTICdrStream* stream) {
  *stream = {nullptr, 0, nullptr, nullptr, RTI_CDR_HOST_ENDIAN, RTI_FALSE};
}

void RTICdrStream_set(RTICdrStream* stream, char* buffer, int length) {
  stream->buffer = buffer;
  stream->buffer_length = buffer && length > 0 ? length : 0;
  stream->current_position = buffer;
  stream->alignment_origin = buffer;
}

void RTICdrStream_setEndian(RTICdrStream* stream, RTICdrEndian endian) {
  stream->endian = endian;
  stream->need_byte_swap = endian != RTI_CDR_HOST_ENDIAN;
}

int RTICdrStream_getCurrentPositionOffset(const RTICdrStream* stream) {
  return static_cast<int>(stream->current_position - stream->buffer);
}

int RTICdrStream_getRemainder(const RTICdrStream* stream) {
  return stream->buffer_length - RTICdrStream_getCurrentPositionOffset(stream);
}

RTIBool RTICdrStream_serializeAndSetCdrEncapsulation(RTICdrStream* stream, RTIEncapsulationId id) {
  if (!has_room_for_header(stream)) return RTI_FALSE;
  char* header = stream->current_position;
  if (!begin_encapsulated(stream, id)) return RTI_FALSE;
  header[0] = static_cast<char>(id >> 8);
  header[1] = static_cast<char>(id & 0xff);
  header[2] = 0;
  header[3] = 0;
  return RTI_TRUE;
}

RTIBool RTICdrStream_deserializeAndSetCdrEncapsulation(RTICdrStream* stream) {
  if (!has_room_for_header(stream)) return RTI_FALSE;
  const auto* header = reinterpret_cast<const unsigned char*>(stream->current_position);
  return begin_encapsulated(stream, static_cast<unsigned int>(header[0]) << 8 | header[1]);
}
