// SPDX-License-Identifier: Apache-2.0

// The bodies of the plugin functions of a type, by its kind: streams, sizes, keys, and the plugin record of a topic
// type.
#pragma once

#include "tessivar/platform/cdr_stream.h"
#include "tessivar/platform/detail/md5.h"
#include "tessivar/platform/type_plugin.h"
#include "tessivar/types/family/bounds.h"
#include "tessivar/types/family/decode.h"
#include "tessivar/types/family/encode.h"
#include "tessivar/types/family/fault.h"
#include "tessivar/types/family/support.h"

#include <algorithm>

namespace tessivar::types {

typedef WriteCursor<host_is_little_endian> BigEndianCursor;
typedef WriteCursor<false> HostCursor;

constexpr std::size_t encapsulation_size = RTI_CDR_ENCAPSULATION_HEADER_SIZE;
/// Padding that may follow a sample.
constexpr std::size_t max_padding = 3;

// --- streams ---------------------------------------------------------------------------------------------------------

/// Calls `walk` with a cursor at the position of the stream. If `walk` succeeds, moves the stream to the end of the
/// walk.
template <template <bool> class Cursor, class Walk>
bool on_stream(RTICdrStream& stream, Walk&& walk) {
  if (!stream.buffer || RTICdrStream_getRemainder(&stream) < 0 || stream.alignment_origin > stream.current_position)
    return false;
  const auto run = [&](auto cursor) {
    if (cursor.position > cursor.limit || !walk(cursor)) return false;
    stream.current_position = stream.alignment_origin + cursor.position;
    return true;
  };
  auto* origin = reinterpret_cast<std::uint8_t*>(stream.alignment_origin);
  const auto position = static_cast<std::size_t>(stream.current_position - stream.alignment_origin);
  const auto limit = static_cast<std::size_t>(stream.buffer + stream.buffer_length - stream.alignment_origin);
  return stream.need_byte_swap ? run(Cursor<true>{origin, position, limit})
                               : run(Cursor<false>{origin, position, limit});
}

template <class Walk>
RTIBool write_stream(RTICdrStream* stream, RTIBool with_header, RTIEncapsulationId id, RTIBool with_sample,
                     Walk&& walk) {
  if (!stream) return RTI_FALSE;
  if (with_header && !RTICdrStream_serializeAndSetCdrEncapsulation(stream, id)) return RTI_FALSE;
  return !with_sample || on_stream<WriteCursor>(*stream, walk);
}

template <class Walk>
RTIBool read_stream(RTICdrStream* stream, RTIBool with_header, RTIBool with_sample, Walk&& walk) {
  if (!stream) return RTI_FALSE;
  if (with_header && !RTICdrStream_deserializeAndSetCdrEncapsulation(stream)) return RTI_FALSE;
  return !with_sample || on_stream<ReadCursor>(*stream, walk);
}

// --- whole buffers ---------------------------------------------------------------------------------------------------

/// Calls `walk` with a cursor after the header, in the byte order that the header states. Returns false if the header
/// is invalid.
template <class Walk>
bool read_buffer(const std::uint8_t* buffer, std::size_t size, Walk&& walk) {
  if (!buffer || size < encapsulation_size) return false;
  if (buffer[0] != 0 || buffer[1] > RTI_CDR_ENCAPSULATION_ID_PL_CDR_LE) return false;
  const bool little_endian = (buffer[1] & 1) != 0;
  const std::uint8_t* body = buffer + encapsulation_size;
  const std::size_t limit = size - encapsulation_size;
  if (little_endian == host_is_little_endian) {
    ReadCursor<false> in = {body, 0, limit};
    return walk(in);
  }
  ReadCursor<true> in = {body, 0, limit};
  return walk(in);
}

inline void put_header(std::uint8_t* buffer, bool parameter_list) {
  buffer[0] = 0;
  buffer[1] = static_cast<std::uint8_t>(
      (parameter_list ? RTI_CDR_ENCAPSULATION_ID_PL_CDR_BE : RTI_CDR_ENCAPSULATION_ID_CDR_BE) |
      (host_is_little_endian ? 1 : 0));
  buffer[2] = 0;
  buffer[3] = 0;
}

// --- key hashes ------------------------------------------------------------------------------------------------------

/// Encodes the key members big-endian, without header, and computes the key hash (DDSI-RTPS 2.3, 9.6.3.8).
template <class Kind>
struct KeyScratch {
  std::uint8_t octets[max_key_size<Kind>];

  /// `write(cursor)` writes the key members.
  template <class Write>
  bool hash(DDS_KeyHash_t& hash, Write&& write) {
    BigEndianCursor out = {octets, 0, sizeof octets};
    if (!write(out)) return false;
    hash.length = sizeof hash.value;
    if constexpr (max_key_size<Kind> <= sizeof hash.value) {
      std::memset(hash.value, 0, sizeof hash.value);
      std::memcpy(hash.value, octets, out.position);
    } else {
      platform::md5(octets, out.position, hash.value);
    }
    return true;
  }
};

constexpr DDS_KeyHash_t hash_of_keyless = {{0}, 16};

// --- the functions ---------------------------------------------------------------------------------------------------

template <class Kind>
struct Plugin {
  typedef typename Kind::type T;
  typedef PRESTypePluginEndpointData Endpoint;
  static constexpr bool keyed = IsKeyed<Kind>::value;

  static RTIBool serialize(Endpoint, const T* sample, RTICdrStream* stream, RTIBool with_header, RTIEncapsulationId id,
                           RTIBool with_sample, void*) {
    if (with_sample && !sample) return RTI_FALSE;
    return write_stream(stream, with_header, id, with_sample, [&](auto& out) { return encode(Kind(), out, *sample); });
  }
  static RTIBool deserialize_sample(Endpoint, T* sample, RTICdrStream* stream, RTIBool with_header, RTIBool with_sample,
                                    void*) {
    if (with_sample && !sample) return RTI_FALSE;
    if (read_stream(stream, with_header, with_sample, [&](auto& in) { return decode(Kind(), in, *sample); }))
      return RTI_TRUE;
    if (with_sample) clear(Kind(), *sample, nullptr);
    return RTI_FALSE;
  }
  static RTIBool deserialize(Endpoint endpoint, T** sample, RTIBool* drop_sample, RTICdrStream* stream,
                             RTIBool with_header, RTIBool with_sample, void* parameter) {
    if (drop_sample) *drop_sample = RTI_FALSE;
    return sample && deserialize_sample(endpoint, *sample, stream, with_header, with_sample, parameter);
  }
  static RTIBool skip(Endpoint, RTICdrStream* stream, RTIBool with_header, RTIBool with_sample, void*) {
    return read_stream(stream, with_header, with_sample, [](auto& in) {
      NullCursor none;
      return pass(Kind(), in, none);
    });
  }

  // Sizes. With a header, alignment restarts after the header. An identifier of 4 or more makes any size 1.
  template <class EndOf>
  static unsigned int size_from(RTIBool with_header, RTIEncapsulationId id, unsigned int current_alignment,
                                EndOf&& end_of_sample) {
    if (!with_header) return static_cast<unsigned int>(end_of_sample(current_alignment) - current_alignment);
    if (id > RTI_CDR_ENCAPSULATION_ID_PL_CDR_LE) return 1;
    return static_cast<unsigned int>(encapsulation_size + end_of_sample(0));
  }
  static unsigned int max_size(Endpoint, RTIBool with_header, RTIEncapsulationId id, unsigned int current_alignment) {
    return size_from(with_header, id, current_alignment,
                     [](std::size_t position) { return end_of<Bound::most>(Kind(), position); });
  }
  static unsigned int max_size_ex(Endpoint endpoint, RTIBool* unbounded, RTIBool with_header, RTIEncapsulationId id,
                                  unsigned int current_alignment) {
    if (unbounded) *unbounded = RTI_FALSE;
    return max_size(endpoint, with_header, id, current_alignment);
  }
  static unsigned int min_size(Endpoint, RTIBool with_header, RTIEncapsulationId id, unsigned int current_alignment) {
    return size_from(with_header, id, current_alignment,
                     [](std::size_t position) { return end_of<Bound::least>(Kind(), position); });
  }
  /// Returns 0 if the sample cannot be encoded.
  static unsigned int size(Endpoint, RTIBool with_header, RTIEncapsulationId id, unsigned int current_alignment,
                           const T* sample) {
    bool good = sample != nullptr;
    const unsigned int octets = size_from(with_header, id, current_alignment, [&](std::size_t position) {
      SizeCursor cursor = {position};
      good = good && encode(Kind(), cursor, *sample);
      return cursor.position;
    });
    return good ? octets : 0;
  }

  static PRESTypePluginKeyKind key_kind() { return keyed ? PRES_TYPEPLUGIN_USER_KEY : PRES_TYPEPLUGIN_NO_KEY; }
  static unsigned int max_key_size_of(Endpoint, RTIBool with_header, RTIEncapsulationId id,
                                      unsigned int current_alignment) {
    return size_from(with_header, id, current_alignment,
                     [](std::size_t position) { return end_of_key<Bound::most>(Kind(), position); });
  }
  static unsigned int max_key_size_ex(Endpoint endpoint, RTIBool* unbounded, RTIBool with_header, RTIEncapsulationId id,
                                      unsigned int current_alignment) {
    if (unbounded) *unbounded = RTI_FALSE;
    return max_key_size_of(endpoint, with_header, id, current_alignment);
  }
  static RTIBool serialize_key(Endpoint, const T* sample, RTICdrStream* stream, RTIBool with_header,
                               RTIEncapsulationId id, RTIBool with_key, void*) {
    if (with_key && !sample) return RTI_FALSE;
    return write_stream(stream, with_header, id, with_key,
                        [&](auto& out) { return types::encode_key(Kind(), out, *sample); });
  }
  static RTIBool deserialize_key_sample(Endpoint, T* key, RTICdrStream* stream, RTIBool with_header, RTIBool with_key,
                                        void*) {
    if (with_key && !key) return RTI_FALSE;
    return read_stream(stream, with_header, with_key,
                       [&](auto& in) { return types::decode_key<Encoding::key_only>(Kind(), in, *key); });
  }
  static RTIBool deserialize_key(Endpoint endpoint, T** key, RTIBool* drop_sample, RTICdrStream* stream,
                                 RTIBool with_header, RTIBool with_key, void* parameter) {
    if (drop_sample) *drop_sample = RTI_FALSE;
    return key && deserialize_key_sample(endpoint, *key, stream, with_header, with_key, parameter);
  }
  static RTIBool serialized_sample_to_key(Endpoint, T* key, RTICdrStream* stream, RTIBool with_header, RTIBool with_key,
                                          void*) {
    if (with_key && !key) return RTI_FALSE;
    return read_stream(stream, with_header, with_key,
                       [&](auto& in) { return types::decode_key<Encoding::whole>(Kind(), in, *key); });
  }
  static RTIBool instance_to_key(Endpoint, T* key, const T* instance) {
    return key && instance && copy_key(Kind(), *key, *instance);
  }
  static RTIBool key_to_instance(Endpoint endpoint, T* instance, const T* key) {
    return instance_to_key(endpoint, instance, key);
  }
  static RTIBool instance_to_keyhash(Endpoint, DDS_KeyHash_t* hash, const T* instance) {
    if (!hash || !instance) return RTI_FALSE;
    if constexpr (keyed) {
      KeyScratch<Kind> scratch;
      return scratch.hash(*hash, [&](auto& out) { return types::encode_key(Kind(), out, *instance); });
    }
    *hash = hash_of_keyless;
    return RTI_TRUE;
  }
  static RTIBool serialized_sample_to_keyhash(Endpoint, RTICdrStream* stream, DDS_KeyHash_t* hash, RTIBool with_header,
                                              void*) {
    if (!hash) return RTI_FALSE;
    return read_stream(stream, with_header, RTI_TRUE, [&](auto& in) { return pass_to_hash(in, *hash); });
  }

  /// Checks a whole encoding and computes its key hash, in one walk.
  template <class R>
  static bool pass_to_hash(R& in, DDS_KeyHash_t& hash) {
    if constexpr (keyed) {
      KeyScratch<Kind> scratch;
      return scratch.hash(hash, [&](auto& out) { return pass_key<Encoding::whole>(Kind(), in, out); });
    } else {
      hash = hash_of_keyless;
      NullCursor none;
      return pass(Kind(), in, none);
    }
  }

  static RTIBool copy_sample(Endpoint, T* destination, const T* source) {
    return Support<Kind>::copy_sample(destination, source);
  }

  static RTIBool to_cdr_buffer(char* buffer, unsigned int* length, const T* sample) {
    if (!length) return RTI_FALSE;
    const std::size_t octets =
        buffer ? encode_within(sample, reinterpret_cast<std::uint8_t*>(buffer), *length) : encoded_size(sample);
    if (octets == 0) return RTI_FALSE;
    *length = static_cast<unsigned int>(octets);
    return RTI_TRUE;
  }
  static RTIBool from_cdr_buffer(T* sample, const char* buffer, unsigned int length) {
    return decode_sample(sample, reinterpret_cast<const std::uint8_t*>(buffer), length);
  }

  // Functions for the plugin record: untyped, and for whole buffers.

  static std::size_t encoded_size(const void* sample) {
    SizeCursor cursor;
    if (!sample || !encode(Kind(), cursor, *static_cast<const T*>(sample))) return 0;
    return encapsulation_size + cursor.position;
  }
  static void explain(const void* sample, bool key_only, char* text, std::size_t size) {
    Fault fault(text, size, key_only);
    if (!sample)
      fault.say("null sample");
    else if (!fault.within("%s", NameOf<Kind>::value,
                           [&] { return find_fault(Kind(), fault, *static_cast<const T*>(sample)); }))
      fault.say("%s is too long", NameOf<Kind>::value);
  }
  /// Returns the length of the encoding, or 0 if the sample cannot be encoded in `room` octets.
  static std::size_t encode_within(const void* sample, std::uint8_t* buffer, std::size_t room) {
    if (!sample || !buffer || room < encapsulation_size) return 0;
    put_header(buffer, IsMutable<Kind>::value);
    HostCursor out = {buffer + encapsulation_size, 0, room - encapsulation_size};
    return encode(Kind(), out, *static_cast<const T*>(sample)) ? encapsulation_size + out.position : 0;
  }
  static bool encode_sample(const void* sample, std::uint8_t* buffer, std::size_t size) {
    return size != 0 && encode_within(sample, buffer, size) == size;
  }
  static bool decode_into(T& sample, const std::uint8_t* buffer, std::size_t size, LeanStorage* lean) {
    if (read_buffer(buffer, size, [&](auto& in) {
          in.lean = lean;
          return decode(Kind(), in, sample) && in.remainder() <= max_padding;
        }))
      return true;
    clear(Kind(), sample, lean);
    return false;
  }
  static bool decode_sample(void* sample, const std::uint8_t* buffer, std::size_t size) {
    return sample && decode_into(*static_cast<T*>(sample), buffer, size, nullptr);
  }
  static bool decode_lean(void* sample, const std::uint8_t* buffer, std::size_t size, std::size_t* octets) {
    LeanStorage lean;
    const bool decoded = decode_into(*static_cast<T*>(sample), buffer, size, &lean);
    if (lean.grew) *octets = octets_of(sample);
    return decoded;
  }
  static bool clear_lean(void* sample, std::size_t* octets) {
    LeanStorage lean;
    const bool cleared = clear(Kind(), *static_cast<T*>(sample), &lean);
    *octets = octets_of(sample);
    return cleared;
  }
  static std::size_t octets_of(const void* sample) {
    return block_overhead + sizeof(T) + owned_octets(Kind(), *static_cast<const T*>(sample));
  }
  static bool check(const std::uint8_t* buffer, std::size_t size, DDS_KeyHash_t* hash) {
    return hash && read_buffer(buffer, size,
                               [&](auto& in) { return pass_to_hash(in, *hash) && in.remainder() <= max_padding; });
  }
  /// `write(cursor)` writes the key members after the header. The encoded key of a keyless type is the header only.
  template <class Write>
  static std::size_t key_buffer(std::uint8_t* buffer, std::size_t capacity, Write&& write) {
    std::uint8_t octets[encapsulation_size + (keyed ? max_key_size<Kind> : 0)];
    put_header(octets, false);
    HostCursor out = {octets + encapsulation_size, 0, sizeof octets - encapsulation_size};
    if (!write(out)) return 0;
    const std::size_t size = encapsulation_size + out.position;
    if (buffer && size <= capacity) std::memcpy(buffer, octets, size);
    return size;
  }
  static std::size_t encode_key(const void* sample, std::uint8_t* buffer, std::size_t capacity) {
    return !sample ? 0 : key_buffer(buffer, capacity, [&](auto& out) {
      if constexpr (keyed) return types::encode_key(Kind(), out, *static_cast<const T*>(sample));
      return true;
    });
  }
  static std::size_t encoded_to_key(const std::uint8_t* encoded, std::size_t size, std::uint8_t* buffer,
                                    std::size_t capacity) {
    return key_buffer(buffer, capacity, [&](auto& out) {
      if constexpr (keyed) {
        return read_buffer(encoded, size, [&](auto& in) { return pass_key<Encoding::whole>(Kind(), in, out); });
      } else {
        return true;
      }
    });
  }
  static bool decode_key(void* key, const std::uint8_t* buffer, std::size_t size) {
    return key && read_buffer(buffer, size, [&](auto& in) {
             if constexpr (keyed) return types::decode_key<Encoding::key_only>(Kind(), in, *static_cast<T*>(key));
             return true;
           });
  }
  static bool check_key(const std::uint8_t* buffer, std::size_t size, DDS_KeyHash_t* hash) {
    return hash && read_buffer(buffer, size, [&](auto& in) {
             if constexpr (keyed) {
               KeyScratch<Kind> scratch;
               if (!scratch.hash(*hash, [&](auto& out) { return pass_key<Encoding::key_only>(Kind(), in, out); }))
                 return false;
             } else {
               *hash = hash_of_keyless;
             }
             return std::all_of(in.origin + in.position, in.origin + in.limit,
                                [](std::uint8_t octet) { return octet == 0; });
           });
  }
};

// --- the plugin record of a topic type -------------------------------------------------------------------------------

/// The functions that an endpoint receives when the type is attached to it.
struct EndpointData {
  void* (*create_sample)();
  void (*destroy_sample)(void*);
  void* (*create_key)();
  void (*destroy_key)(void*);
};

template <class Kind>
struct PluginRecord {
  typedef typename Kind::type T;
  typedef Plugin<Kind> P;
  typedef PRESTypePluginEndpointData Endpoint;

  static void* create_sample() { return Support<Kind>::create_ex(RTI_TRUE); }
  static void destroy_sample(void* sample) { Support<Kind>::destroy_ex(static_cast<T*>(sample), RTI_TRUE); }
  static void* create_lean(std::size_t* octets) {
    T* sample = types::create_lean(Kind());
    if (sample) *octets = P::octets_of(sample);
    return sample;
  }
  static void* create_key() { return Support<Kind>::create_key_ex(RTI_TRUE); }

  static PRESTypePluginParticipantData on_participant_attached(void*, const void*, int, void*, const void*) {
    return nullptr;  // a participant needs no data of a type
  }
  static void on_participant_detached(PRESTypePluginParticipantData) {}
  static Endpoint on_endpoint_attached(PRESTypePluginParticipantData, const void*, int, void*) {
    return new (std::nothrow) EndpointData{create_sample, destroy_sample, create_key, destroy_sample};
  }
  static void on_endpoint_detached(Endpoint endpoint) { delete static_cast<EndpointData*>(endpoint); }

  static PRESTypePlugin* create() {
    auto* record = new (std::nothrow) PRESTypePlugin();
    if (!record) return nullptr;
    record->on_participant_attached = on_participant_attached;
    record->on_participant_detached = on_participant_detached;
    record->on_endpoint_attached = on_endpoint_attached;
    record->on_endpoint_detached = on_endpoint_detached;

    record->create_sample = create_sample;
    record->destroy_sample = destroy_sample;
    record->create_lean = create_lean;
    record->create_key = create_key;
    record->destroy_key = destroy_sample;
    record->copy_sample = [](Endpoint endpoint, void* destination, const void* source) {
      return P::copy_sample(endpoint, static_cast<T*>(destination), static_cast<const T*>(source));
    };

    record->serialize = [](Endpoint endpoint, const void* sample, RTICdrStream* stream, RTIBool with_header,
                           RTIEncapsulationId id, RTIBool with_sample, void* parameter) {
      return P::serialize(endpoint, static_cast<const T*>(sample), stream, with_header, id, with_sample, parameter);
    };
    record->deserialize = [](Endpoint endpoint, void** sample, RTIBool* drop_sample, RTICdrStream* stream,
                             RTIBool with_header, RTIBool with_sample, void* parameter) {
      T* typed = sample ? static_cast<T*>(*sample) : nullptr;
      return P::deserialize(endpoint, &typed, drop_sample, stream, with_header, with_sample, parameter);
    };
    record->get_serialized_sample_max_size = P::max_size;
    record->get_serialized_sample_size = [](Endpoint endpoint, RTIBool with_header, RTIEncapsulationId id,
                                            unsigned int current_alignment, const void* sample) {
      return P::size(endpoint, with_header, id, current_alignment, static_cast<const T*>(sample));
    };

    record->get_key_kind = P::key_kind;
    record->serialize_key = [](Endpoint endpoint, const void* sample, RTICdrStream* stream, RTIBool with_header,
                               RTIEncapsulationId id, RTIBool with_key, void* parameter) {
      return P::serialize_key(endpoint, static_cast<const T*>(sample), stream, with_header, id, with_key, parameter);
    };
    record->deserialize_key = [](Endpoint endpoint, void** key, RTIBool* drop_sample, RTICdrStream* stream,
                                 RTIBool with_header, RTIBool with_key, void* parameter) {
      T* typed = key ? static_cast<T*>(*key) : nullptr;
      return P::deserialize_key(endpoint, &typed, drop_sample, stream, with_header, with_key, parameter);
    };
    record->instance_to_key = [](Endpoint endpoint, void* key, const void* sample) {
      return P::instance_to_key(endpoint, static_cast<T*>(key), static_cast<const T*>(sample));
    };
    record->key_to_instance = record->instance_to_key;
    record->instance_to_keyhash = [](Endpoint endpoint, DDS_KeyHash_t* hash, const void* sample) {
      return P::instance_to_keyhash(endpoint, hash, static_cast<const T*>(sample));
    };
    record->serialized_sample_to_keyhash = P::serialized_sample_to_keyhash;

    record->type_code = type_code_of<Kind>();
    record->language_kind = PRES_TYPEPLUGIN_CPP_LANG;
    record->type_name = NameOf<Kind>::value;
    record->registered_name = nullptr;
    record->type_support = nullptr;

    record->encoded_size = P::encoded_size;
    record->explain = P::explain;
    record->encode = P::encode_sample;
    record->decode = P::decode_sample;
    record->decode_lean = P::decode_lean;
    record->clear_lean = P::clear_lean;
    record->check = P::check;
    record->encode_key = P::encode_key;
    record->encoded_to_key = P::encoded_to_key;
    record->decode_key = P::decode_key;
    record->check_key = P::check_key;
    return record;
  }
};

}  // namespace tessivar::types
