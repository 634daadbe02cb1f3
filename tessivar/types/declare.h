// SPDX-License-Identifier: Apache-2.0

// Declares what every type has beside its members: the named functions, the sequence and, for a topic type, its type
// support, reader and writer. One macro a type, in the type's namespace, after its structure.
//
// Unless a comment says otherwise an `int` result is 1 for success and 0 for failure; null samples are failures (or
// ignored where something is freed); nothing logs, throws or blocks. Distinct samples may be used by distinct threads.
#pragma once

#include "tessivar/platform/cdr_stream.h"
#include "tessivar/platform/sequence.h"
#include "tessivar/platform/type_code.h"
#include "tessivar/platform/type_plugin.h"
#include "tessivar/types/sequence_functions.h"
#include "tessivar/types/typed_entity.h"

// --- samples: initialise, finalise, copy, describe, print ------------------------------------------------------------
//
// T_initialize: numbers 0, strings and sequences allocated to their bounds, optional members null. `…_ex(s, 1, 0)`
// empties what is there without allocating. A sample that was only constructed (`Command c;`) has null strings, which
// count as empty ones everywhere; it can be copied, written, put into sequences and filled like any other.
// T_finalize: frees what the sample owns, not the sample.
// T_copy: deep; fails on a string or sequence over the destination's bound.
// TPluginSupport_create_data and the like: a sample of one's own, for TPluginSupport_destroy_data.
// TPluginSupport_print_data: to standard output; `description` may be null; three blanks a level of `indent`.
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
// See platform/sequence.h; the functions are its methods, a null `self` is a failure with a log line.
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
// unknown enumerator. A failed deserialisation leaves the sample empty, as T_initialize_ex(s, 1, 0) does.
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

/// All types but enumerations.
#define TESSIVAR_DECLARE_KEY_FUNCTIONS(T)                                                                       \
  TESSIVAR_API int T##Plugin_copy_sample(PRESTypePluginEndpointData endpoint, T* destination, const T* source); \
  TESSIVAR_API PRESTypePluginKeyKind T##Plugin_get_key_kind();                                                  \
  TESSIVAR_API unsigned int T##Plugin_get_serialized_key_max_size(                                              \
      PRESTypePluginEndpointData endpoint, RTIBool include_encapsulation, RTIEncapsulationId encapsulation_id,  \
      unsigned int current_alignment);

/// Structures and unions. TPlugin_serialize_to_cdr_buffer writes in the host's order; a null buffer asks for the
/// length. T_Plugin_data_to_string: `size` is the room and, out, what is needed with the terminator.
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

/// Inside the structure: the classes that belong to it, for templates over topic types.
#define TESSIVAR_TOPIC_CLASSES(T)           \
  typedef struct T##Seq Seq;                \
  typedef class T##TypeSupport TypeSupport; \
  typedef class T##DataReader DataReader;   \
  typedef class T##DataWriter DataWriter;

#define TESSIVAR_DECLARE_TOPIC_FUNCTIONS(T)                                                                          \
  TESSIVAR_API PRESTypePlugin* T##Plugin_new(); /* null when memory is short */                                      \
  TESSIVAR_API void T##Plugin_delete(PRESTypePlugin* plugin);                                                        \
  TESSIVAR_API PRESTypePluginParticipantData T##Plugin_on_participant_attached(                                      \
      void* registration_data, const void* participant_info, int top_level, void* container, const void* type_code); \
  TESSIVAR_API void T##Plugin_on_participant_detached(PRESTypePluginParticipantData data);                           \
  TESSIVAR_API PRESTypePluginEndpointData T##Plugin_on_endpoint_attached(                                            \
      PRESTypePluginParticipantData participant, const void* endpoint_info, int top_level, void* container);         \
  TESSIVAR_API void T##Plugin_on_endpoint_detached(PRESTypePluginEndpointData endpoint);                             \
  /* A sample goes back to its pool: frees what the next one may not need. */                                        \
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

/// The key holder is a whole sample, of which only the key members are meaningful.
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

/// A structure or union that is only a part of others.
#define TESSIVAR_NESTED_TYPE(T) \
  TESSIVAR_TYPEDEF(T)           \
  TESSIVAR_DECLARE_BUFFER_FUNCTIONS(T)

/// A structure that is published, without key.
#define TESSIVAR_KEYLESS_TOPIC_TYPE(T) \
  TESSIVAR_NESTED_TYPE(T)              \
  TESSIVAR_DECLARE_TOPIC_FUNCTIONS(T)

/// A structure that is published, with key.
#define TESSIVAR_TOPIC_TYPE(T)   \
  TESSIVAR_KEYLESS_TOPIC_TYPE(T) \
  TESSIVAR_DECLARE_INSTANCE_FUNCTIONS(T)
