// The engine's side of a data reader: one engine reader with its filter.
//
// A data reader usually has one side all its life. To catch up with another filter it opens a second one, which takes
// the first one's place when it has received the history.
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

/// What a side calls, on the engine's threads.
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
  /// `filter` null: every sample is accepted. `source` is what the cache knows this side by.
  ReaderSide(const PRESTypePlugin& type, ReaderSideEvents& events, std::shared_ptr<CompiledFilter> filter,
             ReaderCache::Source source, std::shared_ptr<EndpointCounters> counters);
  ~ReaderSide();

  /// Callbacks may begin before it returns, also on this thread.
  DDS_ReturnCode_t open(EngineParticipant& participant, EngineReaderConfig config, std::string& error);
  /// Once it is open.
  EngineReader& engine() { return *engine_; }
  ReaderCache::Source source() const { return source_; }
  /// Moves what the engine has received to the cache, in the order of its reception. Returns true if it contained news,
  /// or if memory is short: the rest is moved by the next call.
  bool transfer(ReaderCache& cache);
  /// Returns true if the last transfer left something behind.
  bool is_behind() const { return behind_; }
  /// Another filter for the samples to come; nobody evaluates with the old one any more when it returns.
  void set_filter(std::shared_ptr<CompiledFilter> filter);
  /// From now on samples have to pass this filter, too; it replaces the one of an earlier call. Whatever this side
  /// delivers, it then knows all writers of it.
  void narrow(std::shared_ptr<CompiledFilter> filter);

  // What the engine said last.
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

  Mutex filter_mutex_;  // held while the filter evaluates
  std::shared_ptr<CompiledFilter> filter_;
  std::shared_ptr<CompiledFilter> narrower_;  // null: none
  void* scratch_ = nullptr;                   // what the filter evaluates
  std::atomic<unsigned> unexamined_ = 0;      // samples that passed because there was no memory to evaluate them

  Mutex transfer_mutex_;           // so that samples reach the cache in the order in which the engine received them
  std::vector<EngineSlot> slots_;  // of the transfer under way, or left behind
  bool slots_unexamined_ = false;  // some of them may still have to be evaluated
  std::atomic<bool> behind_ = false;
  bool open_ = false;
  std::unique_ptr<EngineReader> engine_;  // goes first: its filter calls and callbacks end
};

}  // namespace tessivar::platform
