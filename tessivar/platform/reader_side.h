// The engine's side of a data reader: one engine reader with what lives and dies with it.
//
// A data reader usually has one side all its life. When history is to be delivered again, a second one is made and
// takes the first one's place.
#pragma once

#include "tessivar/platform/compiled_filter.h"
#include "tessivar/platform/engine.h"
#include "tessivar/platform/mutex.h"
#include "tessivar/platform/reader_instances.h"

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <string>

namespace tessivar::platform {

class ReaderSide;

/// Who is told what happens at a side.
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
  /// `filter` null: every sample is accepted.
  ReaderSide(const PRESTypePlugin& type, ReaderSideEvents& events, std::shared_ptr<CompiledFilter> filter);
  ~ReaderSide();

  DDS_ReturnCode_t open(EngineParticipant& participant, EngineReaderConfig config, std::string& error);

  EngineReader& engine() { return *engine_; }
  ReaderInstances& instances() { return instances_; }
  /// Another filter for the samples to come; nobody evaluates with the old one any more when it returns.
  void set_filter(std::shared_ptr<CompiledFilter> filter);
  /// Whether it ever let a sample in.
  bool has_accepted() const { return has_accepted_; }

  // What the engine said last.
  DDS_SubscriptionMatchedStatus matched() const;
  DDS_LivelinessChangedStatus liveliness() const;
  /// Waits until at least so many writers are matched and alive; a writer may go meanwhile, so don't insist.
  void await_writers(DDS_Long matched, DDS_Long alive, std::chrono::milliseconds at_most);

  bool accepts(const EncodedSample& sample, EngineHandle instance, const DDS_FilterSampleInfo& info) override;

 private:
  void data_available() override;
  void subscription_matched(const DDS_SubscriptionMatchedStatus&) override;
  void liveliness_changed(const DDS_LivelinessChangedStatus&) override;
  void requested_deadline_missed(const DDS_RequestedDeadlineMissedStatus&) override;
  void requested_incompatible_qos(const DDS_RequestedIncompatibleQosStatus&) override;
  void sample_lost(const DDS_SampleLostStatus&) override;
  void sample_rejected(const DDS_SampleRejectedStatus&) override;

  const PRESTypePlugin& type_;
  const bool keyed_;
  ReaderSideEvents& events_;
  ReaderInstances instances_;
  std::atomic<bool> has_accepted_ = false;

  mutable Mutex writers_mutex_;
  Condition writers_changed_;
  DDS_SubscriptionMatchedStatus matched_ = {};
  DDS_LivelinessChangedStatus liveliness_ = {};

  Mutex filter_mutex_;  // held while the filter evaluates
  std::shared_ptr<CompiledFilter> filter_;
  void* scratch_ = nullptr;  // what the filter evaluates

  std::unique_ptr<EngineReader> engine_;  // goes first: its filter calls and callbacks end
};

}  // namespace tessivar::platform
