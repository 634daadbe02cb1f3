// SPDX-License-Identifier: Apache-2.0

// What the platform knows of a type: one record of functions, untyped.
//
// A type registers a record with a participant (DDSDomainParticipant::register_type). The record is read-only once
// registered; its functions are called from any thread and never throw. The `encoded_…` group works on whole buffers
// that begin with the 4-octet RTPS encapsulation header (DDSI-RTPS 2.3, 10.2) and is what the hot paths use.
#pragma once

#include "tessivar/platform/base.h"
#include "tessivar/platform/detail/counters.h"

#include <cstddef>
#include <memory>

struct DDS_TypeCode;
struct RTICdrStream;
class DDSTypeSupport;

/// Opaque to the types; null is always allowed.
typedef void* PRESTypePluginEndpointData;
typedef void* PRESTypePluginParticipantData;

enum PRESTypePluginKeyKind { PRES_TYPEPLUGIN_NO_KEY = 0, PRES_TYPEPLUGIN_GUID_KEY = 1, PRES_TYPEPLUGIN_USER_KEY = 2 };

/// Types made of C++ structures with sequences as classes.
constexpr int PRES_TYPEPLUGIN_CPP_LANG = 2;

struct PRESTypePlugin {
  PRESTypePluginParticipantData (*on_participant_attached)(void*, const void*, int, void*, const void*);
  void (*on_participant_detached)(PRESTypePluginParticipantData);
  PRESTypePluginEndpointData (*on_endpoint_attached)(PRESTypePluginParticipantData, const void*, int, void*);
  void (*on_endpoint_detached)(PRESTypePluginEndpointData);

  void* (*create_sample)();  // initialised, null when memory is short
  void (*destroy_sample)(void* sample);
  /// A sample for loans, released by destroy_sample: it owns no more memory than what was decoded into it needs.
  /// `octets`: the memory that it takes. Null when memory is short.
  void* (*create_lean)(std::size_t* octets);
  void* (*create_key)();  // a key holder: a whole sample
  void (*destroy_key)(void* key);
  RTIBool (*copy_sample)(PRESTypePluginEndpointData, void* destination, const void* source);

  RTIBool (*serialize)(PRESTypePluginEndpointData, const void* sample, RTICdrStream*, RTIBool serialize_encapsulation,
                       RTIEncapsulationId, RTIBool serialize_sample, void*);
  RTIBool (*deserialize)(PRESTypePluginEndpointData, void** sample, RTIBool* drop_sample, RTICdrStream*,
                         RTIBool deserialize_encapsulation, RTIBool deserialize_sample, void*);
  unsigned int (*get_serialized_sample_max_size)(PRESTypePluginEndpointData, RTIBool include_encapsulation,
                                                 RTIEncapsulationId, unsigned int current_alignment);
  unsigned int (*get_serialized_sample_size)(PRESTypePluginEndpointData, RTIBool include_encapsulation,
                                             RTIEncapsulationId, unsigned int current_alignment, const void* sample);

  PRESTypePluginKeyKind (*get_key_kind)();
  RTIBool (*serialize_key)(PRESTypePluginEndpointData, const void* sample, RTICdrStream*,
                           RTIBool serialize_encapsulation, RTIEncapsulationId, RTIBool serialize_key, void*);
  RTIBool (*deserialize_key)(PRESTypePluginEndpointData, void** sample, RTIBool* drop_sample, RTICdrStream*,
                             RTIBool deserialize_encapsulation, RTIBool deserialize_key, void*);
  RTIBool (*instance_to_key)(PRESTypePluginEndpointData, void* key, const void* sample);
  RTIBool (*key_to_instance)(PRESTypePluginEndpointData, void* sample, const void* key);
  RTIBool (*instance_to_keyhash)(PRESTypePluginEndpointData, DDS_KeyHash_t*, const void* sample);
  RTIBool (*serialized_sample_to_keyhash)(PRESTypePluginEndpointData, RTICdrStream*, DDS_KeyHash_t*,
                                          RTIBool deserialize_encapsulation, void*);

  const DDS_TypeCode* type_code;
  int language_kind;
  const char* type_name;         // the type's own name, "Tessivar::Command"
  const char* registered_name;   // the name that it is registered and announced under; null before that
  DDSTypeSupport* type_support;  // makes the typed readers and writers; set by register_type

  // --- whole buffers, header included -------------------------------------------------------------------------------

  /// Octets of this sample's encoding, without padding at the end; 0 when it cannot be encoded (a string over its
  /// bound, an unknown enumerator …).
  std::size_t (*encoded_size)(const void* sample);
  /// Writes why a sample, or its key alone, cannot be encoded: the path and the value of the first wrong member. The
  /// text is cut to `size`.
  void (*explain)(const void* sample, bool key_only, char* text, std::size_t size);
  /// Encodes in the host's order into exactly encoded_size() octets.
  bool (*encode)(const void* sample, std::uint8_t* buffer, std::size_t size);
  /// Decodes any of the four encapsulations, 0 to 3 octets of padding allowed at the end. When it fails, for malformed
  /// octets or for want of memory, the sample is left empty.
  bool (*decode)(void* sample, const std::uint8_t* buffer, std::size_t size);
  /// Decodes into a sample of create_lean; `octets` is updated when the sample grew.
  bool (*decode_lean)(void* sample, const std::uint8_t* buffer, std::size_t size, std::size_t* octets);
  /// Empties a sample of create_lean. No string is null afterwards unless the result is false: memory is short.
  bool (*clear_lean)(void* sample, std::size_t* octets);
  /// Checks a whole encoding without storing it and yields its key hash (all zero for a type without key).
  bool (*check)(const std::uint8_t* buffer, std::size_t size, DDS_KeyHash_t* hash);
  /// The key members alone, in the host's order with header, from a sample: the size, or 0 when it cannot be encoded.
  /// Writes only when `capacity` suffices; a null buffer asks for the size.
  std::size_t (*encode_key)(const void* sample, std::uint8_t* buffer, std::size_t capacity);
  /// The same from a whole encoding.
  std::size_t (*encoded_to_key)(const std::uint8_t* encoded, std::size_t size, std::uint8_t* buffer,
                                std::size_t capacity);
  /// Decodes key members into a key holder.
  bool (*decode_key)(void* key, const std::uint8_t* buffer, std::size_t size);
  /// Checks a key encoding (as peers send it with a dispose; any padding of zeros at the end) and yields its hash.
  bool (*check_key)(const std::uint8_t* buffer, std::size_t size, DDS_KeyHash_t* hash);

  /// Received samples that check() or check_key() refused; made by register_type, null before.
  std::shared_ptr<tessivar::platform::Count> malformed = nullptr;
};
