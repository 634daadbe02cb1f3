// SPDX-License-Identifier: Apache-2.0

// The data reader: life cycle and the public class.
#include "tessivar/platform/reader.h"

#include "tessivar/platform/detail/callback.h"
#include "tessivar/platform/detail/log.h"
#include "tessivar/platform/participant/condition_impl.h"
#include "tessivar/platform/reader/reader_impl.h"
#include "tessivar/platform/system/guarded.h"

using tessivar::platform::guarded;
using tessivar::platform::log;
using tessivar::platform::LogLevel;
using tessivar::platform::ReaderSamples;
using tessivar::platform::refused_in_callback;
using tessivar::platform::refused_in_filter;

DDSDataReader::Impl::Impl(const tessivar::platform::ReaderDescription& reader)
    : description(reader),
      statuses(description.counters),
      samples(description.type ? std::make_unique<ReaderSamples>(description, statuses, *this) : nullptr) {}

DDSDataReader::Impl::~Impl() {
  close();
}

DDS_ReturnCode_t DDSDataReader::Impl::enable() {
  return samples->subscriptions.open();
}

void DDSDataReader::Impl::close() {
  if (samples) samples->subscriptions.close();
}

bool DDSDataReader::Impl::in_use() const {
  return samples && (!samples->conditions.empty() || samples->access.any_loan());
}

DDSReadCondition* DDSDataReader::Impl::create_condition(const tessivar::platform::ReadConditionKind& kind) {
  constexpr const char* operation = "DDSDataReader::create_readcondition";
  if (!samples) {
    log(LogLevel::error, operation, "a built-in reader has no conditions");
    return nullptr;
  }
  if (refused_in_filter(operation)) return nullptr;
  return guarded(operation, static_cast<DDSReadCondition*>(nullptr),
                 [&] { return samples->conditions.create(*description.self, kind); });
}

// --- the public class ------------------------------------------------------------------------------------------------

void DDSDataReader::ImplDelete::operator()(Impl* impl) const {
  delete impl;
}

DDSDataReader::DDSDataReader(ImplPtr impl) : impl_(std::move(impl)) {
  impl_->description.self = this;
}

DDSDataReader::~DDSDataReader() {
  delete_contained_entities();
}

DDS_ReturnCode_t DDSDataReader::enable() {
  return guarded("DDSDataReader::enable", DDS_RETCODE_OUT_OF_RESOURCES, [&] { return impl_->enable(); });
}

DDS_InstanceHandle_t DDSDataReader::get_instance_handle() const {
  return impl_->samples ? impl_->samples->access.guid() : DDS_HANDLE_NIL;
}

DDSTopicDescription* DDSDataReader::get_topicdescription() const {
  if (impl_->description.filtered_topic) return impl_->description.filtered_topic;
  return impl_->description.topic;
}

DDSSubscriber* DDSDataReader::get_subscriber() const {
  return impl_->description.subscriber;
}

DDS_ReturnCode_t DDSDataReader::get_qos(DDS_DataReaderQos& qos) const {
  qos = impl_->description.qos;
  return DDS_RETCODE_OK;
}

DDS_ReturnCode_t DDSDataReader::set_listener(DDSDataReaderListener* listener, DDS_StatusMask mask) {
  if (refused_in_filter("DDSDataReader::set_listener")) return DDS_RETCODE_ILLEGAL_OPERATION;
  impl_->listener.set(listener, mask);
  return DDS_RETCODE_OK;
}

DDSDataReaderListener* DDSDataReader::get_listener() const {
  return impl_->listener.get();
}

DDS_ReturnCode_t DDSDataReader::get_subscription_matched_status(DDS_SubscriptionMatchedStatus& status) {
  status = impl_->statuses.read<DDS_SubscriptionMatchedStatus>();
  return DDS_RETCODE_OK;
}

DDS_ReturnCode_t DDSDataReader::get_liveliness_changed_status(DDS_LivelinessChangedStatus& status) {
  status = impl_->statuses.read<DDS_LivelinessChangedStatus>();
  return DDS_RETCODE_OK;
}

DDS_ReturnCode_t DDSDataReader::get_requested_deadline_missed_status(DDS_RequestedDeadlineMissedStatus& status) {
  status = impl_->statuses.read<DDS_RequestedDeadlineMissedStatus>();
  return DDS_RETCODE_OK;
}

DDS_ReturnCode_t DDSDataReader::get_requested_incompatible_qos_status(DDS_RequestedIncompatibleQosStatus& status) {
  status = impl_->statuses.read<DDS_RequestedIncompatibleQosStatus>();
  return DDS_RETCODE_OK;
}

DDS_ReturnCode_t DDSDataReader::get_sample_lost_status(DDS_SampleLostStatus& status) {
  status = impl_->statuses.read<DDS_SampleLostStatus>();
  return DDS_RETCODE_OK;
}

DDS_ReturnCode_t DDSDataReader::get_sample_rejected_status(DDS_SampleRejectedStatus& status) {
  status = impl_->statuses.read<DDS_SampleRejectedStatus>();
  return DDS_RETCODE_OK;
}

DDS_ReturnCode_t DDSDataReader::get_matched_publications(DDS_InstanceHandleSeq& handles) {
  if (!impl_->samples) return DDS_RETCODE_NOT_ENABLED;
  return impl_->samples->access.matched_publications(handles);
}

DDS_ReturnCode_t DDSDataReader::wait_for_historical_data(const DDS_Duration_t& max_wait) {
  if (max_wait.sec < 0) return DDS_RETCODE_BAD_PARAMETER;
  if (refused_in_callback("DDSDataReader::wait_for_historical_data")) return DDS_RETCODE_ILLEGAL_OPERATION;
  if (!impl_->samples) return DDS_RETCODE_NOT_ENABLED;
  return impl_->samples->subscriptions.wait_for_history(tessivar::platform::to_nanoseconds(max_wait));
}

DDSReadCondition* DDSDataReader::create_readcondition(DDS_SampleStateMask sample_states, DDS_ViewStateMask view_states,
                                                      DDS_InstanceStateMask instance_states) {
  return impl_->create_condition({sample_states, view_states, instance_states});
}

DDSReadCondition* DDSDataReader::create_change_conditionI(DDS_SampleStateMask sample_states,
                                                          DDS_ViewStateMask view_states,
                                                          DDS_InstanceStateMask instance_states) {
  return impl_->create_condition({sample_states, view_states, instance_states, true});
}

DDS_UnsignedLong DDSDataReader::change_readsI() const {
  return impl_->samples ? impl_->samples->access.change_reads() : 0;
}

DDS_ReturnCode_t DDSDataReader::delete_readcondition(DDSReadCondition* condition) {
  if (!condition) return DDS_RETCODE_BAD_PARAMETER;
  const bool deleted = impl_->samples && impl_->samples->conditions.remove(condition);
  return deleted ? DDS_RETCODE_OK : DDS_RETCODE_PRECONDITION_NOT_MET;
}

DDS_ReturnCode_t DDSDataReader::delete_contained_entities() {
  if (impl_->samples) impl_->samples->conditions.clear();
  return DDS_RETCODE_OK;
}

std::shared_ptr<const tessivar::platform::EndpointCounters> DDSDataReader::counters() const {
  return impl_->description.counters;
}

const char* DDSDataReader::get_type_name() const {
  return impl_->samples ? impl_->description.topic->get_type_name() : "DDS_ParticipantBuiltinTopicData";
}

DDS_ReturnCode_t DDSDataReader::read_or_take_untypedI(DDS_SampleBufferI& samples, DDS_SampleInfoSeq& infos,
                                                      const DDS_ReadSelectionI& selection) {
  if (!impl_->samples) return DDS_RETCODE_ILLEGAL_OPERATION;  // a built-in reader has operations of its own
  return guarded("DDSDataReader", DDS_RETCODE_OUT_OF_RESOURCES,
                 [&] { return impl_->samples->access.read_or_take(samples, infos, selection); });
}

DDS_ReturnCode_t DDSDataReader::read_or_take_next_sample_untypedI(void* sample, DDS_SampleInfo& info,
                                                                  DDS_Boolean take) {
  if (!impl_->samples) return DDS_RETCODE_ILLEGAL_OPERATION;
  return guarded("DDSDataReader", DDS_RETCODE_OUT_OF_RESOURCES,
                 [&] { return impl_->samples->access.read_or_take_next(sample, info, take != DDS_BOOLEAN_FALSE); });
}

DDS_ReturnCode_t DDSDataReader::return_loan_untypedI(const void* lent, DDS_Long, DDS_SampleInfoSeq& infos) {
  if (!impl_->samples) return DDS_RETCODE_PRECONDITION_NOT_MET;
  const DDS_ReturnCode_t result = impl_->samples->access.return_loan(lent);
  if (result != DDS_RETCODE_OK) return result;
  if (!infos.has_ownership()) infos.unloan();
  return DDS_RETCODE_OK;
}

DDS_ReturnCode_t DDSDataReader::get_key_value_untypedI(void* key_holder, const DDS_InstanceHandle_t& handle) {
  if (!impl_->samples) return DDS_RETCODE_ILLEGAL_OPERATION;
  return impl_->samples->access.copy_key(handle, key_holder);
}

DDS_InstanceHandle_t DDSDataReader::lookup_instance_untypedI(const void* key_holder) {
  return impl_->samples ? impl_->samples->access.lookup_instance(key_holder) : DDS_HANDLE_NIL;
}

DDS_Boolean DDSDataReader::is_alive_untypedI(const DDS_InstanceHandle_t& handle) const {
  return handle.isValid && impl_->samples &&
         impl_->samples->cache.is_alive(tessivar::platform::key_hash_of(handle.keyHash.value));
}
