// SPDX-License-Identifier: Apache-2.0

// A subscription of a data reader: one engine reader with its filter.
//
// A data reader usually has one subscription. To catch up with a new filter, it opens a second one, the replacement.
// The replacement becomes the current subscription when it has received the history (subscriptions.h).
#pragma once

#include "tessivar/platform/detail/mutex.h"
#include "tessivar/platform/engine/engine.h"
#include "tessivar/platform/reader/compiled_filter.h"
#include "tessivar/platform/reader/read_conditions.h"
#include "tessivar/platform/reader/reader_cache.h"
#include "tessivar/platform/reader/reader_description.h"

#include <atomic>
#include <memory>
#include <string>
#include <vector>

namespace tessivar::platform {

class Subscription;

/// What the subscriptions of a data reader report. Called on the engine's threads and on threads that use the reader,
/// with no lock of the subscription held.
class SubscriptionEvents {
 public:
  virtual void data_available(Subscription&) = 0;
  virtual void subscription_matched(Subscription&, const DDS_SubscriptionMatchedStatus&) = 0;
  virtual void liveliness_changed(Subscription&, const DDS_LivelinessChangedStatus&) = 0;
  virtual void requested_deadline_missed(Subscription&, const DDS_RequestedDeadlineMissedStatus&) = 0;
  virtual void requested_incompatible_qos(Subscription&, const DDS_RequestedIncompatibleQosStatus&) = 0;
  virtual void sample_lost(Subscription&, const DDS_SampleLostStatus&) = 0;
  virtual void sample_rejected(Subscription&, const DDS_SampleRejectedStatus&) = 0;

  /// Calls the listeners for each of these statuses.
  virtual void report(DDS_StatusMask statuses) = 0;

 protected:
  ~SubscriptionEvents() = default;
};

/// Order of the locks: `transfer_mutex_`, `filter_mutex_`. The engine calls accepts() with its own reader lock, which a
/// thread takes between the two. `writers_mutex_` and the lock of the cache are taken last.
class Subscription final : public EngineFilter, public EngineReaderEvents {
 public:
  /// If `filter` is null, every sample is accepted. `filter_mutex` is locked while a filter evaluates a sample; all
  /// subscriptions of a data reader share it. `source` is the number of this subscription in the cache.
  Subscription(const ReaderDescription& reader, ReaderCache& cache, ReadConditions& conditions,
               SubscriptionEvents& events, std::shared_ptr<CompiledFilter> filter, Mutex& filter_mutex,
               ReaderCache::Source source);
  /// When it returns, no callback is running and none will follow. Must not be called in a callback, or with a lock of
  /// the reader held, because a callback may wait for it.
  ~Subscription();

  /// Callbacks may begin before it returns, also on the calling thread.
  DDS_ReturnCode_t open(EngineParticipant& participant, EngineReaderConfig config, std::string& error)
      TESSIVAR_EXCLUDES(transfer_mutex_, filter_mutex_);
  /// Only after open() has succeeded.
  EngineReader& engine() { return *engine_; }
  ReaderCache::Source source() const { return source_; }
  /// Moves the samples that the engine has received to the cache, in the order of reception, and updates the
  /// conditions. Returns true if new samples or instance states arrived, or if memory is short: the next call moves the
  /// rest.
  bool transfer() TESSIVAR_EXCLUDES(transfer_mutex_, filter_mutex_);
  /// Returns true if the last transfer did not move all samples, because memory was short.
  bool has_remaining_samples() const { return has_remaining_samples_; }
  /// Replaces the filter for new samples and returns the old one. When it returns, no thread uses the old filter for
  /// this subscription any more. The caller destroys it without a lock, because that may call the application.
  [[nodiscard]] std::shared_ptr<CompiledFilter> set_filter(std::shared_ptr<CompiledFilter> filter)
      TESSIVAR_EXCLUDES(filter_mutex_);
  /// From now on samples must pass this filter, too. It replaces the filter of an earlier call, which is returned as by
  /// set_filter(). The first filter stays in force, so that this subscription knows all writers of every instance that
  /// it delivers.
  [[nodiscard]] std::shared_ptr<CompiledFilter> narrow(std::shared_ptr<CompiledFilter> filter)
      TESSIVAR_EXCLUDES(filter_mutex_);

  // The statuses that the engine reported last.
  DDS_SubscriptionMatchedStatus matched() const TESSIVAR_EXCLUDES(writers_mutex_);
  DDS_LivelinessChangedStatus liveliness() const TESSIVAR_EXCLUDES(writers_mutex_);

  bool accepts(const EncodedSample& sample, EngineHandle instance, const DDS_FilterSampleInfo& info) override
      TESSIVAR_EXCLUDES(filter_mutex_);

 private:
  void data_available() override;
  void subscription_matched(const DDS_SubscriptionMatchedStatus&) override;
  void liveliness_changed(const DDS_LivelinessChangedStatus&) override;
  void requested_deadline_missed(const DDS_RequestedDeadlineMissedStatus&) override;
  void requested_incompatible_qos(const DDS_RequestedIncompatibleQosStatus&) override;
  void sample_lost(const DDS_SampleLostStatus&) override;
  void sample_rejected(const DDS_SampleRejectedStatus&) override;

  /// For events, which are reported without a lock.
  SubscriptionEvents& events() TESSIVAR_EXCLUDES(transfer_mutex_, filter_mutex_, writers_mutex_) { return events_; }
  enum class Verdict { accepted, refused, malformed, no_memory };
  Verdict examine(const EncodedSample& sample, const DDS_FilterSampleInfo& info) TESSIVAR_REQUIRES(filter_mutex_);
  bool move_to_cache() TESSIVAR_EXCLUDES(transfer_mutex_, filter_mutex_);
  DDS_ReturnCode_t take(bool& drained) TESSIVAR_REQUIRES(transfer_mutex_);
  DDS_ReturnCode_t examine_slots() TESSIVAR_REQUIRES(transfer_mutex_) TESSIVAR_EXCLUDES(filter_mutex_);

  const ReaderDescription& reader_;
  ReaderCache& cache_;
  ReadConditions& conditions_;
  SubscriptionEvents& events_;
  const ReaderCache::Source source_;

  mutable Mutex writers_mutex_;
  DDS_SubscriptionMatchedStatus matched_ TESSIVAR_GUARDED_BY(writers_mutex_) = {};
  DDS_LivelinessChangedStatus liveliness_ TESSIVAR_GUARDED_BY(writers_mutex_) = {};

  Mutex& filter_mutex_;
  std::shared_ptr<CompiledFilter> filter_ TESSIVAR_GUARDED_BY(filter_mutex_);
  std::shared_ptr<CompiledFilter> narrower_ TESSIVAR_GUARDED_BY(filter_mutex_);  // null: none
  void* scratch_ = nullptr;  // the decoded sample for the filter, used with `filter_mutex_` held; null without filter
  std::atomic<unsigned> unexamined_ = 0;  // samples that passed without evaluation, because memory was short

  /// Keeps the samples in the order in which the engine received them.
  Mutex transfer_mutex_ TESSIVAR_ACQUIRED_BEFORE(filter_mutex_);
  std::vector<EngineSlot> slots_ TESSIVAR_GUARDED_BY(transfer_mutex_);  // of the transfer, or left over from an earlier
  /// The filter may not have evaluated all of `slots_`.
  bool slots_unexamined_ TESSIVAR_GUARDED_BY(transfer_mutex_) = false;
  bool open_ TESSIVAR_GUARDED_BY(transfer_mutex_) = false;
  std::atomic<bool> has_remaining_samples_ = false;
  std::unique_ptr<EngineReader> engine_;  // destroyed first, which ends its filter calls and callbacks
};

}  // namespace tessivar::platform
