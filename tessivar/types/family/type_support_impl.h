// SPDX-License-Identifier: Apache-2.0

// Macros that define the functions and classes of type_support.h: each named function calls the function for the kind
// of its type. Each type needs one macro, in the namespace of the type. `K` is the kind of the type.
#pragma once

#include "tessivar/platform/detail/member_count.h"
#include "tessivar/types/family/plugin.h"
#include "tessivar/types/family/typed_entity_impl.h"
#include "tessivar/types/type_support.h"

#define TESSIVAR_DEFINE_SAMPLE_FUNCTIONS(T, K)                                                         \
  int T##_initialize(T* sample) {                                                                      \
    return T##_initialize_ex(sample, RTI_TRUE, RTI_TRUE);                                              \
  }                                                                                                    \
  int T##_initialize_ex(T* sample, RTIBool allocate_pointers, RTIBool allocate_memory) {               \
    return tessivar::types::Support<K>::initialize_ex(sample, allocate_pointers, allocate_memory);     \
  }                                                                                                    \
  int T##_initialize_w_params(T* sample, const DDS_TypeAllocationParams_t* params) {                   \
    return tessivar::types::Support<K>::initialize_w_params(sample, params);                           \
  }                                                                                                    \
  void T##_finalize(T* sample) {                                                                       \
    T##_finalize_ex(sample, RTI_TRUE);                                                                 \
  }                                                                                                    \
  void T##_finalize_ex(T* sample, RTIBool delete_pointers) {                                           \
    tessivar::types::Support<K>::finalize_ex(sample, delete_pointers);                                 \
  }                                                                                                    \
  void T##_finalize_w_params(T* sample, const DDS_TypeDeallocationParams_t* params) {                  \
    tessivar::types::Support<K>::finalize_w_params(sample, params);                                    \
  }                                                                                                    \
  void T##_finalize_optional_members(T* sample, RTIBool delete_pointers) {                             \
    tessivar::types::Support<K>::finalize_optional_members(sample, delete_pointers);                   \
  }                                                                                                    \
  int T##_copy(T* destination, const T* source) {                                                      \
    return tessivar::types::Support<K>::copy_sample(destination, source);                              \
  }                                                                                                    \
  const DDS_TypeCode* T##_get_typecode() {                                                             \
    return tessivar::types::type_code_of<K>();                                                         \
  }                                                                                                    \
  T* T##PluginSupport_create_data() {                                                                  \
    return T##PluginSupport_create_data_ex(RTI_TRUE);                                                  \
  }                                                                                                    \
  T* T##PluginSupport_create_data_ex(RTIBool allocate_pointers) {                                      \
    return tessivar::types::Support<K>::create_ex(allocate_pointers);                                  \
  }                                                                                                    \
  T* T##PluginSupport_create_data_w_params(const DDS_TypeAllocationParams_t* params) {                 \
    return tessivar::types::Support<K>::create_w_params(params);                                       \
  }                                                                                                    \
  void T##PluginSupport_destroy_data(T* sample) {                                                      \
    T##PluginSupport_destroy_data_ex(sample, RTI_TRUE);                                                \
  }                                                                                                    \
  void T##PluginSupport_destroy_data_ex(T* sample, RTIBool delete_pointers) {                          \
    tessivar::types::Support<K>::destroy_ex(sample, delete_pointers);                                  \
  }                                                                                                    \
  void T##PluginSupport_destroy_data_w_params(T* sample, const DDS_TypeDeallocationParams_t* params) { \
    tessivar::types::Support<K>::destroy_w_params(sample, params);                                     \
  }                                                                                                    \
  int T##PluginSupport_copy_data(T* destination, const T* source) {                                    \
    return T##_copy(destination, source);                                                              \
  }                                                                                                    \
  void T##PluginSupport_print_data(const T* sample, const char* description, unsigned int indent) {    \
    tessivar::types::Support<K>::print_data(sample, description, indent);                              \
  }                                                                                                    \
  TESSIVAR_SEQUENCE_FUNCTIONS(T##Seq, , TESSIVAR_DEFINED)

#define TESSIVAR_DEFINE_CODEC_FUNCTIONS(T, K)                                                                          \
  int T##Plugin_serialize(PRESTypePluginEndpointData endpoint, const T* sample, RTICdrStream* stream,                  \
                          RTIBool serialize_encapsulation, RTIEncapsulationId encapsulation_id,                        \
                          RTIBool serialize_sample, void* parameter) {                                                 \
    return tessivar::types::Plugin<K>::serialize(endpoint, sample, stream, serialize_encapsulation, encapsulation_id,  \
                                                 serialize_sample, parameter);                                         \
  }                                                                                                                    \
  int T##Plugin_deserialize_sample(PRESTypePluginEndpointData endpoint, T* sample, RTICdrStream* stream,               \
                                   RTIBool deserialize_encapsulation, RTIBool deserialize_sample, void* parameter) {   \
    return tessivar::types::Plugin<K>::deserialize_sample(endpoint, sample, stream, deserialize_encapsulation,         \
                                                          deserialize_sample, parameter);                              \
  }                                                                                                                    \
  int T##Plugin_skip(PRESTypePluginEndpointData endpoint, RTICdrStream* stream, RTIBool skip_encapsulation,            \
                     RTIBool skip_sample, void* parameter) {                                                           \
    return tessivar::types::Plugin<K>::skip(endpoint, stream, skip_encapsulation, skip_sample, parameter);             \
  }                                                                                                                    \
  unsigned int T##Plugin_get_serialized_sample_max_size_ex(                                                            \
      PRESTypePluginEndpointData endpoint, RTIBool* unbounded, RTIBool include_encapsulation,                          \
      RTIEncapsulationId encapsulation_id, unsigned int current_alignment) {                                           \
    return tessivar::types::Plugin<K>::max_size_ex(endpoint, unbounded, include_encapsulation, encapsulation_id,       \
                                                   current_alignment);                                                 \
  }                                                                                                                    \
  unsigned int T##Plugin_get_serialized_sample_max_size(                                                               \
      PRESTypePluginEndpointData endpoint, RTIBool include_encapsulation, RTIEncapsulationId encapsulation_id,         \
      unsigned int current_alignment) {                                                                                \
    return tessivar::types::Plugin<K>::max_size(endpoint, include_encapsulation, encapsulation_id, current_alignment); \
  }                                                                                                                    \
  unsigned int T##Plugin_get_serialized_sample_min_size(                                                               \
      PRESTypePluginEndpointData endpoint, RTIBool include_encapsulation, RTIEncapsulationId encapsulation_id,         \
      unsigned int current_alignment) {                                                                                \
    return tessivar::types::Plugin<K>::min_size(endpoint, include_encapsulation, encapsulation_id, current_alignment); \
  }                                                                                                                    \
  unsigned int T##Plugin_get_serialized_sample_size(                                                                   \
      PRESTypePluginEndpointData endpoint, RTIBool include_encapsulation, RTIEncapsulationId encapsulation_id,         \
      unsigned int current_alignment, const T* sample) {                                                               \
    return tessivar::types::Plugin<K>::size(endpoint, include_encapsulation, encapsulation_id, current_alignment,      \
                                            sample);                                                                   \
  }                                                                                                                    \
  unsigned int T##Plugin_get_serialized_key_max_size_ex(                                                               \
      PRESTypePluginEndpointData endpoint, RTIBool* unbounded, RTIBool include_encapsulation,                          \
      RTIEncapsulationId encapsulation_id, unsigned int current_alignment) {                                           \
    return tessivar::types::Plugin<K>::max_key_size_ex(endpoint, unbounded, include_encapsulation, encapsulation_id,   \
                                                       current_alignment);                                             \
  }                                                                                                                    \
  int T##Plugin_serialize_key(PRESTypePluginEndpointData endpoint, const T* sample, RTICdrStream* stream,              \
                              RTIBool serialize_encapsulation, RTIEncapsulationId encapsulation_id,                    \
                              RTIBool serialize_key, void* parameter) {                                                \
    return tessivar::types::Plugin<K>::serialize_key(endpoint, sample, stream, serialize_encapsulation,                \
                                                     encapsulation_id, serialize_key, parameter);                      \
  }                                                                                                                    \
  int T##Plugin_deserialize_key_sample(PRESTypePluginEndpointData endpoint, T* key, RTICdrStream* stream,              \
                                       RTIBool deserialize_encapsulation, RTIBool deserialize_key, void* parameter) {  \
    return tessivar::types::Plugin<K>::deserialize_key_sample(endpoint, key, stream, deserialize_encapsulation,        \
                                                              deserialize_key, parameter);                             \
  }                                                                                                                    \
  int T##Plugin_serialized_sample_to_key(PRESTypePluginEndpointData endpoint, T* key, RTICdrStream* stream,            \
                                         RTIBool deserialize_encapsulation, RTIBool deserialize_key,                   \
                                         void* parameter) {                                                            \
    return tessivar::types::Plugin<K>::serialized_sample_to_key(endpoint, key, stream, deserialize_encapsulation,      \
                                                                deserialize_key, parameter);                           \
  }

#define TESSIVAR_DEFINE_KEY_FUNCTIONS(T, K)                                                                    \
  int T##Plugin_copy_sample(PRESTypePluginEndpointData endpoint, T* destination, const T* source) {            \
    return tessivar::types::Plugin<K>::copy_sample(endpoint, destination, source);                             \
  }                                                                                                            \
  PRESTypePluginKeyKind T##Plugin_get_key_kind() {                                                             \
    return tessivar::types::Plugin<K>::key_kind();                                                             \
  }                                                                                                            \
  unsigned int T##Plugin_get_serialized_key_max_size(                                                          \
      PRESTypePluginEndpointData endpoint, RTIBool include_encapsulation, RTIEncapsulationId encapsulation_id, \
      unsigned int current_alignment) {                                                                        \
    return tessivar::types::Plugin<K>::max_key_size_of(endpoint, include_encapsulation, encapsulation_id,      \
                                                       current_alignment);                                     \
  }

#define TESSIVAR_DEFINE_BUFFER_FUNCTIONS(T, K)                                                                        \
  int T##Plugin_deserialize(PRESTypePluginEndpointData endpoint, T** sample, RTIBool* drop_sample,                    \
                            RTICdrStream* stream, RTIBool deserialize_encapsulation, RTIBool deserialize_sample,      \
                            void* parameter) {                                                                        \
    return tessivar::types::Plugin<K>::deserialize(endpoint, sample, drop_sample, stream, deserialize_encapsulation,  \
                                                   deserialize_sample, parameter);                                    \
  }                                                                                                                   \
  int T##Plugin_deserialize_key(PRESTypePluginEndpointData endpoint, T** key, RTIBool* drop_sample,                   \
                                RTICdrStream* stream, RTIBool deserialize_encapsulation, RTIBool deserialize_key,     \
                                void* parameter) {                                                                    \
    return tessivar::types::Plugin<K>::deserialize_key(endpoint, key, drop_sample, stream, deserialize_encapsulation, \
                                                       deserialize_key, parameter);                                   \
  }                                                                                                                   \
  int T##Plugin_serialize_to_cdr_buffer(char* buffer, unsigned int* length, const T* sample) {                        \
    return tessivar::types::Plugin<K>::to_cdr_buffer(buffer, length, sample);                                         \
  }                                                                                                                   \
  int T##Plugin_deserialize_from_cdr_buffer(T* sample, const char* buffer, unsigned int length) {                     \
    return tessivar::types::Plugin<K>::from_cdr_buffer(sample, buffer, length);                                       \
  }                                                                                                                   \
  int T##Plugin_data_to_string(const T* sample, char* text, DDS_UnsignedLong* size) {                                 \
    return tessivar::types::Support<K>::data_to_string(sample, text, size);                                           \
  }

#define TESSIVAR_DEFINE_TOPIC_FUNCTIONS(T, K)                                                                         \
  PRESTypePlugin* T##Plugin_new() {                                                                                   \
    return tessivar::types::PluginRecord<K>::create();                                                                \
  }                                                                                                                   \
  void T##Plugin_delete(PRESTypePlugin* plugin) {                                                                     \
    delete plugin;                                                                                                    \
  }                                                                                                                   \
  PRESTypePluginParticipantData T##Plugin_on_participant_attached(                                                    \
      void* registration_data, const void* participant_info, int top_level, void* container, const void* type_code) { \
    return tessivar::types::PluginRecord<K>::on_participant_attached(registration_data, participant_info, top_level,  \
                                                                     container, type_code);                           \
  }                                                                                                                   \
  void T##Plugin_on_participant_detached(PRESTypePluginParticipantData data) {                                        \
    tessivar::types::PluginRecord<K>::on_participant_detached(data);                                                  \
  }                                                                                                                   \
  PRESTypePluginEndpointData T##Plugin_on_endpoint_attached(                                                          \
      PRESTypePluginParticipantData participant, const void* endpoint_info, int top_level, void* container) {         \
    return tessivar::types::PluginRecord<K>::on_endpoint_attached(participant, endpoint_info, top_level, container);  \
  }                                                                                                                   \
  void T##Plugin_on_endpoint_detached(PRESTypePluginEndpointData endpoint) {                                          \
    tessivar::types::PluginRecord<K>::on_endpoint_detached(endpoint);                                                 \
  }                                                                                                                   \
  void T##Plugin_return_sample(PRESTypePluginEndpointData, T* sample, void*) {                                        \
    T##_finalize_optional_members(sample, RTI_TRUE);                                                                  \
  }                                                                                                                   \
  T##DataReader::T##DataReader(ImplPtr impl) : TypedDataReader(std::move(impl)) {}                                    \
  T##DataReader::~T##DataReader() = default;                                                                          \
  T##DataWriter::T##DataWriter(ImplPtr impl) : TypedDataWriter(std::move(impl)) {}                                    \
  T##DataWriter::~T##DataWriter() = default;

#define TESSIVAR_DEFINE_INSTANCE_FUNCTIONS(T, K)                                                                       \
  T* T##PluginSupport_create_key() {                                                                                   \
    return T##PluginSupport_create_key_ex(RTI_TRUE);                                                                   \
  }                                                                                                                    \
  T* T##PluginSupport_create_key_ex(RTIBool allocate_pointers) {                                                       \
    return tessivar::types::Support<K>::create_key_ex(allocate_pointers);                                              \
  }                                                                                                                    \
  void T##PluginSupport_destroy_key(T* key) {                                                                          \
    T##PluginSupport_destroy_key_ex(key, RTI_TRUE);                                                                    \
  }                                                                                                                    \
  void T##PluginSupport_destroy_key_ex(T* key, RTIBool delete_pointers) {                                              \
    tessivar::types::Support<K>::destroy_ex(key, delete_pointers);                                                     \
  }                                                                                                                    \
  int T##Plugin_instance_to_key(PRESTypePluginEndpointData endpoint, T* key, const T* instance) {                      \
    return tessivar::types::Plugin<K>::instance_to_key(endpoint, key, instance);                                       \
  }                                                                                                                    \
  int T##Plugin_key_to_instance(PRESTypePluginEndpointData endpoint, T* instance, const T* key) {                      \
    return tessivar::types::Plugin<K>::key_to_instance(endpoint, instance, key);                                       \
  }                                                                                                                    \
  int T##Plugin_instance_to_keyhash(PRESTypePluginEndpointData endpoint, DDS_KeyHash_t* hash, const T* instance) {     \
    return tessivar::types::Plugin<K>::instance_to_keyhash(endpoint, hash, instance);                                  \
  }                                                                                                                    \
  int T##Plugin_serialized_sample_to_keyhash(PRESTypePluginEndpointData endpoint, RTICdrStream* stream,                \
                                             DDS_KeyHash_t* hash, RTIBool deserialize_encapsulation,                   \
                                             void* parameter) {                                                        \
    return tessivar::types::Plugin<K>::serialized_sample_to_keyhash(endpoint, stream, hash, deserialize_encapsulation, \
                                                                    parameter);                                        \
  }

#define TESSIVAR_DEFINE_ENUMERATION_OF(T, K) \
  TESSIVAR_DEFINE_SAMPLE_FUNCTIONS(T, K)     \
  TESSIVAR_DEFINE_CODEC_FUNCTIONS(T, K)
#define TESSIVAR_DEFINE_NESTED_OF(T, K) \
  TESSIVAR_DEFINE_TYPEDEF(T, K)         \
  TESSIVAR_DEFINE_BUFFER_FUNCTIONS(T, K)

#define TESSIVAR_DEFINE_ENUMERATION(T) TESSIVAR_DEFINE_ENUMERATION_OF(T, tessivar::types::Enumeration<T>)
#define TESSIVAR_DEFINE_TYPEDEF(T, K)  \
  TESSIVAR_DEFINE_ENUMERATION_OF(T, K) \
  TESSIVAR_DEFINE_KEY_FUNCTIONS(T, K)
#define TESSIVAR_DEFINE_UNION(T) TESSIVAR_DEFINE_NESTED_OF(T, tessivar::types::Union<T>)
#define TESSIVAR_DEFINE_NESTED_TYPE(T)                                                          \
  static_assert(tessivar::platform::member_count<T> == tessivar::types::Table<T>::member_count, \
                "a member of " #T " has no row in its table");                                  \
  TESSIVAR_DEFINE_NESTED_OF(T, tessivar::types::Structure<T>)
#define TESSIVAR_DEFINE_KEYLESS_TOPIC_TYPE(T) \
  TESSIVAR_DEFINE_NESTED_TYPE(T)              \
  TESSIVAR_DEFINE_TOPIC_FUNCTIONS(T, tessivar::types::Structure<T>)
#define TESSIVAR_DEFINE_TOPIC_TYPE(T)   \
  TESSIVAR_DEFINE_KEYLESS_TOPIC_TYPE(T) \
  TESSIVAR_DEFINE_INSTANCE_FUNCTIONS(T, tessivar::types::Structure<T>)

/// Instantiates the type support, reader and writer of a topic type. Place it outside the namespace of the type, with
/// the qualified name of the type.
#define TESSIVAR_INSTANTIATE_TOPIC_TYPE(T)             \
  template class tessivar::types::TypedTypeSupport<T>; \
  template class tessivar::types::TypedDataReader<T>;  \
  template class tessivar::types::TypedDataWriter<T>;
