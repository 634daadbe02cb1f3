// SPDX-License-Identifier: Apache-2.0

// What the platform knows about a type: a record of untyped functions.
//
// A type registers its record with a participant (DDSDomainParticipant::register_type). After that the record does not
// change. Any thread may call its functions; they never throw. The functions for whole buffers, which begin with the
// 4-octet RTPS encapsulation header (DDSI-RTPS 2.3, 10.2), are used wherever speed matters.
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

/// Types that are C++ structures, with sequences as classes.
constexpr int PRES_TYPEPLUGIN_CPP_LANG = 2;

struct PRESTypePlugin {
  PRESTypePluginParticipantData (*on_participant_attached)(void*, const void*, int, void*, const void*);
  void (*on_participant_detached)(PRESTypePluginParticipantData);
  PRESTypePluginEndpointData (*on_endpoint_attached)(PRESTypePluginParticipantData, const void*, int, void*);
  void (*on_endpoint_detached)(PRESTypePluginEndpointData);

  void* (*create_sample)();  // initialised; null if memory is short
  void (*destroy_sample)(void* sample);
  /// Creates a sample for loans; destroy_sample releases it. Such a sample owns only the memory that the decoded data
  /// needs. `octets` gets the size of that memory. Returns null if memory is short.
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
  const char* registered_name;   // the name in registration and discovery; null before registration
  DDSTypeSupport* type_support;  // creates the typed readers and writers

  // --- whole buffers, header included -------------------------------------------------------------------------------

  /// Returns the size of this sample's encoding in octets, without padding at the end. Returns 0 if the sample cannot
  /// be encoded (a string is longer than its bound, an enumerator is unknown …).
  std::size_t (*encoded_size)(const void* sample);
  /// Writes to `text` why a sample, or its key alone, cannot be encoded: the path and the value of the first wrong
  /// member. The text is cut to `size` octets.
  void (*explain)(const void* sample, bool key_only, char* text, std::size_t size);
  /// Encodes the sample in the order of the host into exactly encoded_size() octets.
  bool (*encode)(const void* sample, std::uint8_t* buffer, std::size_t size);
  /// Decodes any of the four encapsulations. The encoding may end with 0 to 3 octets of padding. If the octets are
  /// malformed or memory is short, returns false and leaves the sample empty.
  bool (*decode)(void* sample, const std::uint8_t* buffer, std::size_t size);
  /// Decodes into a sample of create_lean. Updates `octets` if the sample has grown.
  bool (*decode_lean)(void* sample, const std::uint8_t* buffer, std::size_t size, std::size_t* octets);
  /// Empties a sample of create_lean. Returns false if memory is short; strings of the sample may be null only then.
  bool (*clear_lean)(void* sample, std::size_t* octets);
  /// Checks a whole encoding without storing it, and computes its key hash (all zero for a type without key).
  bool (*check)(const std::uint8_t* buffer, std::size_t size, DDS_KeyHash_t* hash);
  /// Encodes only the key members of a sample, with header, in the order of the host. Returns the size, or 0 if the key
  /// cannot be encoded. Writes nothing if `capacity` is too small or the buffer is null.
  std::size_t (*encode_key)(const void* sample, std::uint8_t* buffer, std::size_t capacity);
  /// The same for a sample that is given as a whole encoding.
  std::size_t (*encoded_to_key)(const std::uint8_t* encoded, std::size_t size, std::uint8_t* buffer,
                                std::size_t capacity);
  /// Decodes key members into a key holder.
  bool (*decode_key)(void* key, const std::uint8_t* buffer, std::size_t size);
  /// Checks a key encoding and computes its hash. Peers send such an encoding with a dispose; it may end with any
  /// number of zeros as padding.
  bool (*check_key)(const std::uint8_t* buffer, std::size_t size, DDS_KeyHash_t* hash);

  /// Counts received samples that check() or check_key() rejected. Created by register_type; null before.
  std::shared_ptr<tessivar::platform::Count> malformed = nullptr;
};
