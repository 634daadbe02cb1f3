#include "tessivar/platform/reader/reader_side.h"

#include "tessivar/platform/detail/log.h"

#include <algorithm>

namespace tessivar::platform {

namespace {

constexpr DDS_Long transferred_at_once = 1024;

/// The side whose filter refused the last sample that this thread received.
thread_local const ReaderSide* refused_by = nullptr;

}  // namespace

ReaderSide::ReaderSide(const PRESTypePlugin& type, ReaderSideEvents& events, std::shared_ptr<CompiledFilter> filter,
                       ReaderCache::Source source, std::shared_ptr<EndpointCounters> counters)
    : type_(type), events_(events), source_(source), counters_(std::move(counters)), filter_(std::move(filter)) {
  if (filter_) scratch_ = type_.create_sample();
}

ReaderSide::~ReaderSide() {
  {
    const std::lock_guard lock(transfer_mutex_);  // callbacks until its end find nothing to transfer
    open_ = false;
  }
  engine_.reset();
  if (scratch_) type_.destroy_sample(scratch_);
}

DDS_ReturnCode_t ReaderSide::open(EngineParticipant& participant, EngineReaderConfig config, std::string& error) {
  {
    const std::lock_guard lock(filter_mutex_);
    if (filter_ && !scratch_) {
      error = "no memory for the filter's sample";
      return DDS_RETCODE_OUT_OF_RESOURCES;
    }
  }
  config.filter = this;
  const DDS_ReturnCode_t result = participant.create_reader(config, this, engine_, error);
  const std::lock_guard lock(transfer_mutex_);
  open_ = result == DDS_RETCODE_OK;
  return result;
}

bool ReaderSide::transfer(ReaderCache& cache) {
  ReaderCache::Change change;
  {
    const std::lock_guard lock(transfer_mutex_);
    if (!open_) return false;  // what has come until now is transferred when it is open
    EngineSelection everything;
    everything.take = true;
    while (engine_->access(everything, transferred_at_once, slots_) == DDS_RETCODE_OK) {
      const bool more = slots_.size() == static_cast<std::size_t>(transferred_at_once);
      const auto samples =
          std::count_if(slots_.begin(), slots_.end(), [](const EngineSlot& slot) { return slot.info.valid_data; });
      const ReaderCache::Change inserted = cache.insert(source_, slots_);
      if (samples > 0) counters_->received(static_cast<std::uint64_t>(samples));
      change.news = change.news || inserted.news;
      change.lost += inserted.lost;
      slots_.clear();
      if (!more) break;
    }
  }
  if (change.lost > 0) {
    counters_->lost(static_cast<std::uint64_t>(change.lost));
    log(LogLevel::error, "DDSDataReader", "no memory for received samples: " + std::to_string(change.lost) + " lost");
  }
  return change.news;
}

void ReaderSide::set_filter(std::shared_ptr<CompiledFilter> filter) {
  const std::lock_guard lock(filter_mutex_);
  filter_.swap(filter);
}

void ReaderSide::narrow(std::shared_ptr<CompiledFilter> filter) {
  const std::lock_guard lock(filter_mutex_);
  narrower_.swap(filter);
}

DDS_SubscriptionMatchedStatus ReaderSide::matched() const {
  const std::lock_guard lock(writers_mutex_);
  return matched_;
}

DDS_LivelinessChangedStatus ReaderSide::liveliness() const {
  const std::lock_guard lock(writers_mutex_);
  return liveliness_;
}

bool ReaderSide::accepts(const EncodedSample& sample, EngineHandle, const DDS_FilterSampleInfo& info) {
  if (!scratch_) return true;
  const std::lock_guard lock(filter_mutex_);
  refused_by = nullptr;
  if (type_.decode(scratch_, sample.bytes, sample.size)) {
    if (filter_->accepts(scratch_, info) && (!narrower_ || narrower_->accepts(scratch_, info))) return true;
    counters_->filtered();
    refused_by = this;
    return false;
  }
  counters_->not_decoded();
  log(LogLevel::error, "DDSDataReader", "a received sample could not be decoded for its filter and was dropped");
  return false;
}

void ReaderSide::data_available() {
  events_.data_available(*this);
}

void ReaderSide::subscription_matched(const DDS_SubscriptionMatchedStatus& status) {
  {
    const std::lock_guard lock(writers_mutex_);
    matched_ = status;
  }
  events_.subscription_matched(*this, status);
}

void ReaderSide::liveliness_changed(const DDS_LivelinessChangedStatus& status) {
  {
    const std::lock_guard lock(writers_mutex_);
    liveliness_ = status;
  }
  events_.liveliness_changed(*this, status);
}

void ReaderSide::requested_deadline_missed(const DDS_RequestedDeadlineMissedStatus& status) {
  events_.requested_deadline_missed(*this, status);
}

void ReaderSide::requested_incompatible_qos(const DDS_RequestedIncompatibleQosStatus& status) {
  events_.requested_incompatible_qos(*this, status);
}

void ReaderSide::sample_lost(const DDS_SampleLostStatus& status) {
  // With a filter the engine counts a refused sample of a known instance as lost, right after the filter's call.
  if (std::exchange(refused_by, nullptr) != this) counters_->lost(1);
  if (!scratch_) events_.sample_lost(*this, status);
}

void ReaderSide::sample_rejected(const DDS_SampleRejectedStatus& status) {
  counters_->rejected();
  events_.sample_rejected(*this, status);
}

}  // namespace tessivar::platform
