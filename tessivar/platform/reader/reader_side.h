// SPDX-License-Identifier: Apache-2.0

// An engine side of a data reader: one engine reader with its filter.
//
// A data reader usually has one side. To catch up with a new filter, it opens a second side. The second side replaces
// the first side when it has received the history.
#pragma once

#include "tessivar/platform/detail/counters.h"
#include "tessivar/platform/detail/mutex.h"
#include "tessivar/platform/engine/engine.h"
#include "tessivar/platform/reader/compiled_filter.h"
#include "tessivar/platform/reader/reader_cache.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace tessivar::platform {

class ReaderSide;

/// The callbacks of a side, on the engine's threads.
class ReaderSideEvents {
 public:
  virtual void data_available(ReaderSide&) = 0;
  virtual void subscription_matched(ReaderSide&, const DDS_SubscriptionMatchedStatus&) = 0;
  virtual void liveliness_changed(ReaderSide&, const DDS_LivelinessChangedStatus&) = 0;
  virtual void requested_deadline_missed(ReaderSide&, const DDS_RequestedDeadlineMissedStatus&) = 0;
  virtual void requested_incompatible_qos(ReaderSide&, const DDS_RequestedIncompatibleQosStatus&) = 0;
  virtual void sample_lost(ReaderSide&, const DDS_SampleLostStatus&) = 0;
  virtual void sample_rejected(ReaderSide&, const DDS_SampleRejectedStatus&) = 0;

 protected:
  ~ReaderSideEvents() = default;
};

class ReaderSide final : public EngineFilter, public EngineReaderEvents {
 public:
  /// If `filter` is null, every sample is accepted. The side locks `filter_mutex` while a filter evaluates; all sides
  /// of a data reader share it. `source` is the number of this side in the cache.
  ReaderSide(const PRESTypePlugin& type, ReaderSideEvents& events, std::shared_ptr<CompiledFilter> filter,
             Mutex& filter_mutex, ReaderCache::Source source, std::shared_ptr<EndpointCounters> counters);
  ~ReaderSide();

  /// Callbacks may begin before it returns, also on the calling thread.
  DDS_ReturnCode_t open(EngineParticipant& participant, EngineReaderConfig config, std::string& error);
  /// Only after open() has succeeded.
  EngineReader& engine() { return *engine_; }
  ReaderCache::Source source() const { return source_; }
  /// Moves the samples that the engine has received to the cache, in the order of reception. Returns true if new
  /// samples or instance states arrived, or if memory is short: the next call moves the rest.
  bool transfer(ReaderCache& cache);
  /// Returns true if the last transfer did not move all samples, because memory was short.
  bool is_behind() const { return behind_; }
  /// Replaces the filter for new samples. When it returns, no thread uses the old filter for this side any more.
  void set_filter(std::shared_ptr<CompiledFilter> filter);
  /// From now on samples must pass this filter, too; it replaces the filter of an earlier call. The first filter stays
  /// in force, so that this side knows all writers of every instance that it delivers.
  void narrow(std::shared_ptr<CompiledFilter> filter);

  // The statuses that the engine reported last.
  DDS_SubscriptionMatchedStatus matched() const;
  DDS_LivelinessChangedStatus liveliness() const;

  bool accepts(const EncodedSample& sample, EngineHandle instance, const DDS_FilterSampleInfo& info) override;

 private:
  void data_available() override;
  void subscription_matched(const DDS_SubscriptionMatchedStatus&) override;
  void liveliness_changed(const DDS_LivelinessChangedStatus&) override;
  void requested_deadline_missed(const DDS_RequestedDeadlineMissedStatus&) override;
  void requested_incompatible_qos(const DDS_RequestedIncompatibleQosStatus&) override;
  void sample_lost(const DDS_SampleLostStatus&) override;
  void sample_rejected(const DDS_SampleRejectedStatus&) override;

  enum class Verdict { accepted, refused, malformed, no_memory };
  Verdict examine(const EncodedSample& sample, const DDS_FilterSampleInfo& info);
  DDS_ReturnCode_t take(bool& drained);
  DDS_ReturnCode_t examine_slots();

  const PRESTypePlugin& type_;
  ReaderSideEvents& events_;
  const ReaderCache::Source source_;
  const std::shared_ptr<EndpointCounters> counters_;

  mutable Mutex writers_mutex_;
  DDS_SubscriptionMatchedStatus matched_ = {};
  DDS_LivelinessChangedStatus liveliness_ = {};

  Mutex& filter_mutex_;  // held while a filter evaluates a sample; guards what follows
  std::shared_ptr<CompiledFilter> filter_;
  std::shared_ptr<CompiledFilter> narrower_;  // null: none
  void* scratch_ = nullptr;                   // the decoded sample for the filter
  std::atomic<unsigned> unexamined_ = 0;      // samples that passed without evaluation, because memory was short

  Mutex transfer_mutex_;           // keeps the samples in the order in which the engine received them
  std::vector<EngineSlot> slots_;  // of the current transfer, or left over from an earlier one
  bool slots_unexamined_ = false;  // the filter may not have evaluated all of `slots_`
  std::atomic<bool> behind_ = false;
  bool open_ = false;
  std::unique_ptr<EngineReader> engine_;  // destroyed first, which ends its filter calls and callbacks
};

}  // namespace tessivar::platform
