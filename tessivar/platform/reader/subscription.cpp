// SPDX-License-Identifier: Apache-2.0

#include "tessivar/platform/reader/subscription.h"

#include "tessivar/platform/detail/log.h"

#include <algorithm>
#include <new>

namespace tessivar::platform {

namespace {

// The number of samples that are taken from the engine at once.
constexpr std::size_t slots_at_first = 16;
constexpr std::size_t max_slots = 1024;

/// Increases the number of samples that are taken at once, if there is memory for it.
void grow(std::vector<EngineSlot>& slots) {
  try {
    slots.reserve(std::min(max_slots, 4 * slots.capacity()));
  } catch (const std::bad_alloc&) {
    return;
  }
}

/// The subscription whose filter refused the last sample that this thread received.
thread_local const Subscription* refused_by = nullptr;

}  // namespace

Subscription::Subscription(const ReaderDescription& reader, ReaderCache& cache, ReadConditions& conditions,
                           SubscriptionEvents& events, std::shared_ptr<CompiledFilter> filter, Mutex& filter_mutex,
                           ReaderCache::Source source)
    : reader_(reader),
      cache_(cache),
      conditions_(conditions),
      events_(events),
      source_(source),
      filter_mutex_(filter_mutex),
      filter_(std::move(filter)) {
  slots_.reserve(slots_at_first);
  if (filter_) scratch_ = reader_.type->create_sample();
}

Subscription::~Subscription() {
  {
    const MutexLock lock(transfer_mutex_);  // from now on callbacks transfer nothing
    open_ = false;
  }
  engine_.reset();
  if (scratch_) reader_.type->destroy_sample(scratch_);
}

DDS_ReturnCode_t Subscription::open(EngineParticipant& participant, EngineReaderConfig config, std::string& error) {
  {
    const MutexLock lock(filter_mutex_);
    if (filter_ && !scratch_) {
      error = "no memory for the filter's sample";
      return DDS_RETCODE_OUT_OF_RESOURCES;
    }
  }
  config.filter = this;
  const DDS_ReturnCode_t result = participant.create_reader(config, this, engine_, error);
  const MutexLock lock(transfer_mutex_);
  open_ = result == DDS_RETCODE_OK;
  return result;
}

bool Subscription::transfer() {
  const bool news = move_to_cache();
  if (has_remaining_samples_) conditions_.set_waiting_for_transfer(true);
  if (news) conditions_.update();
  return news;
}

/// Returns the result of transfer().
bool Subscription::move_to_cache() {
  const MutexLock lock(transfer_mutex_);
  if (!open_) return false;  // the caller of open() transfers these samples later
  bool news = false;
  bool drained = false;
  DDS_ReturnCode_t result = DDS_RETCODE_OK;
  while (result == DDS_RETCODE_OK) {
    if (slots_.empty()) {
      result = drained ? DDS_RETCODE_NO_DATA : take(drained);
      continue;
    }
    if (slots_unexamined_) result = examine_slots();
    if (result != DDS_RETCODE_OK) break;
    const ReaderCache::Change inserted = cache_.insert(source_, slots_);
    news = news || inserted.news;
    const auto end = slots_.begin() + static_cast<std::ptrdiff_t>(inserted.count);
    const auto samples =
        std::count_if(slots_.begin(), end, [](const EngineSlot& slot) { return slot.info.valid_data; });
    if (samples > 0) reader_.counters->received(static_cast<std::uint64_t>(samples));
    slots_.erase(slots_.begin(), end);
    if (!slots_.empty()) {
      result = DDS_RETCODE_OUT_OF_RESOURCES;
    } else if (!drained) {
      grow(slots_);
    }
  }
  const bool no_memory = result == DDS_RETCODE_OUT_OF_RESOURCES;
  if (!has_remaining_samples_.exchange(no_memory) && no_memory)
    log(LogLevel::error, "DDSDataReader", "no memory for received samples: they wait for the next access");
  return news || no_memory;
}

/// Fills the empty slots. Sets `drained` if the engine has no more samples.
DDS_ReturnCode_t Subscription::take(bool& drained) {
  unsigned unexamined = unexamined_;
  const DDS_ReturnCode_t result = engine_->take(slots_);
  if (result != DDS_RETCODE_OK) return result;
  drained = slots_.size() < slots_.capacity();
  slots_unexamined_ = unexamined_ > 0;
  if (drained) unexamined_.compare_exchange_strong(unexamined, 0);  // the samples counted until then are in the slots
  return result;
}

/// Evaluates the filter for samples that passed without evaluation, and removes the refused samples from the slots.
DDS_ReturnCode_t Subscription::examine_slots() {
  const MutexLock lock(filter_mutex_);
  bool complete = true;
  std::erase_if(slots_, [&](const EngineSlot& slot) TESSIVAR_REQUIRES(filter_mutex_) {
    if (!slot.info.valid_data || !complete) return false;
    const Verdict verdict = examine(*slot.sample.get(), {slot.info.source_timestamp});
    complete = verdict != Verdict::no_memory;
    return verdict == Verdict::refused || verdict == Verdict::malformed;
  });
  slots_unexamined_ = !complete;
  return complete ? DDS_RETCODE_OK : DDS_RETCODE_OUT_OF_RESOURCES;
}

std::shared_ptr<CompiledFilter> Subscription::set_filter(std::shared_ptr<CompiledFilter> filter) {
  const MutexLock lock(filter_mutex_);
  filter_.swap(filter);
  return filter;
}

std::shared_ptr<CompiledFilter> Subscription::narrow(std::shared_ptr<CompiledFilter> filter) {
  const MutexLock lock(filter_mutex_);
  narrower_.swap(filter);
  return filter;
}

DDS_SubscriptionMatchedStatus Subscription::matched() const {
  const MutexLock lock(writers_mutex_);
  return matched_;
}

DDS_LivelinessChangedStatus Subscription::liveliness() const {
  const MutexLock lock(writers_mutex_);
  return liveliness_;
}

bool Subscription::accepts(const EncodedSample& sample, EngineHandle, const DDS_FilterSampleInfo& info) {
  if (!scratch_) return true;
  const MutexLock lock(filter_mutex_);
  const Verdict verdict = examine(sample, info);
  refused_by = verdict == Verdict::refused ? this : nullptr;
  if (verdict == Verdict::no_memory) ++unexamined_;  // transfer() evaluates it again
  return verdict == Verdict::accepted || verdict == Verdict::no_memory;
}

Subscription::Verdict Subscription::examine(const EncodedSample& sample, const DDS_FilterSampleInfo& info) {
  if (!reader_.type->decode(scratch_, sample.bytes, sample.size)) {
    DDS_KeyHash_t hash;
    if (reader_.type->check(sample.bytes, sample.size, &hash)) return Verdict::no_memory;
    reader_.counters->not_decoded();
    log(LogLevel::error, "DDSDataReader", "a received sample could not be decoded for its filter and was dropped");
    return Verdict::malformed;
  }
  if (filter_->accepts(scratch_, info) && (!narrower_ || narrower_->accepts(scratch_, info))) return Verdict::accepted;
  reader_.counters->filtered();
  return Verdict::refused;
}

void Subscription::data_available() {
  events().data_available(*this);
}

void Subscription::subscription_matched(const DDS_SubscriptionMatchedStatus& status) {
  {
    const MutexLock lock(writers_mutex_);
    matched_ = status;
  }
  events().subscription_matched(*this, status);
}

void Subscription::liveliness_changed(const DDS_LivelinessChangedStatus& status) {
  {
    const MutexLock lock(writers_mutex_);
    liveliness_ = status;
  }
  events().liveliness_changed(*this, status);
}

void Subscription::requested_deadline_missed(const DDS_RequestedDeadlineMissedStatus& status) {
  events().requested_deadline_missed(*this, status);
}

void Subscription::requested_incompatible_qos(const DDS_RequestedIncompatibleQosStatus& status) {
  events().requested_incompatible_qos(*this, status);
}

void Subscription::sample_lost(const DDS_SampleLostStatus& status) {
  // With a filter, the engine counts a refused sample of a known instance as lost, directly after the filter call.
  if (std::exchange(refused_by, nullptr) != this) reader_.counters->lost(1);
  if (!scratch_) events().sample_lost(*this, status);
}

void Subscription::sample_rejected(const DDS_SampleRejectedStatus& status) {
  reader_.counters->rejected();
  events().sample_rejected(*this, status);
}

}  // namespace tessivar::platform
