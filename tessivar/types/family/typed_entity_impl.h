// SPDX-License-Identifier: Apache-2.0

// The bodies of the typed entities. Only files that define types include this file.
#pragma once

#include "tessivar/platform/detail/immortal.h"
#include "tessivar/platform/detail/log.h"
#include "tessivar/types/family/plugin.h"
#include "tessivar/types/typed_entity.h"

#include <algorithm>
#include <cstdio>

namespace tessivar::types {

constexpr DDS_ReturnCode_t ok_or_error(bool good) {
  return good ? DDS_RETCODE_OK : DDS_RETCODE_ERROR;
}

// --- type support ----------------------------------------------------------------------------------------------------

template <class T>
DDS_ReturnCode_t TypedTypeSupport<T>::register_type(DDSDomainParticipant* participant, const char* type_name) {
  constexpr const char* context = "TTypeSupport::register_type";
  if (!participant) return platform::refuse(context, "bad parameter: participant", DDS_RETCODE_BAD_PARAMETER);
  if (!type_name) return platform::refuse(context, "bad parameter: type_name", DDS_RETCODE_BAD_PARAMETER);
  PRESTypePlugin* record = PluginRecord<Structure<T>>::create();
  if (!record) return platform::refuse(context, "creation failure: TPlugin", DDS_RETCODE_OUT_OF_RESOURCES);
  static platform::Immortal<typename T::TypeSupport> support;  // it has no state, so all participants share it
  record->type_support = &*support;
  const DDS_ReturnCode_t result = participant->register_type(type_name, *record);
  delete record;
  return result;
}

template <class T>
DDS_ReturnCode_t TypedTypeSupport<T>::unregister_type(DDSDomainParticipant* participant, const char* type_name) {
  constexpr const char* context = "TTypeSupport::unregister_type";
  if (!participant) return platform::refuse(context, "bad parameter: participant", DDS_RETCODE_BAD_PARAMETER);
  if (!type_name) return platform::refuse(context, "bad parameter: type_name", DDS_RETCODE_BAD_PARAMETER);
  const DDS_ReturnCode_t result = participant->unregister_type(type_name);
  if (result == DDS_RETCODE_OK) return result;
  platform::log_joined(platform::LogLevel::error, context,
                       {"type \"", type_name, "\" is ",
                        result == DDS_RETCODE_PRECONDITION_NOT_MET ? "still used by a topic" : "not registered"});
  return result;
}

template <class T>
const char* TypedTypeSupport<T>::get_type_name() {
  return Table<T>::name;
}
template <class T>
const DDS_TypeCode* TypedTypeSupport<T>::get_typecode() {
  return type_code_of<Structure<T>>();
}

template <class T>
T* TypedTypeSupport<T>::create_data() {
  return create_data_ex(DDS_BOOLEAN_TRUE);
}
template <class T>
T* TypedTypeSupport<T>::create_data_ex(DDS_Boolean allocate_pointers) {
  return Support<Structure<T>>::create_ex(allocate_pointers);
}
template <class T>
DDS_ReturnCode_t TypedTypeSupport<T>::delete_data(T* sample) {
  return delete_data_ex(sample, DDS_BOOLEAN_TRUE);
}
template <class T>
DDS_ReturnCode_t TypedTypeSupport<T>::delete_data_ex(T* sample, DDS_Boolean delete_pointers) {
  Support<Structure<T>>::destroy_ex(sample, delete_pointers);
  return DDS_RETCODE_OK;
}
template <class T>
DDS_ReturnCode_t TypedTypeSupport<T>::copy_data(T* destination, const T* source) {
  return ok_or_error(Support<Structure<T>>::copy_sample(destination, source));
}
template <class T>
DDS_ReturnCode_t TypedTypeSupport<T>::initialize_data(T* sample) {
  return initialize_data_ex(sample, DDS_BOOLEAN_TRUE, DDS_BOOLEAN_TRUE);
}
template <class T>
DDS_ReturnCode_t TypedTypeSupport<T>::initialize_data_ex(T* sample, DDS_Boolean allocate_pointers,
                                                         DDS_Boolean allocate_memory) {
  return ok_or_error(Support<Structure<T>>::initialize_ex(sample, allocate_pointers, allocate_memory));
}
template <class T>
DDS_ReturnCode_t TypedTypeSupport<T>::finalize_data(T* sample) {
  return finalize_data_ex(sample, DDS_BOOLEAN_TRUE);
}
template <class T>
DDS_ReturnCode_t TypedTypeSupport<T>::finalize_data_ex(T* sample, DDS_Boolean delete_pointers) {
  Support<Structure<T>>::finalize_ex(sample, delete_pointers);
  return DDS_RETCODE_OK;
}
template <class T>
void TypedTypeSupport<T>::print_data(const T* sample) {
  Support<Structure<T>>::print_data(sample, nullptr, 0);
}
template <class T>
DDS_ReturnCode_t TypedTypeSupport<T>::serialize_data_to_cdr_buffer(char* buffer, unsigned int& length,
                                                                   const T* sample) {
  typedef Plugin<Structure<T>> P;
  if (P::to_cdr_buffer(buffer, &length, sample)) return DDS_RETCODE_OK;
  char fault[400];
  const std::size_t needed = P::encoded_size(sample);
  if (needed > length)
    std::snprintf(fault, sizeof fault, "the buffer has %u octets, the sample takes %zu", length, needed);
  else
    P::explain(sample, false, fault, sizeof fault);
  return platform::refuse("TTypeSupport::serialize_data_to_cdr_buffer", fault, DDS_RETCODE_ERROR);
}
template <class T>
DDS_ReturnCode_t TypedTypeSupport<T>::deserialize_data_from_cdr_buffer(T* sample, const char* buffer,
                                                                       unsigned int length) {
  return ok_or_error(Plugin<Structure<T>>::from_cdr_buffer(sample, buffer, length));
}
template <class T>
DDS_ReturnCode_t TypedTypeSupport<T>::data_to_string(const T* sample, char* text, DDS_UnsignedLong& size) {
  if (!sample) return DDS_RETCODE_BAD_PARAMETER;
  return Support<Structure<T>>::data_to_string(sample, text, &size) ? DDS_RETCODE_OK : DDS_RETCODE_OUT_OF_RESOURCES;
}

template <class T>
DDSDataReader* TypedTypeSupport<T>::create_datareaderI(DDSDataReader::ImplPtr impl) {
  return new (std::nothrow) typename T::DataReader(std::move(impl));
}
template <class T>
void TypedTypeSupport<T>::destroy_datareaderI(DDSDataReader* reader) {
  delete static_cast<typename T::DataReader*>(reader);
}
template <class T>
DDSDataWriter* TypedTypeSupport<T>::create_datawriterI(DDSDataWriter::ImplPtr impl) {
  return new (std::nothrow) typename T::DataWriter(std::move(impl));
}
template <class T>
void TypedTypeSupport<T>::destroy_datawriterI(DDSDataWriter* writer) {
  delete static_cast<typename T::DataWriter*>(writer);
}

// --- writer ----------------------------------------------------------------------------------------------------------

template <class T>
typename T::DataWriter* TypedDataWriter<T>::narrow(DDSDataWriter* writer) {
  constexpr const char* context = "TDataWriter::narrow";
  auto* typed = dynamic_cast<typename T::DataWriter*>(writer);
  if (!typed) platform::log(platform::LogLevel::error, context, writer ? "wrong type writer" : "null writer");
  return typed;
}

template <class T>
DDS_InstanceHandle_t TypedDataWriter<T>::register_instance(const T& sample) {
  return register_untypedI(&sample);
}
template <class T>
DDS_InstanceHandle_t TypedDataWriter<T>::register_instance_w_timestamp(const T& sample, const DDS_Time_t&) {
  return register_untypedI(&sample);  // a registration sends nothing, so it needs no timestamp
}
template <class T>
DDS_InstanceHandle_t TypedDataWriter<T>::register_instance_w_params(const T& sample, DDS_WriteParams_t& params) {
  return params.handle = register_untypedI(&sample);
}
template <class T>
DDS_ReturnCode_t TypedDataWriter<T>::unregister_instance(const T& sample, const DDS_InstanceHandle_t& handle) {
  return unregister_untypedI(&sample, handle, DDS_TIME_INVALID);
}
template <class T>
DDS_ReturnCode_t TypedDataWriter<T>::unregister_instance_w_timestamp(const T& sample,
                                                                     const DDS_InstanceHandle_t& handle,
                                                                     const DDS_Time_t& source_timestamp) {
  return unregister_untypedI(&sample, handle, source_timestamp);
}
template <class T>
DDS_ReturnCode_t TypedDataWriter<T>::unregister_instance_w_params(const T& sample, DDS_WriteParams_t& params) {
  return with_handle(unregister_untypedI(&sample, params.handle, params.source_timestamp), sample, params);
}
template <class T>
DDS_ReturnCode_t TypedDataWriter<T>::write(const T& sample, const DDS_InstanceHandle_t& handle) {
  return write_untypedI(&sample, handle, DDS_TIME_INVALID);
}
template <class T>
DDS_ReturnCode_t TypedDataWriter<T>::write_w_timestamp(const T& sample, const DDS_InstanceHandle_t& handle,
                                                       const DDS_Time_t& source_timestamp) {
  return write_untypedI(&sample, handle, source_timestamp);
}
template <class T>
DDS_ReturnCode_t TypedDataWriter<T>::write_w_params(const T& sample, DDS_WriteParams_t& params) {
  return with_handle(write_untypedI(&sample, params.handle, params.source_timestamp), sample, params);
}
template <class T>
DDS_ReturnCode_t TypedDataWriter<T>::dispose(const T& sample, const DDS_InstanceHandle_t& handle) {
  return dispose_untypedI(&sample, handle, DDS_TIME_INVALID);
}
template <class T>
DDS_ReturnCode_t TypedDataWriter<T>::dispose_w_timestamp(const T& sample, const DDS_InstanceHandle_t& handle,
                                                         const DDS_Time_t& source_timestamp) {
  return dispose_untypedI(&sample, handle, source_timestamp);
}
template <class T>
DDS_ReturnCode_t TypedDataWriter<T>::dispose_w_params(const T& sample, DDS_WriteParams_t& params) {
  return with_handle(dispose_untypedI(&sample, params.handle, params.source_timestamp), sample, params);
}
template <class T>
DDS_ReturnCode_t TypedDataWriter<T>::get_key_value(T& key_holder, const DDS_InstanceHandle_t& handle) {
  return get_key_value_untypedI(&key_holder, handle);
}
template <class T>
DDS_InstanceHandle_t TypedDataWriter<T>::lookup_instance(const T& key_holder) {
  return lookup_instance_untypedI(&key_holder);
}

template <class T>
DDS_ReturnCode_t TypedDataWriter<T>::with_handle(DDS_ReturnCode_t result, const T& sample, DDS_WriteParams_t& params) {
  if (result == DDS_RETCODE_OK && !params.handle.isValid && Table<T>::keyed)
    params.handle.isValid =
        static_cast<DDS_Boolean>(Plugin<Structure<T>>::instance_to_keyhash(nullptr, &params.handle.keyHash, &sample));
  return result;
}

// --- reader ----------------------------------------------------------------------------------------------------------

template <class T>
typename T::DataReader* TypedDataReader<T>::narrow(DDSDataReader* reader) {
  constexpr const char* context = "TDataReader::narrow";
  auto* typed = dynamic_cast<typename T::DataReader*>(reader);
  if (!typed) platform::log(platform::LogLevel::error, context, reader ? "wrong type reader" : "null reader");
  return typed;
}

template <class T>
DDS_ReturnCode_t TypedDataReader<T>::read(Seq& samples, DDS_SampleInfoSeq& infos, DDS_Long max_samples,
                                          DDS_SampleStateMask sample_states, DDS_ViewStateMask view_states,
                                          DDS_InstanceStateMask instance_states) {
  return read_or_takeI(samples, infos, max_samples, sample_states, view_states, instance_states, DDS_BOOLEAN_FALSE);
}
template <class T>
DDS_ReturnCode_t TypedDataReader<T>::take(Seq& samples, DDS_SampleInfoSeq& infos, DDS_Long max_samples,
                                          DDS_SampleStateMask sample_states, DDS_ViewStateMask view_states,
                                          DDS_InstanceStateMask instance_states) {
  return read_or_takeI(samples, infos, max_samples, sample_states, view_states, instance_states, DDS_BOOLEAN_TRUE);
}
template <class T>
DDS_ReturnCode_t TypedDataReader<T>::read_w_condition(Seq& samples, DDS_SampleInfoSeq& infos, DDS_Long max_samples,
                                                      DDSReadCondition* condition) {
  return read_or_take_w_conditionI(samples, infos, max_samples, condition, DDS_BOOLEAN_FALSE);
}
template <class T>
DDS_ReturnCode_t TypedDataReader<T>::take_w_condition(Seq& samples, DDS_SampleInfoSeq& infos, DDS_Long max_samples,
                                                      DDSReadCondition* condition) {
  return read_or_take_w_conditionI(samples, infos, max_samples, condition, DDS_BOOLEAN_TRUE);
}
template <class T>
DDS_ReturnCode_t TypedDataReader<T>::read_next_sample(T& sample, DDS_SampleInfo& info) {
  return read_or_take_next_sample_untypedI(&sample, info, DDS_BOOLEAN_FALSE);
}
template <class T>
DDS_ReturnCode_t TypedDataReader<T>::take_next_sample(T& sample, DDS_SampleInfo& info) {
  return read_or_take_next_sample_untypedI(&sample, info, DDS_BOOLEAN_TRUE);
}
template <class T>
DDS_ReturnCode_t TypedDataReader<T>::read_instance(Seq& samples, DDS_SampleInfoSeq& infos, DDS_Long max_samples,
                                                   const DDS_InstanceHandle_t& instance,
                                                   DDS_SampleStateMask sample_states, DDS_ViewStateMask view_states,
                                                   DDS_InstanceStateMask instance_states) {
  return read_or_take_instanceI(samples, infos, max_samples, Selection::one, instance, sample_states, view_states,
                                instance_states, DDS_BOOLEAN_FALSE);
}
template <class T>
DDS_ReturnCode_t TypedDataReader<T>::take_instance(Seq& samples, DDS_SampleInfoSeq& infos, DDS_Long max_samples,
                                                   const DDS_InstanceHandle_t& instance,
                                                   DDS_SampleStateMask sample_states, DDS_ViewStateMask view_states,
                                                   DDS_InstanceStateMask instance_states) {
  return read_or_take_instanceI(samples, infos, max_samples, Selection::one, instance, sample_states, view_states,
                                instance_states, DDS_BOOLEAN_TRUE);
}
template <class T>
DDS_ReturnCode_t TypedDataReader<T>::read_instance_w_condition(Seq& samples, DDS_SampleInfoSeq& infos,
                                                               DDS_Long max_samples,
                                                               const DDS_InstanceHandle_t& instance,
                                                               DDSReadCondition* condition) {
  return read_or_take_instance_w_conditionI(samples, infos, max_samples, Selection::one, instance, condition,
                                            DDS_BOOLEAN_FALSE);
}
template <class T>
DDS_ReturnCode_t TypedDataReader<T>::take_instance_w_condition(Seq& samples, DDS_SampleInfoSeq& infos,
                                                               DDS_Long max_samples,
                                                               const DDS_InstanceHandle_t& instance,
                                                               DDSReadCondition* condition) {
  return read_or_take_instance_w_conditionI(samples, infos, max_samples, Selection::one, instance, condition,
                                            DDS_BOOLEAN_TRUE);
}
template <class T>
DDS_ReturnCode_t TypedDataReader<T>::read_next_instance(Seq& samples, DDS_SampleInfoSeq& infos, DDS_Long max_samples,
                                                        const DDS_InstanceHandle_t& previous,
                                                        DDS_SampleStateMask sample_states,
                                                        DDS_ViewStateMask view_states,
                                                        DDS_InstanceStateMask instance_states) {
  return read_or_take_instanceI(samples, infos, max_samples, Selection::next, previous, sample_states, view_states,
                                instance_states, DDS_BOOLEAN_FALSE);
}
template <class T>
DDS_ReturnCode_t TypedDataReader<T>::take_next_instance(Seq& samples, DDS_SampleInfoSeq& infos, DDS_Long max_samples,
                                                        const DDS_InstanceHandle_t& previous,
                                                        DDS_SampleStateMask sample_states,
                                                        DDS_ViewStateMask view_states,
                                                        DDS_InstanceStateMask instance_states) {
  return read_or_take_instanceI(samples, infos, max_samples, Selection::next, previous, sample_states, view_states,
                                instance_states, DDS_BOOLEAN_TRUE);
}
template <class T>
DDS_ReturnCode_t TypedDataReader<T>::read_next_instance_w_condition(Seq& samples, DDS_SampleInfoSeq& infos,
                                                                    DDS_Long max_samples,
                                                                    const DDS_InstanceHandle_t& previous,
                                                                    DDSReadCondition* condition) {
  return read_or_take_instance_w_conditionI(samples, infos, max_samples, Selection::next, previous, condition,
                                            DDS_BOOLEAN_FALSE);
}
template <class T>
DDS_ReturnCode_t TypedDataReader<T>::take_next_instance_w_condition(Seq& samples, DDS_SampleInfoSeq& infos,
                                                                    DDS_Long max_samples,
                                                                    const DDS_InstanceHandle_t& previous,
                                                                    DDSReadCondition* condition) {
  return read_or_take_instance_w_conditionI(samples, infos, max_samples, Selection::next, previous, condition,
                                            DDS_BOOLEAN_TRUE);
}

template <class T>
DDS_ReturnCode_t TypedDataReader<T>::read_or_takeI(Seq& samples, DDS_SampleInfoSeq& infos, DDS_Long max_samples,
                                                   DDS_SampleStateMask sample_states, DDS_ViewStateMask view_states,
                                                   DDS_InstanceStateMask instance_states, DDS_Boolean take) {
  return read_or_take_instanceI(samples, infos, max_samples, Selection::all, DDS_HANDLE_NIL, sample_states, view_states,
                                instance_states, take);
}
template <class T>
DDS_ReturnCode_t TypedDataReader<T>::read_or_take_w_conditionI(Seq& samples, DDS_SampleInfoSeq& infos,
                                                               DDS_Long max_samples, DDSReadCondition* condition,
                                                               DDS_Boolean take) {
  return read_or_take_instance_w_conditionI(samples, infos, max_samples, Selection::all, DDS_HANDLE_NIL, condition,
                                            take);
}
template <class T>
DDS_ReturnCode_t TypedDataReader<T>::read_or_take_instanceI(Seq& samples, DDS_SampleInfoSeq& infos,
                                                            DDS_Long max_samples, Selection::Instances which,
                                                            const DDS_InstanceHandle_t& instance,
                                                            DDS_SampleStateMask sample_states,
                                                            DDS_ViewStateMask view_states,
                                                            DDS_InstanceStateMask instance_states, DDS_Boolean take) {
  return access(samples, infos,
                {take, max_samples, sample_states, view_states, instance_states, which, instance, nullptr});
}
template <class T>
DDS_ReturnCode_t TypedDataReader<T>::read_or_take_instance_w_conditionI(Seq& samples, DDS_SampleInfoSeq& infos,
                                                                        DDS_Long max_samples,
                                                                        Selection::Instances which,
                                                                        const DDS_InstanceHandle_t& instance,
                                                                        DDSReadCondition* condition, DDS_Boolean take) {
  if (!condition) return DDS_RETCODE_BAD_PARAMETER;
  Selection selection;
  selection.take = take;
  selection.max_samples = max_samples;
  selection.instances = which;
  selection.instance = instance;
  selection.condition = condition;
  return access(samples, infos, selection);
}

template <class T>
DDS_ReturnCode_t TypedDataReader<T>::access(Seq& samples, DDS_SampleInfoSeq& infos, const Selection& selection) {
  DDS_SampleBufferI buffer;
  buffer.length = samples.length();
  buffer.maximum = samples.maximum();
  buffer.owned = samples.has_ownership();
  buffer.contiguous = samples.get_contiguous_buffer();
  buffer.sample_size = static_cast<DDS_Long>(sizeof(T));
  const DDS_ReturnCode_t result = read_or_take_untypedI(buffer, infos, selection);
  if (result == DDS_RETCODE_NO_DATA || result == DDS_RETCODE_OUT_OF_RESOURCES) {
    samples.set_length(0);
    infos.set_length(0);
  }
  if (result != DDS_RETCODE_OK) return result;
  if (!buffer.lent) return ok_or_error(samples.set_length(buffer.count));
  auto** const pointers = static_cast<T**>(buffer.lent_pointers);
  std::transform(buffer.lent_samples, buffer.lent_samples + buffer.lent_maximum, pointers,
                 [](void* sample) { return static_cast<T*>(sample); });
  if (samples.loan_discontiguous(pointers, buffer.count, buffer.lent_maximum)) return DDS_RETCODE_OK;
  return_loan_untypedI(pointers, buffer.lent_maximum, infos);
  return DDS_RETCODE_ERROR;
}

template <class T>
DDS_ReturnCode_t TypedDataReader<T>::return_loan(Seq& samples, DDS_SampleInfoSeq& infos) {
  if (samples.has_ownership() && infos.has_ownership()) return DDS_RETCODE_OK;
  const DDS_ReturnCode_t result = return_loan_untypedI(samples.get_discontiguous_buffer(), samples.maximum(), infos);
  if (result != DDS_RETCODE_OK) return result;
  if (!samples.unloan()) return platform::refuse("TDataReader::return_loan", "unloan sequence", DDS_RETCODE_ERROR);
  return DDS_RETCODE_OK;
}

template <class T>
DDS_ReturnCode_t TypedDataReader<T>::get_key_value(T& key_holder, const DDS_InstanceHandle_t& handle) {
  return get_key_value_untypedI(&key_holder, handle);
}
template <class T>
DDS_InstanceHandle_t TypedDataReader<T>::lookup_instance(const T& key_holder) {
  return lookup_instance_untypedI(&key_holder);
}

}  // namespace tessivar::types
