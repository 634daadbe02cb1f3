// SPDX-License-Identifier: Apache-2.0

// Typed readers, writers and type supports: the operations that every topic type has.
//
// These classes are thin. Each operation passes its sample, untyped, to the reader or writer of the platform. The rules
// of platform/reader.h and platform/writer.h hold for threads, blocking and results. `T` is a topic type. The classes
// of a type (`CommandDataReader` …) derive from these templates and add nothing.
#pragma once

#include "tessivar/platform/participant.h"
#include "tessivar/platform/reader.h"
#include "tessivar/platform/writer.h"

namespace tessivar::types {

/// Static functions that register a type with a participant, and that create and free samples of the type.
template <class T>
class TESSIVAR_API TypedTypeSupport : public DDSTypeSupport {
 public:
  /// Registers the type under `type_name`; the default is the name of the type. Discovery announces topics with this
  /// name. Readers and writers match only if the names are equal. Returns BAD_PARAMETER if an argument is null,
  /// OUT_OF_RESOURCES if memory is short. Registering the type again returns OK.
  static DDS_ReturnCode_t register_type(DDSDomainParticipant* participant, const char* type_name = get_type_name());
  /// Returns BAD_PARAMETER if the type is not registered, PRECONDITION_NOT_MET while a topic uses it. Both log one
  /// line.
  static DDS_ReturnCode_t unregister_type(DDSDomainParticipant* participant, const char* type_name = get_type_name());
  /// Returns the qualified name, for example "Tessivar::Command".
  static const char* get_type_name();
  static const DDS_TypeCode* get_typecode();

  /// The caller owns the sample. Returns null if memory is short.
  static T* create_data();
  static T* create_data_ex(DDS_Boolean allocate_pointers);
  static DDS_ReturnCode_t delete_data(T* sample);
  static DDS_ReturnCode_t delete_data_ex(T* sample, DDS_Boolean delete_pointers);
  /// Makes a deep copy. Returns ERROR if a string or a sequence of `source` is over its bound.
  static DDS_ReturnCode_t copy_data(T* destination, const T* source);
  static DDS_ReturnCode_t initialize_data(T* sample);
  static DDS_ReturnCode_t initialize_data_ex(T* sample, DDS_Boolean allocate_pointers, DDS_Boolean allocate_memory);
  static DDS_ReturnCode_t finalize_data(T* sample);
  static DDS_ReturnCode_t finalize_data_ex(T* sample, DDS_Boolean delete_pointers);
  /// Prints to standard output.
  static void print_data(const T* sample);

  /// `length` is the size of `buffer` in octets; on return it is the length of the encoding. If `buffer` is null, only
  /// the length is returned.
  static DDS_ReturnCode_t serialize_data_to_cdr_buffer(char* buffer, unsigned int& length, const T* sample);
  /// `sample` must be initialised.
  static DDS_ReturnCode_t deserialize_data_from_cdr_buffer(T* sample, const char* buffer, unsigned int length);
  /// `size` is the size of `text` in octets; on return it is the size that the text needs, terminator included. If
  /// `text` is null, only the size is returned. Returns OUT_OF_RESOURCES if `text` is too small.
  static DDS_ReturnCode_t data_to_string(const T* sample, char* text, DDS_UnsignedLong& size);

  // The platform calls these functions to create and destroy readers and writers of this type.
  DDSDataReader* create_datareaderI(DDSDataReader::ImplPtr impl) override;
  void destroy_datareaderI(DDSDataReader* reader) override;
  DDSDataWriter* create_datawriterI(DDSDataWriter::ImplPtr impl) override;
  void destroy_datawriterI(DDSDataWriter* writer) override;
  /// Does nothing: the type keeps nothing that has to be freed.
  static void finalize() {}
};

template <class T>
class TESSIVAR_API TypedDataWriter : public DDSDataWriter {
 public:
  /// Returns null and logs one line if the writer is null or has another type.
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
  /// Fills the key members of `key_holder`, which must be initialised.
  DDS_ReturnCode_t get_key_value(T& key_holder, const DDS_InstanceHandle_t& handle);
  DDS_InstanceHandle_t lookup_instance(const T& key_holder);

 protected:
  explicit TypedDataWriter(ImplPtr impl) : DDSDataWriter(std::move(impl)) {}

 private:
  /// After a success, sets the instance handle in `params` if the caller left it unset.
  DDS_ReturnCode_t with_handle(DDS_ReturnCode_t result, const T& sample, DDS_WriteParams_t& params);
};

/// Reads and takes samples. Each read and take fills `samples` and `infos` in the same way. If both sequences are
/// empty, the reader lends its own samples; the application returns them with return_loan. If both sequences own
/// buffers, the reader copies the samples into these buffers.
template <class T>
class TESSIVAR_API TypedDataReader : public DDSDataReader {
 public:
  typedef typename T::Seq Seq;

  /// Returns null and logs one line if the reader is null or has another type.
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
  /// Returns OK if there is no loan to return. Returns PRECONDITION_NOT_MET if this reader did not lend the sequences.
  DDS_ReturnCode_t return_loan(Seq& samples, DDS_SampleInfoSeq& infos);
  /// Fills the key members of `key_holder`, which must be initialised.
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
