// SPDX-License-Identifier: Apache-2.0

// The data reader: life cycle, statuses, conditions and the public class.
#include "tessivar/platform/reader.h"

#include "tessivar/platform/detail/callback.h"
#include "tessivar/platform/detail/log.h"
#include "tessivar/platform/participant/condition_impl.h"
#include "tessivar/platform/participant/participant_impl.h"
#include "tessivar/platform/participant/status_counts.h"
#include "tessivar/platform/participant/topic_impl.h"
#include "tessivar/platform/reader/reader_impl.h"
#include "tessivar/platform/system/guarded.h"
#include "tessivar/platform/values/sequence_fill.h"

#include <algorithm>
#include <chrono>
#include <string>

using tessivar::platform::CompiledFilter;
using tessivar::platform::EngineParticipant;
using tessivar::platform::get_status;
using tessivar::platform::guarded;
using tessivar::platform::Loans;
using tessivar::platform::log;
using tessivar::platform::log_joined;
using tessivar::platform::LogLevel;
using tessivar::platform::ReaderCache;
using tessivar::platform::ReaderSide;
using tessivar::platform::states_of;

namespace {

/// The longest time that wait_for_history() holds `structure` without a break, in nanoseconds.
constexpr std::int64_t longest_wait = 5000000;

}  // namespace

DDSDataReader::Impl::Impl(DDSDomainParticipant& its_participant, DDSTopic* its_topic,
                          DDSContentFilteredTopic* its_filtered_topic, DDSSubscriber* its_subscriber,
                          const DDS_DataReaderQos& its_qos)
    : participant(its_participant),
      topic(its_topic),
      filtered_topic(its_filtered_topic),
      subscriber(its_subscriber),
      type(its_topic ? &its_topic->impl().type : nullptr),
      qos(its_qos),
      counters(type ? std::make_shared<tessivar::platform::EndpointCounters>(
                          false, its_topic->impl().name, its_topic->impl().type_name, type->malformed)
                    : nullptr),
      cache(type ? std::make_unique<ReaderCache>(*type, qos.history, filtered_topic && redelivers_history()) : nullptr),
      loans(type ? std::make_unique<Loans>(*type) : nullptr) {}

DDSDataReader::Impl::~Impl() {
  close();
}

void DDSDataReader::Impl::close() {
  {
    const std::lock_guard lock(structure);
    closing = true;
  }
  structure_changed.notify_all();
  catch_up_thread.join();
  std::unique_ptr<ReaderSide> closed;  // destroyed after the locks are released
  const std::scoped_lock locks(structure, access, status_mutex);
  closed.swap(side);
}

std::unique_ptr<ReaderSide> DDSDataReader::Impl::make_side(std::shared_ptr<CompiledFilter> filter) {
  return std::make_unique<ReaderSide>(*type, *this, std::move(filter), filter_mutex, ++sources, counters);
}

/// Logs a failure of the engine.
DDS_ReturnCode_t DDSDataReader::Impl::open(ReaderSide& opened) {
  EngineParticipant* bus = participant.impl().engine;
  if (!bus) return DDS_RETCODE_PRECONDITION_NOT_MET;
  tessivar::platform::EngineReaderConfig config;
  config.topic = topic->impl().name;
  config.type = type;
  config.qos = qos;
  config.ignore_own_participant = participant.impl().ignores_itself;
  std::string error;
  const DDS_ReturnCode_t result = opened.open(*bus, std::move(config), error);
  if (result != DDS_RETCODE_OK) {
    log_joined(LogLevel::error, "DDSDataReader", {"topic \"", topic->impl().name, "\": ", error});
  }
  return result;
}

DDS_ReturnCode_t DDSDataReader::Impl::enable() {
  {
    const std::lock_guard lock(status_mutex);  // not `structure`: the caller may be a filter that runs under it
    if (side) return DDS_RETCODE_OK;
  }
  if (participant.impl().cannot_enable_entity("DDSDataReader::enable")) return DDS_RETCODE_ILLEGAL_OPERATION;
  DDS_StatusMask changed = 0;
  {
    const std::lock_guard lock(structure);
    if (side) return DDS_RETCODE_OK;
    auto opened = make_side(filtered_topic ? filtered_topic->impl().current() : nullptr);
    cache->set_source(opened->source());
    const DDS_ReturnCode_t result = open(*opened);
    if (result != DDS_RETCODE_OK) return result;
    const bool news = transfer(*opened);
    const std::scoped_lock locks(access, status_mutex);
    side = std::move(opened);
    changed = std::exchange(deferred, 0);
    if (news) changed |= DDS_DATA_AVAILABLE_STATUS;
  }
  report(changed);
  return DDS_RETCODE_OK;
}

bool DDSDataReader::Impl::transfer(ReaderSide& from) {
  const bool news = from.transfer(*cache);
  if (from.is_behind()) behind = true;
  if (news) update_conditions();
  return news;
}

void DDSDataReader::Impl::update_conditions() {
  const std::lock_guard lock(conditions_mutex);
  std::size_t unread = 0;
  tessivar::platform::StateSet states = cache->states(&unread) | left_over;
  if (behind) states |= states_of(DDS_NOT_READ_SAMPLE_STATE, DDS_ANY_VIEW_STATE, DDS_ANY_INSTANCE_STATE);
  counters->waits(unread);
  if (std::exchange(condition_states, states) == states) return;
  for (DDSReadCondition* condition : conditions) {
    tessivar::platform::set_triggered(*condition, (condition->impl().states & states) != 0);
  }
}

// --- the public class ------------------------------------------------------------------------------------------------

void DDSDataReader::ImplDelete::operator()(Impl* impl) const {
  delete impl;
}

DDSDataReader::DDSDataReader(ImplPtr impl) : impl_(std::move(impl)) {
  impl_->self = this;
}

DDSDataReader::~DDSDataReader() {
  delete_contained_entities();
}

DDS_ReturnCode_t DDSDataReader::enable() {
  return impl_->enable();
}

DDS_InstanceHandle_t DDSDataReader::get_instance_handle() const {
  const std::lock_guard lock(impl_->access);
  return impl_->side ? impl_->side->engine().guid() : DDS_HANDLE_NIL;
}

DDSTopicDescription* DDSDataReader::get_topicdescription() const {
  if (impl_->filtered_topic) return impl_->filtered_topic;
  return impl_->topic;
}

DDSSubscriber* DDSDataReader::get_subscriber() const {
  return impl_->subscriber;
}

DDS_ReturnCode_t DDSDataReader::get_qos(DDS_DataReaderQos& qos) const {
  qos = impl_->qos;
  return DDS_RETCODE_OK;
}

DDS_ReturnCode_t DDSDataReader::set_listener(DDSDataReaderListener* listener, DDS_StatusMask mask) {
  impl_->listener.set(listener, mask);
  return DDS_RETCODE_OK;
}

DDSDataReaderListener* DDSDataReader::get_listener() const {
  return impl_->listener.get();
}

DDS_ReturnCode_t DDSDataReader::get_subscription_matched_status(DDS_SubscriptionMatchedStatus& status) {
  return get_status(impl_->status_mutex, impl_->matched, status);
}

DDS_ReturnCode_t DDSDataReader::get_liveliness_changed_status(DDS_LivelinessChangedStatus& status) {
  return get_status(impl_->status_mutex, impl_->liveliness, status);
}

DDS_ReturnCode_t DDSDataReader::get_requested_deadline_missed_status(DDS_RequestedDeadlineMissedStatus& status) {
  return get_status(impl_->status_mutex, impl_->deadline, status);
}

DDS_ReturnCode_t DDSDataReader::get_requested_incompatible_qos_status(DDS_RequestedIncompatibleQosStatus& status) {
  return get_status(impl_->status_mutex, impl_->incompatible, status);
}

DDS_ReturnCode_t DDSDataReader::get_sample_lost_status(DDS_SampleLostStatus& status) {
  return get_status(impl_->status_mutex, impl_->lost, status);
}

DDS_ReturnCode_t DDSDataReader::get_sample_rejected_status(DDS_SampleRejectedStatus& status) {
  return get_status(impl_->status_mutex, impl_->rejected, status);
}

DDS_ReturnCode_t DDSDataReader::get_matched_publications(DDS_InstanceHandleSeq& handles) {
  const std::lock_guard lock(impl_->access);
  if (!impl_->side) return DDS_RETCODE_NOT_ENABLED;
  return tessivar::platform::fill(handles, impl_->side->engine().matched_publications());
}

DDS_ReturnCode_t DDSDataReader::wait_for_historical_data(const DDS_Duration_t& max_wait) {
  if (max_wait.sec < 0) return DDS_RETCODE_BAD_PARAMETER;
  if (tessivar::platform::refused_in_callback("DDSDataReader::wait_for_historical_data")) {
    return DDS_RETCODE_ILLEGAL_OPERATION;
  }
  return impl_->wait_for_history(tessivar::platform::to_nanoseconds(max_wait));
}

DDS_ReturnCode_t DDSDataReader::Impl::wait_for_history(std::int64_t timeout) {
  // Waits in slices, because the side may be replaced in the meantime.
  for (std::int64_t left = timeout;;) {
    std::unique_lock lock(structure);
    if (!side || closing) return DDS_RETCODE_NOT_ENABLED;
    if (qos.durability.kind == DDS_VOLATILE_DURABILITY_QOS) return DDS_RETCODE_OK;
    const std::int64_t slice = std::min(left, longest_wait);
    DDS_ReturnCode_t result = DDS_RETCODE_TIMEOUT;
    if (catching_up) {
      structure_changed.wait_for(lock, std::chrono::nanoseconds(slice), [this] { return !catching_up || closing; });
    } else {
      result = side->engine().wait_for_historical_data(slice);
    }
    if (result == DDS_RETCODE_OK && transfer(*side)) {  // the engine may not have announced its last samples yet
      lock.unlock();
      report(DDS_DATA_AVAILABLE_STATUS);
    }
    if (left != tessivar::platform::never) left -= slice;
    if (result != DDS_RETCODE_TIMEOUT || left == 0) return result;
  }
}

DDSReadCondition* DDSDataReader::create_readcondition(DDS_SampleStateMask sample_states, DDS_ViewStateMask view_states,
                                                      DDS_InstanceStateMask instance_states) {
  if (!impl_->type) {
    log(LogLevel::error, "DDSDataReader::create_readcondition", "a built-in reader has no conditions");
    return nullptr;
  }
  if (tessivar::platform::refused_in_filter("DDSDataReader::create_readcondition")) return nullptr;
  return guarded("DDSDataReader::create_readcondition", static_cast<DDSReadCondition*>(nullptr),
                 [&] { return impl_->create_condition(sample_states, view_states, instance_states); });
}

DDSReadCondition* DDSDataReader::Impl::create_condition(DDS_SampleStateMask sample_states,
                                                        DDS_ViewStateMask view_states,
                                                        DDS_InstanceStateMask instance_states) {
  auto condition = std::make_unique<DDSCondition::Impl>();
  condition->reader = self;
  condition->sample_states = sample_states;
  condition->view_states = view_states;
  condition->instance_states = instance_states;
  condition->states = states_of(sample_states, view_states, instance_states);
  if (condition->states == 0) {
    log(LogLevel::error, "DDSDataReader::create_readcondition",
        std::string("topic \"") + self->get_topicdescription()->get_name() + "\": the states select nothing");
    return nullptr;
  }
  const std::lock_guard lock(conditions_mutex);
  condition->triggered = (condition->states & condition_states) != 0;
  conditions.reserve(conditions.size() + 1);
  return conditions.emplace_back(new DDSReadCondition(std::move(condition)));
}

DDS_ReturnCode_t DDSDataReader::delete_readcondition(DDSReadCondition* condition) {
  if (!condition) return DDS_RETCODE_BAD_PARAMETER;
  const std::lock_guard lock(impl_->conditions_mutex);
  if (std::erase(impl_->conditions, condition) == 0) return DDS_RETCODE_PRECONDITION_NOT_MET;
  delete condition;
  return DDS_RETCODE_OK;
}

DDS_ReturnCode_t DDSDataReader::delete_contained_entities() {
  const std::lock_guard lock(impl_->conditions_mutex);
  for (DDSReadCondition* condition : impl_->conditions) delete condition;
  impl_->conditions.clear();
  return DDS_RETCODE_OK;
}

std::shared_ptr<const tessivar::platform::EndpointCounters> DDSDataReader::counters() const {
  return impl_->counters;
}

const char* DDSDataReader::get_type_name() const {
  return impl_->type ? impl_->topic->get_type_name() : "DDS_ParticipantBuiltinTopicData";
}

DDS_ReturnCode_t DDSDataReader::read_or_take_untypedI(DDS_SampleBufferI& samples, DDS_SampleInfoSeq& infos,
                                                      const DDS_ReadSelectionI& selection) {
  if (!impl_->type) return DDS_RETCODE_ILLEGAL_OPERATION;  // a built-in reader has operations of its own
  return guarded("DDSDataReader", DDS_RETCODE_OUT_OF_RESOURCES,
                 [&] { return impl_->read_or_take(samples, infos, selection); });
}

DDS_ReturnCode_t DDSDataReader::read_or_take_next_sample_untypedI(void* sample, DDS_SampleInfo& info,
                                                                  DDS_Boolean take) {
  if (!impl_->type) return DDS_RETCODE_ILLEGAL_OPERATION;
  return guarded("DDSDataReader", DDS_RETCODE_OUT_OF_RESOURCES,
                 [&] { return impl_->read_or_take_next(sample, info, take != DDS_BOOLEAN_FALSE); });
}

DDS_ReturnCode_t DDSDataReader::return_loan_untypedI(const void* lent, DDS_Long, DDS_SampleInfoSeq& infos) {
  const DDS_ReturnCode_t result = impl_->return_loan(lent);
  if (result != DDS_RETCODE_OK) return result;
  if (!infos.has_ownership()) infos.unloan();
  return DDS_RETCODE_OK;
}

DDS_ReturnCode_t DDSDataReader::get_key_value_untypedI(void* key_holder, const DDS_InstanceHandle_t& handle) {
  if (!impl_->type) return DDS_RETCODE_ILLEGAL_OPERATION;
  return impl_->copy_key(handle, key_holder);
}

DDS_InstanceHandle_t DDSDataReader::lookup_instance_untypedI(const void* key_holder) {
  return impl_->type ? impl_->lookup_instance(key_holder) : DDS_HANDLE_NIL;
}

DDS_Boolean DDSDataReader::is_alive_untypedI(const DDS_InstanceHandle_t& handle) const {
  return handle.isValid && impl_->cache &&
         impl_->cache->is_alive(tessivar::platform::key_hash_of(handle.keyHash.value));
}
