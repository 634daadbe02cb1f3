#include "tessivar/platform/reader.h"

#include "tessivar/platform/condition_impl.h"
#include "tessivar/platform/log.h"
#include "tessivar/platform/participant_impl.h"
#include "tessivar/platform/reader_impl.h"
#include "tessivar/platform/sequence_fill.h"
#include "tessivar/platform/status_counts.h"
#include "tessivar/platform/topic_impl.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <string>

using tessivar::platform::CompiledFilter;
using tessivar::platform::EngineCondition;
using tessivar::platform::EngineParticipant;
using tessivar::platform::follow;
using tessivar::platform::get_status;
using tessivar::platform::Loans;
using tessivar::platform::log;
using tessivar::platform::LogLevel;
using tessivar::platform::ReaderSide;

namespace {

/// How long a new engine side may take to know the writers that the old one knew. They match within moments.
constexpr std::chrono::milliseconds matching_time(100);

/// How long `structure` is kept from others at a time, nanoseconds.
constexpr std::int64_t longest_wait = 50000000;

/// Null, with a log line, when the engine refuses.
std::unique_ptr<EngineCondition> make_condition(ReaderSide& side, const DDSCondition::Impl& condition) {
  auto made = side.engine().create_condition(condition.sample_states, condition.view_states, condition.instance_states);
  if (!made) {
    log(LogLevel::error, "DDSReadCondition",
        std::string("topic \"") + condition.reader->get_topicdescription()->get_name() +
            "\": the engine has no condition left, or the states select nothing");
  }
  return made;
}

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
      loans(type ? std::make_unique<Loans>(*type) : nullptr) {}

DDSDataReader::Impl::~Impl() {
  close();
}

void DDSDataReader::Impl::close() {
  std::unique_ptr<ReaderSide> closing[2];  // they go when no lock is held
  const std::scoped_lock locks(structure, access, status_mutex);
  closing[0].swap(prepared);
  closing[1].swap(side);
}

std::unique_ptr<ReaderSide> DDSDataReader::Impl::open_side(std::shared_ptr<CompiledFilter> filter,
                                                           DDS_ReturnCode_t& result) {
  EngineParticipant* bus = participant.impl().engine;
  if (!bus) {
    result = DDS_RETCODE_PRECONDITION_NOT_MET;
    return nullptr;
  }
  tessivar::platform::EngineReaderConfig config;
  config.topic = topic->impl().name;
  config.type = type;
  config.qos = qos;
  config.ignore_own_participant = participant.impl().ignores_itself;
  auto opened = std::make_unique<ReaderSide>(*type, *this, std::move(filter));
  std::string error;
  result = opened->open(*bus, std::move(config), error);
  if (result == DDS_RETCODE_OK) return opened;
  log(LogLevel::error, "DDSDataReader::enable", "topic \"" + topic->impl().name + "\": " + error);
  return nullptr;
}

DDS_ReturnCode_t DDSDataReader::Impl::enable() {
  if (!side && participant.impl().cannot_enable_entity("DDSDataReader::enable")) return DDS_RETCODE_ILLEGAL_OPERATION;
  DDS_StatusMask changed = 0;
  {
    const std::lock_guard lock(structure);
    if (side) return DDS_RETCODE_OK;
    DDS_ReturnCode_t result = DDS_RETCODE_OK;
    auto opened = open_side(filtered_topic ? filtered_topic->impl().current() : nullptr, result);
    if (!opened) return result;
    {
      const std::scoped_lock locks(access, status_mutex);
      side = std::move(opened);
      changed = std::exchange(deferred, 0);
    }
    for (DDSReadCondition* condition : conditions) {
      tessivar::platform::replace_engine_condition(*condition, make_condition(*side, condition->impl()));
    }
  }
  report(changed);
  return DDS_RETCODE_OK;
}

// --- another filter --------------------------------------------------------------------------------------------------

bool DDSDataReader::Impl::redelivers_history() const {
  constexpr const char* property = "dds.data_reader.state.filter_redundant_samples";
  const DDS_Property_t* redundant = DDSPropertyQosPolicyHelper::lookup_property(qos.property, property);
  return qos.durability.kind == DDS_TRANSIENT_LOCAL_DURABILITY_QOS && redundant && redundant->value &&
         std::strcmp(redundant->value, "0") == 0;
}

DDS_ReturnCode_t DDSDataReader::Impl::prepare_filter(const std::shared_ptr<CompiledFilter>& filter) {
  const std::lock_guard lock(structure);
  if (!side || !redelivers_history()) return DDS_RETCODE_OK;
  if (tessivar::platform::refused_in_callback("DDSContentFilteredTopic::set_expression_parameters")) {
    return DDS_RETCODE_ILLEGAL_OPERATION;
  }
  DDS_ReturnCode_t result = DDS_RETCODE_OK;
  prepared = open_side(filter, result);
  return result;
}

void DDSDataReader::Impl::abandon_filter() {
  std::unique_ptr<ReaderSide> abandoned;
  const std::lock_guard lock(structure);
  abandoned.swap(prepared);
}

void DDSDataReader::Impl::commit_filter(const std::shared_ptr<CompiledFilter>& filter) {
  std::unique_ptr<ReaderSide> retired;  // goes when no lock is held: its last callbacks may be waiting for one
  DDS_StatusMask changed = 0;
  {
    const std::lock_guard lock(structure);
    if (!prepared) {
      if (side) side->set_filter(filter);
      return;
    }
    prepared->await_writers(side->matched().current_count, side->liveliness().alive_count, matching_time);
    std::vector<std::unique_ptr<EngineCondition>> engine_conditions;
    for (DDSReadCondition* condition : conditions) {
      engine_conditions.push_back(make_condition(*prepared, condition->impl()));
    }
    {
      const std::lock_guard access_lock(access);
      {
        const std::lock_guard status_lock(status_mutex);
        retired = std::exchange(side, std::move(prepared));
        changed = follow_new_side();
      }
      keep_departed(*retired);
      if (!departed.empty()) changed |= DDS_DATA_AVAILABLE_STATUS;
    }
    for (std::size_t i = 0; i < conditions.size(); ++i) {
      tessivar::platform::replace_engine_condition(*conditions[i], std::move(engine_conditions[i]));
    }
  }
  report(changed);
}

/// The figures go on from where they are: what the new side counts beyond the writers known already is new.
DDS_StatusMask DDSDataReader::Impl::follow_new_side() {
  DDS_StatusMask changed = std::exchange(deferred, 0);
  DDS_SubscriptionMatchedStatus now = side->matched();
  earlier.matched = matched.total_count - now.total_count + std::max(0, now.current_count - matched.current_count);
  now.total_count += earlier.matched;
  if (follow(matched, now)) changed |= DDS_SUBSCRIPTION_MATCHED_STATUS;
  if (follow(liveliness, side->liveliness())) changed |= DDS_LIVELINESS_CHANGED_STATUS;
  earlier.deadline = deadline.total_count;
  earlier.lost = lost.total_count;
  earlier.rejected = rejected.total_count;
  return changed;
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
  // In slices, since the side may be replaced meanwhile.
  for (std::int64_t left = tessivar::platform::to_nanoseconds(max_wait);;) {
    const std::lock_guard lock(impl_->structure);
    if (!impl_->side) return DDS_RETCODE_NOT_ENABLED;
    if (impl_->qos.durability.kind == DDS_VOLATILE_DURABILITY_QOS) return DDS_RETCODE_OK;
    const std::int64_t slice = std::min(left, longest_wait);
    const DDS_ReturnCode_t result = impl_->side->engine().wait_for_historical_data(slice);
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
  auto condition = std::make_unique<DDSCondition::Impl>();
  condition->reader = this;
  condition->sample_states = sample_states;
  condition->view_states = view_states;
  condition->instance_states = instance_states;
  const std::lock_guard lock(impl_->structure);
  if (impl_->side && !(condition->engine = make_condition(*impl_->side, *condition))) return nullptr;
  const std::lock_guard access_lock(impl_->access);
  DDSReadCondition* created = impl_->conditions.emplace_back(new DDSReadCondition(std::move(condition)));
  impl_->update_pending();
  return created;
}

DDS_ReturnCode_t DDSDataReader::delete_readcondition(DDSReadCondition* condition) {
  if (!condition) return DDS_RETCODE_BAD_PARAMETER;
  const std::lock_guard lock(impl_->structure);
  const auto own = std::find(impl_->conditions.begin(), impl_->conditions.end(), condition);
  if (own == impl_->conditions.end()) return DDS_RETCODE_PRECONDITION_NOT_MET;
  {
    const std::lock_guard access_lock(impl_->access);
    impl_->conditions.erase(own);
  }
  delete condition;
  return DDS_RETCODE_OK;
}

DDS_ReturnCode_t DDSDataReader::delete_contained_entities() {
  const std::scoped_lock locks(impl_->structure, impl_->access);
  for (DDSReadCondition* condition : impl_->conditions) delete condition;
  impl_->conditions.clear();
  return DDS_RETCODE_OK;
}

const char* DDSDataReader::get_type_name() const {
  return impl_->type ? impl_->type->type_name : "DDS_ParticipantBuiltinTopicData";
}

DDS_ReturnCode_t DDSDataReader::read_or_take_untypedI(DDS_SampleBufferI& samples, DDS_SampleInfoSeq& infos,
                                                      const DDS_ReadSelectionI& selection) {
  if (!impl_->type) return DDS_RETCODE_ILLEGAL_OPERATION;  // a built-in reader has operations of its own
  return impl_->read_or_take(samples, infos, selection);
}

DDS_ReturnCode_t DDSDataReader::read_or_take_next_sample_untypedI(void* sample, DDS_SampleInfo& info,
                                                                  DDS_Boolean take) {
  if (!impl_->type) return DDS_RETCODE_ILLEGAL_OPERATION;
  return impl_->read_or_take_next(sample, info, take != DDS_BOOLEAN_FALSE);
}

DDS_ReturnCode_t DDSDataReader::return_loan_untypedI(void** lent_samples, DDS_Long, DDS_SampleInfoSeq& infos) {
  if (!impl_->loans || !impl_->loans->take_back(lent_samples)) return DDS_RETCODE_PRECONDITION_NOT_MET;
  if (!infos.has_ownership()) infos.unloan();
  return DDS_RETCODE_OK;
}

DDS_ReturnCode_t DDSDataReader::get_key_value_untypedI(void* key_holder, const DDS_InstanceHandle_t& handle) {
  if (!impl_->type) return DDS_RETCODE_ILLEGAL_OPERATION;
  return impl_->copy_key(handle, key_holder) ? DDS_RETCODE_OK : DDS_RETCODE_BAD_PARAMETER;
}

DDS_InstanceHandle_t DDSDataReader::lookup_instance_untypedI(const void* key_holder) {
  return impl_->type ? impl_->lookup_instance(key_holder) : DDS_HANDLE_NIL;
}
