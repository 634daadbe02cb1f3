// SPDX-License-Identifier: Apache-2.0

// Declares what every type has in addition to its members: the named functions and the sequence, and for a topic type
// also its type support, reader and writer. Each type needs one macro, in the namespace of the type, after its
// structure.
//
// Unless a comment says otherwise:
// - an `int` result is 1 for success and 0 for failure;
// - a null sample is a failure, but functions that free something ignore it;
// - no function logs, throws or blocks.
// Different threads may use different samples at the same time.
#pragma once

#include "tessivar/platform/cdr_stream.h"
#include "tessivar/platform/sequence.h"
#include "tessivar/platform/type_code.h"
#include "tessivar/platform/type_plugin.h"
#include "tessivar/types/sequence_functions.h"
#include "tessivar/types/typed_entity.h"

// --- samples: initialise, finalise, copy, describe, print ------------------------------------------------------------
//
// T_initialize: sets numbers to 0, allocates strings and sequences to their bounds, sets optional members to null.
// `…_ex(s, 1, 0)` empties the strings and sequences that exist and allocates nothing. A sample that was only
// constructed (`Command c;`) has null strings. Every function treats a null string as an empty string. Such a sample
// can be copied, written, put into sequences and filled like any other sample.
// T_finalize: frees what the sample owns, not the sample itself.
// T_copy: makes a deep copy. It fails if a string or a sequence is longer than the bound of the destination.
// TPluginSupport_create_data and its variants: allocate a sample. The caller owns it and frees it with
// TPluginSupport_destroy_data.
// TPluginSupport_print_data: prints to standard output. `description` may be null. Each level of `indent` is three
// blanks.
#define TESSIVAR_DECLARE_SAMPLE_FUNCTIONS(T)                                                                  \
  TESSIVAR_API int T##_initialize(T* sample);                                                                 \
  TESSIVAR_API int T##_initialize_ex(T* sample, RTIBool allocate_pointers, RTIBool allocate_memory);          \
  TESSIVAR_API int T##_initialize_w_params(T* sample, const DDS_TypeAllocationParams_t* params);              \
  TESSIVAR_API void T##_finalize(T* sample);                                                                  \
  TESSIVAR_API void T##_finalize_ex(T* sample, RTIBool delete_pointers);                                      \
  TESSIVAR_API void T##_finalize_w_params(T* sample, const DDS_TypeDeallocationParams_t* params);             \
  TESSIVAR_API void T##_finalize_optional_members(T* sample, RTIBool delete_pointers);                        \
  TESSIVAR_API int T##_copy(T* destination, const T* source);                                                 \
  TESSIVAR_API const DDS_TypeCode* T##_get_typecode();                                                        \
  TESSIVAR_API T* T##PluginSupport_create_data();                                                             \
  TESSIVAR_API T* T##PluginSupport_create_data_ex(RTIBool allocate_pointers);                                 \
  TESSIVAR_API T* T##PluginSupport_create_data_w_params(const DDS_TypeAllocationParams_t* params);            \
  TESSIVAR_API void T##PluginSupport_destroy_data(T* sample);                                                 \
  TESSIVAR_API void T##PluginSupport_destroy_data_ex(T* sample, RTIBool delete_pointers);                     \
  TESSIVAR_API void T##PluginSupport_destroy_data_w_params(T* sample, const DDS_TypeDeallocationParams_t* p); \
  TESSIVAR_API int T##PluginSupport_copy_data(T* destination, const T* source);                               \
  TESSIVAR_API void T##PluginSupport_print_data(const T* sample, const char* description, unsigned int indent);

// --- sequences -------------------------------------------------------------------------------------------------------
//
// platform/sequence.h describes the methods of a sequence; the functions call these methods. If `self` is null, a
// function logs one line and fails.
#define TESSIVAR_DECLARE_SEQUENCE(T)                                                              \
  struct T##SeqOps {                                                                              \
    static constexpr const char* name = #T "Seq";                                                 \
    static constexpr bool plain = std::is_arithmetic_v<T> || std::is_enum_v<T>;                   \
    static bool initialize(T& element, const DDS_TypeAllocationParams_t& params) {                \
      return T##_initialize_w_params(&element, &params);                                          \
    }                                                                                             \
    static void finalize(T& element, const DDS_TypeDeallocationParams_t& params) {                \
      T##_finalize_w_params(&element, &params);                                                   \
    }                                                                                             \
    static bool copy(T& destination, const T& source) { return T##_copy(&destination, &source); } \
  };                                                                                              \
  struct T##Seq : DDSSequence<T, T##SeqOps> {                                                     \
    using DDSSequence<T, T##SeqOps>::DDSSequence;                                                 \
  };                                                                                              \
  TESSIVAR_SEQUENCE_FUNCTIONS(T##Seq, TESSIVAR_API, TESSIVAR_DECLARED)

// --- encoding: what every type has -----------------------------------------------------------------------------------
//
// `endpoint` and `parameter` may always be null. Encapsulation identifiers are 0 to 3. TPlugin_serialize logs an
// unknown enumerator. If a deserialisation fails, the sample is empty, as after T_initialize_ex(s, 1, 0).
#define TESSIVAR_DECLARE_CODEC_FUNCTIONS(T)                                                                            \
  TESSIVAR_API int T##Plugin_serialize(PRESTypePluginEndpointData endpoint, const T* sample, RTICdrStream* stream,     \
                                       RTIBool serialize_encapsulation, RTIEncapsulationId encapsulation_id,           \
                                       RTIBool serialize_sample, void* parameter);                                     \
  TESSIVAR_API int T##Plugin_deserialize_sample(PRESTypePluginEndpointData endpoint, T* sample, RTICdrStream* stream,  \
                                                RTIBool deserialize_encapsulation, RTIBool deserialize_sample,         \
                                                void* parameter);                                                      \
  TESSIVAR_API int T##Plugin_skip(PRESTypePluginEndpointData endpoint, RTICdrStream* stream,                           \
                                  RTIBool skip_encapsulation, RTIBool skip_sample, void* parameter);                   \
  TESSIVAR_API unsigned int T##Plugin_get_serialized_sample_max_size_ex(                                               \
      PRESTypePluginEndpointData endpoint, RTIBool* unbounded, RTIBool include_encapsulation,                          \
      RTIEncapsulationId encapsulation_id, unsigned int current_alignment);                                            \
  TESSIVAR_API unsigned int T##Plugin_get_serialized_sample_max_size(                                                  \
      PRESTypePluginEndpointData endpoint, RTIBool include_encapsulation, RTIEncapsulationId encapsulation_id,         \
      unsigned int current_alignment);                                                                                 \
  TESSIVAR_API unsigned int T##Plugin_get_serialized_sample_min_size(                                                  \
      PRESTypePluginEndpointData endpoint, RTIBool include_encapsulation, RTIEncapsulationId encapsulation_id,         \
      unsigned int current_alignment);                                                                                 \
  TESSIVAR_API unsigned int T##Plugin_get_serialized_sample_size(                                                      \
      PRESTypePluginEndpointData endpoint, RTIBool include_encapsulation, RTIEncapsulationId encapsulation_id,         \
      unsigned int current_alignment, const T* sample);                                                                \
  TESSIVAR_API unsigned int T##Plugin_get_serialized_key_max_size_ex(                                                  \
      PRESTypePluginEndpointData endpoint, RTIBool* unbounded, RTIBool include_encapsulation,                          \
      RTIEncapsulationId encapsulation_id, unsigned int current_alignment);                                            \
  TESSIVAR_API int T##Plugin_serialize_key(PRESTypePluginEndpointData endpoint, const T* sample, RTICdrStream* stream, \
                                           RTIBool serialize_encapsulation, RTIEncapsulationId encapsulation_id,       \
                                           RTIBool serialize_key, void* parameter);                                    \
  TESSIVAR_API int T##Plugin_deserialize_key_sample(PRESTypePluginEndpointData endpoint, T* key, RTICdrStream* stream, \
                                                    RTIBool deserialize_encapsulation, RTIBool deserialize_key,        \
                                                    void* parameter);                                                  \
  TESSIVAR_API int T##Plugin_serialized_sample_to_key(PRESTypePluginEndpointData endpoint, T* key,                     \
                                                      RTICdrStream* stream, RTIBool deserialize_encapsulation,         \
                                                      RTIBool deserialize_key, void* parameter);

/// For all types except enumerations.
#define TESSIVAR_DECLARE_KEY_FUNCTIONS(T)                                                                       \
  TESSIVAR_API int T##Plugin_copy_sample(PRESTypePluginEndpointData endpoint, T* destination, const T* source); \
  TESSIVAR_API PRESTypePluginKeyKind T##Plugin_get_key_kind();                                                  \
  TESSIVAR_API unsigned int T##Plugin_get_serialized_key_max_size(                                              \
      PRESTypePluginEndpointData endpoint, RTIBool include_encapsulation, RTIEncapsulationId encapsulation_id,  \
      unsigned int current_alignment);

/// For structures and unions. TPlugin_serialize_to_cdr_buffer writes in the byte order of the host. If its buffer is
/// null, it returns the length only. TPlugin_data_to_string: `size` is the size of `text` in octets; on return it is
/// the size that the text needs, terminator included.
#define TESSIVAR_DECLARE_BUFFER_FUNCTIONS(T)                                                                     \
  TESSIVAR_API int T##Plugin_deserialize(PRESTypePluginEndpointData endpoint, T** sample, RTIBool* drop_sample,  \
                                         RTICdrStream* stream, RTIBool deserialize_encapsulation,                \
                                         RTIBool deserialize_sample, void* parameter);                           \
  TESSIVAR_API int T##Plugin_deserialize_key(PRESTypePluginEndpointData endpoint, T** key, RTIBool* drop_sample, \
                                             RTICdrStream* stream, RTIBool deserialize_encapsulation,            \
                                             RTIBool deserialize_key, void* parameter);                          \
  TESSIVAR_API int T##Plugin_serialize_to_cdr_buffer(char* buffer, unsigned int* length, const T* sample);       \
  TESSIVAR_API int T##Plugin_deserialize_from_cdr_buffer(T* sample, const char* buffer, unsigned int length);    \
  TESSIVAR_API int T##Plugin_data_to_string(const T* sample, char* text, DDS_UnsignedLong* size);

// --- top-level types -------------------------------------------------------------------------------------------------

/// Place it inside the structure. It names the classes that belong to the structure, for templates over topic types.
#define TESSIVAR_TOPIC_CLASSES(T)           \
  typedef struct T##Seq Seq;                \
  typedef class T##TypeSupport TypeSupport; \
  typedef class T##DataReader DataReader;   \
  typedef class T##DataWriter DataWriter;

#define TESSIVAR_DECLARE_TOPIC_FUNCTIONS(T)                                                                          \
  TESSIVAR_API PRESTypePlugin* T##Plugin_new(); /* null if memory is short */                                        \
  TESSIVAR_API void T##Plugin_delete(PRESTypePlugin* plugin);                                                        \
  TESSIVAR_API PRESTypePluginParticipantData T##Plugin_on_participant_attached(                                      \
      void* registration_data, const void* participant_info, int top_level, void* container, const void* type_code); \
  TESSIVAR_API void T##Plugin_on_participant_detached(PRESTypePluginParticipantData data);                           \
  TESSIVAR_API PRESTypePluginEndpointData T##Plugin_on_endpoint_attached(                                            \
      PRESTypePluginParticipantData participant, const void* endpoint_info, int top_level, void* container);         \
  TESSIVAR_API void T##Plugin_on_endpoint_detached(PRESTypePluginEndpointData endpoint);                             \
  /* Returns a sample to its pool: frees the optional members of the sample. */                                      \
  TESSIVAR_API void T##Plugin_return_sample(PRESTypePluginEndpointData endpoint, T* sample, void* handle);           \
  class TESSIVAR_API T##TypeSupport final : public tessivar::types::TypedTypeSupport<T> {};                          \
  class TESSIVAR_API T##DataReader final : public tessivar::types::TypedDataReader<T> {                              \
    friend class tessivar::types::TypedTypeSupport<T>;                                                               \
    explicit T##DataReader(ImplPtr impl);                                                                            \
    ~T##DataReader() override;                                                                                       \
  };                                                                                                                 \
  class TESSIVAR_API T##DataWriter final : public tessivar::types::TypedDataWriter<T> {                              \
    friend class tessivar::types::TypedTypeSupport<T>;                                                               \
    explicit T##DataWriter(ImplPtr impl);                                                                            \
    ~T##DataWriter() override;                                                                                       \
  };

/// The key holder is a whole sample. Only its key members are meaningful.
#define TESSIVAR_DECLARE_INSTANCE_FUNCTIONS(T)                                                                       \
  TESSIVAR_API T* T##PluginSupport_create_key();                                                                     \
  TESSIVAR_API T* T##PluginSupport_create_key_ex(RTIBool allocate_pointers);                                         \
  TESSIVAR_API void T##PluginSupport_destroy_key(T* key);                                                            \
  TESSIVAR_API void T##PluginSupport_destroy_key_ex(T* key, RTIBool delete_pointers);                                \
  TESSIVAR_API int T##Plugin_instance_to_key(PRESTypePluginEndpointData endpoint, T* key, const T* instance);        \
  TESSIVAR_API int T##Plugin_key_to_instance(PRESTypePluginEndpointData endpoint, T* instance, const T* key);        \
  TESSIVAR_API int T##Plugin_instance_to_keyhash(PRESTypePluginEndpointData endpoint, DDS_KeyHash_t* hash,           \
                                                 const T* instance);                                                 \
  TESSIVAR_API int T##Plugin_serialized_sample_to_keyhash(PRESTypePluginEndpointData endpoint, RTICdrStream* stream, \
                                                          DDS_KeyHash_t* hash, RTIBool deserialize_encapsulation,    \
                                                          void* parameter);

// --- one macro a type ------------------------------------------------------------------------------------------------

#define TESSIVAR_ENUMERATION(T)        \
  TESSIVAR_DECLARE_SAMPLE_FUNCTIONS(T) \
  TESSIVAR_DECLARE_SEQUENCE(T)         \
  TESSIVAR_DECLARE_CODEC_FUNCTIONS(T)

#define TESSIVAR_TYPEDEF(T) \
  TESSIVAR_ENUMERATION(T)   \
  TESSIVAR_DECLARE_KEY_FUNCTIONS(T)

/// A structure or union that is used only as a member of other types.
#define TESSIVAR_NESTED_TYPE(T) \
  TESSIVAR_TYPEDEF(T)           \
  TESSIVAR_DECLARE_BUFFER_FUNCTIONS(T)

/// The structure of a topic without key.
#define TESSIVAR_KEYLESS_TOPIC_TYPE(T) \
  TESSIVAR_NESTED_TYPE(T)              \
  TESSIVAR_DECLARE_TOPIC_FUNCTIONS(T)

/// The structure of a topic with key.
#define TESSIVAR_TOPIC_TYPE(T)   \
  TESSIVAR_KEYLESS_TOPIC_TYPE(T) \
  TESSIVAR_DECLARE_INSTANCE_FUNCTIONS(T)
