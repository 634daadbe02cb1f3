#include "tessivar/platform/reader_side.h"

#include "tessivar/platform/log.h"

namespace tessivar::platform {

ReaderSide::ReaderSide(const PRESTypePlugin& type, ReaderSideEvents& events, std::shared_ptr<CompiledFilter> filter)
    : type_(type),
      keyed_(type.get_key_kind() != PRES_TYPEPLUGIN_NO_KEY),
      events_(events),
      instances_(type),
      filter_(std::move(filter)) {}

ReaderSide::~ReaderSide() {
  engine_.reset();
  if (scratch_) type_.destroy_sample(scratch_);
}

DDS_ReturnCode_t ReaderSide::open(EngineParticipant& participant, EngineReaderConfig config, std::string& error) {
  if (filter_ && !(scratch_ = type_.create_sample())) {
    error = "no memory for the filter's sample";
    return DDS_RETCODE_OUT_OF_RESOURCES;
  }
  config.filter = this;
  return participant.create_reader(config, this, engine_, error);
}

void ReaderSide::set_filter(std::shared_ptr<CompiledFilter> filter) {
  const std::lock_guard lock(filter_mutex_);
  filter_.swap(filter);
}

DDS_SubscriptionMatchedStatus ReaderSide::matched() const {
  const std::lock_guard lock(writers_mutex_);
  return matched_;
}

DDS_LivelinessChangedStatus ReaderSide::liveliness() const {
  const std::lock_guard lock(writers_mutex_);
  return liveliness_;
}

void ReaderSide::await_writers(DDS_Long matched, DDS_Long alive, std::chrono::milliseconds at_most) {
  std::unique_lock lock(writers_mutex_);
  writers_changed_.wait_for(lock, at_most,
                            [&] { return matched_.current_count >= matched && liveliness_.alive_count >= alive; });
}

bool ReaderSide::accepts(const EncodedSample& sample, EngineHandle instance, const DDS_FilterSampleInfo& info) {
  if (scratch_) {
    const std::lock_guard lock(filter_mutex_);
    if (!type_.decode(scratch_, sample.bytes, sample.size)) {
      log(LogLevel::error, "DDSDataReader", "a received sample could not be decoded for its filter and was dropped");
      return false;
    }
    if (!filter_->accepts(scratch_, info)) return false;
  }
  has_accepted_.store(true, std::memory_order_relaxed);
  if (keyed_) instances_.accepted(sample, instance);
  return true;
}

void ReaderSide::data_available() {
  events_.data_available(*this);
}

void ReaderSide::subscription_matched(const DDS_SubscriptionMatchedStatus& status) {
  {
    const std::lock_guard lock(writers_mutex_);
    matched_ = status;
  }
  writers_changed_.notify_all();
  events_.subscription_matched(*this, status);
}

void ReaderSide::liveliness_changed(const DDS_LivelinessChangedStatus& status) {
  {
    const std::lock_guard lock(writers_mutex_);
    liveliness_ = status;
  }
  writers_changed_.notify_all();
  events_.liveliness_changed(*this, status);
}

void ReaderSide::requested_deadline_missed(const DDS_RequestedDeadlineMissedStatus& status) {
  events_.requested_deadline_missed(*this, status);
}

void ReaderSide::requested_incompatible_qos(const DDS_RequestedIncompatibleQosStatus& status) {
  events_.requested_incompatible_qos(*this, status);
}

void ReaderSide::sample_lost(const DDS_SampleLostStatus& status) {
  // With a filter the engine counts a refused sample of a known instance as lost.
  if (!scratch_) events_.sample_lost(*this, status);
}

void ReaderSide::sample_rejected(const DDS_SampleRejectedStatus& status) {
  events_.sample_rejected(*this, status);
}

}  // namespace tessivar::platform
