// SPDX-License-Identifier: Apache-2.0

// Typed readers, writers and type supports: what every topic type has, said once.
//
// They are thin: each operation hands its sample, untyped, to the platform's reader or writer, whose rules hold (see
// platform/reader.h and platform/writer.h for threads, blocking and results). `T` is a topic type; its own classes
// (`CommandDataReader` …) derive from these and add nothing.
#pragma once

#include "tessivar/platform/participant.h"
#include "tessivar/platform/reader.h"
#include "tessivar/platform/writer.h"

namespace tessivar::types {

/// Class methods that tie a type to a participant, and make and free its samples.
template <class T>
class TESSIVAR_API TypedTypeSupport : public DDSTypeSupport {
 public:
  /// Registers the type under `type_name`, by default its own name. Its topics are announced with that name: readers
  /// and writers match only those of the same name. BAD_PARAMETER for a null argument, OUT_OF_RESOURCES when memory is
  /// short; registering it again is OK.
  static DDS_ReturnCode_t register_type(DDSDomainParticipant* participant, const char* type_name = get_type_name());
  /// BAD_PARAMETER if it is not registered, PRECONDITION_NOT_MET while a topic uses it; with one log line.
  static DDS_ReturnCode_t unregister_type(DDSDomainParticipant* participant, const char* type_name = get_type_name());
  /// "Tessivar::Command"
  static const char* get_type_name();
  static const DDS_TypeCode* get_typecode();

  /// The caller owns the sample; null when memory is short.
  static T* create_data();
  static T* create_data_ex(DDS_Boolean allocate_pointers);
  static DDS_ReturnCode_t delete_data(T* sample);
  static DDS_ReturnCode_t delete_data_ex(T* sample, DDS_Boolean delete_pointers);
  /// Deep copy; ERROR when something in `source` is over its bound.
  static DDS_ReturnCode_t copy_data(T* destination, const T* source);
  static DDS_ReturnCode_t initialize_data(T* sample);
  static DDS_ReturnCode_t initialize_data_ex(T* sample, DDS_Boolean allocate_pointers, DDS_Boolean allocate_memory);
  static DDS_ReturnCode_t finalize_data(T* sample);
  static DDS_ReturnCode_t finalize_data_ex(T* sample, DDS_Boolean delete_pointers);
  /// To standard output.
  static void print_data(const T* sample);

  /// `length`: in, the room of `buffer`; out, the octets of the encoding. A null buffer asks for them.
  static DDS_ReturnCode_t serialize_data_to_cdr_buffer(char* buffer, unsigned int& length, const T* sample);
  /// `sample` is initialised.
  static DDS_ReturnCode_t deserialize_data_from_cdr_buffer(T* sample, const char* buffer, unsigned int length);
  /// `size`: in, the room of `text`; out, what the text needs with its terminator. A null text asks for it;
  /// OUT_OF_RESOURCES when the room is too small.
  static DDS_ReturnCode_t data_to_string(const T* sample, char* text, DDS_UnsignedLong& size);

  // The platform makes its readers and writers of this type through these.
  DDSDataReader* create_datareaderI(DDSDataReader::ImplPtr impl) override;
  void destroy_datareaderI(DDSDataReader* reader) override;
  DDSDataWriter* create_datawriterI(DDSDataWriter::ImplPtr impl) override;
  void destroy_datawriterI(DDSDataWriter* writer) override;
  /// Nothing is kept for a type that would have to be released.
  static void finalize() {}
};

template <class T>
class TESSIVAR_API TypedDataWriter : public DDSDataWriter {
 public:
  /// Null, with a log line, for a null writer or one of another type.
  static typename T::DataWriter* narrow(DDSDataWriter* writer);

  DDS_InstanceHandle_t register_instance(const T& sample);
  DDS_InstanceHandle_t register_instance_w_timestamp(const T& sample, const DDS_Time_t& source_timestamp);
  DDS_InstanceHandle_t register_instance_w_params(const T& sample, DDS_WriteParams_t& params);
  DDS_ReturnCode_t unregister_instance(const T& sample, const DDS_InstanceHandle_t& handle);
  DDS_ReturnCode_t unregister_instance_w_timestamp(const T& sample, const DDS_InstanceHandle_t& handle,
                                                   const DDS_Time_t& source_timestamp);
  DDS_ReturnCode_t unregister_instance_w_params(const T& sample, DDS_WriteParams_t& params);
  DDS_ReturnCode_t write(const T& sample, const DDS_InstanceHandle_t& handle);
  DDS_ReturnCode_t write_w_timestamp(const T& sample, const DDS_InstanceHandle_t& handle,
                                     const DDS_Time_t& source_timestamp);
  DDS_ReturnCode_t write_w_params(const T& sample, DDS_WriteParams_t& params);
  DDS_ReturnCode_t dispose(const T& sample, const DDS_InstanceHandle_t& handle);
  DDS_ReturnCode_t dispose_w_timestamp(const T& sample, const DDS_InstanceHandle_t& handle,
                                       const DDS_Time_t& source_timestamp);
  DDS_ReturnCode_t dispose_w_params(const T& sample, DDS_WriteParams_t& params);
  /// Fills the key members of an initialised sample.
  DDS_ReturnCode_t get_key_value(T& key_holder, const DDS_InstanceHandle_t& handle);
  DDS_InstanceHandle_t lookup_instance(const T& key_holder);

 protected:
  explicit TypedDataWriter(ImplPtr impl) : DDSDataWriter(std::move(impl)) {}

 private:
  /// Tells in `params` which instance was meant.
  DDS_ReturnCode_t with_handle(DDS_ReturnCode_t result, const T& sample, DDS_WriteParams_t& params);
};

/// Each read and take fills `samples` and `infos` alike: when both are empty the reader lends its own samples, which go
/// back with return_loan; when both own buffers, samples are copied there.
template <class T>
class TESSIVAR_API TypedDataReader : public DDSDataReader {
 public:
  typedef typename T::Seq Seq;

  /// Null, with a log line, for a null reader or one of another type.
  static typename T::DataReader* narrow(DDSDataReader* reader);

  DDS_ReturnCode_t read(Seq& samples, DDS_SampleInfoSeq& infos, DDS_Long max_samples, DDS_SampleStateMask sample_states,
                        DDS_ViewStateMask view_states, DDS_InstanceStateMask instance_states);
  DDS_ReturnCode_t take(Seq& samples, DDS_SampleInfoSeq& infos, DDS_Long max_samples, DDS_SampleStateMask sample_states,
                        DDS_ViewStateMask view_states, DDS_InstanceStateMask instance_states);
  DDS_ReturnCode_t read_w_condition(Seq& samples, DDS_SampleInfoSeq& infos, DDS_Long max_samples,
                                    DDSReadCondition* condition);
  DDS_ReturnCode_t take_w_condition(Seq& samples, DDS_SampleInfoSeq& infos, DDS_Long max_samples,
                                    DDSReadCondition* condition);
  DDS_ReturnCode_t read_next_sample(T& sample, DDS_SampleInfo& info);
  DDS_ReturnCode_t take_next_sample(T& sample, DDS_SampleInfo& info);
  DDS_ReturnCode_t read_instance(Seq& samples, DDS_SampleInfoSeq& infos, DDS_Long max_samples,
                                 const DDS_InstanceHandle_t& instance, DDS_SampleStateMask sample_states,
                                 DDS_ViewStateMask view_states, DDS_InstanceStateMask instance_states);
  DDS_ReturnCode_t take_instance(Seq& samples, DDS_SampleInfoSeq& infos, DDS_Long max_samples,
                                 const DDS_InstanceHandle_t& instance, DDS_SampleStateMask sample_states,
                                 DDS_ViewStateMask view_states, DDS_InstanceStateMask instance_states);
  DDS_ReturnCode_t read_instance_w_condition(Seq& samples, DDS_SampleInfoSeq& infos, DDS_Long max_samples,
                                             const DDS_InstanceHandle_t& instance, DDSReadCondition* condition);
  DDS_ReturnCode_t take_instance_w_condition(Seq& samples, DDS_SampleInfoSeq& infos, DDS_Long max_samples,
                                             const DDS_InstanceHandle_t& instance, DDSReadCondition* condition);
  DDS_ReturnCode_t read_next_instance(Seq& samples, DDS_SampleInfoSeq& infos, DDS_Long max_samples,
                                      const DDS_InstanceHandle_t& previous, DDS_SampleStateMask sample_states,
                                      DDS_ViewStateMask view_states, DDS_InstanceStateMask instance_states);
  DDS_ReturnCode_t take_next_instance(Seq& samples, DDS_SampleInfoSeq& infos, DDS_Long max_samples,
                                      const DDS_InstanceHandle_t& previous, DDS_SampleStateMask sample_states,
                                      DDS_ViewStateMask view_states, DDS_InstanceStateMask instance_states);
  DDS_ReturnCode_t read_next_instance_w_condition(Seq& samples, DDS_SampleInfoSeq& infos, DDS_Long max_samples,
                                                  const DDS_InstanceHandle_t& previous, DDSReadCondition* condition);
  DDS_ReturnCode_t take_next_instance_w_condition(Seq& samples, DDS_SampleInfoSeq& infos, DDS_Long max_samples,
                                                  const DDS_InstanceHandle_t& previous, DDSReadCondition* condition);
  /// Nothing to give back is OK; PRECONDITION_NOT_MET for what this reader did not lend.
  DDS_ReturnCode_t return_loan(Seq& samples, DDS_SampleInfoSeq& infos);
  /// Fills the key members of an initialised sample.
  DDS_ReturnCode_t get_key_value(T& key_holder, const DDS_InstanceHandle_t& handle);
  DDS_InstanceHandle_t lookup_instance(const T& key_holder);

 protected:
  explicit TypedDataReader(ImplPtr impl) : DDSDataReader(std::move(impl)) {}

 private:
  typedef DDS_ReadSelectionI Selection;
  DDS_ReturnCode_t read_or_takeI(Seq& samples, DDS_SampleInfoSeq& infos, DDS_Long max_samples, DDS_SampleStateMask,
                                 DDS_ViewStateMask, DDS_InstanceStateMask, DDS_Boolean take);
  DDS_ReturnCode_t read_or_take_w_conditionI(Seq& samples, DDS_SampleInfoSeq& infos, DDS_Long max_samples,
                                             DDSReadCondition* condition, DDS_Boolean take);
  DDS_ReturnCode_t read_or_take_instanceI(Seq& samples, DDS_SampleInfoSeq& infos, DDS_Long max_samples,
                                          Selection::Instances which, const DDS_InstanceHandle_t& instance,
                                          DDS_SampleStateMask, DDS_ViewStateMask, DDS_InstanceStateMask,
                                          DDS_Boolean take);
  DDS_ReturnCode_t read_or_take_instance_w_conditionI(Seq& samples, DDS_SampleInfoSeq& infos, DDS_Long max_samples,
                                                      Selection::Instances which, const DDS_InstanceHandle_t& instance,
                                                      DDSReadCondition* condition, DDS_Boolean take);
  DDS_ReturnCode_t access(Seq& samples, DDS_SampleInfoSeq& infos, const Selection& selection);
};

}  // namespace tessivar::types
