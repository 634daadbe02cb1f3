// SPDX-License-Identifier: Apache-2.0

// What a wait-set thread runs for one reader.
#pragma once

#include "tessivar/framework/nodes/type_of.h"
#include "tessivar/platform/reader.h"

namespace TessivarDDS {

/// For RunnerSettings::maxSamples: so few lent at a time that a burst does not grow the reader's pool.
constexpr DDS_Long samplesPerCycle = 1024;

/// How a runner gets at its reader's samples. Masks are DDS_..._STATE bits.
struct RunnerSettings {
  /// Samples of one call of processData(); more are served in the next cycles. DDS_LENGTH_UNLIMITED: all there are.
  DDS_Long maxSamples = DDS_LENGTH_UNLIMITED;
  DDS_SampleStateMask sampleStateMask = DDS_NOT_READ_SAMPLE_STATE;
  DDS_ViewStateMask viewStateMask = DDS_ANY_VIEW_STATE;
  DDS_InstanceStateMask instanceStateMask = DDS_ANY_INSTANCE_STATE;
  /// True: samples are taken; false: they are read and stay in the reader, for queries.
  bool take = true;
  /// Prints every sample and logs when there are none.
  bool verbose = false;
};

/// What a WaitSetThread runs when a read condition triggers. Its operations are called by that thread only, with the
/// thread's list lock held: they must not attach or detach runners of the same thread.
class TESSIVAR_API WaitSetThreadRunnerBase {
 public:
  virtual ~WaitSetThreadRunnerBase();
  WaitSetThreadRunnerBase(const WaitSetThreadRunnerBase&) = delete;
  WaitSetThreadRunnerBase& operator=(const WaitSetThreadRunnerBase&) = delete;

  /// The reader whose samples this runner handles; null: the runner is not usable.
  virtual DDSDataReader* reader() = 0;
  /// Called while the read condition is triggered.
  virtual void processData() = 0;
  /// Releases what was made on the reader for this runner; after that the reader may be deleted.
  virtual void cleanUpReader() = 0;

  /// Made by WaitSetThread::attachRunner(); the reader owns it.
  DDSReadCondition* readCondition() const { return readCondition_; }
  DDS_Long maxSamples() const { return settings_.maxSamples; }
  DDS_SampleStateMask sampleStateMask() const { return settings_.sampleStateMask; }
  DDS_ViewStateMask viewStateMask() const { return settings_.viewStateMask; }
  DDS_InstanceStateMask instanceStateMask() const { return settings_.instanceStateMask; }

 protected:
  explicit WaitSetThreadRunnerBase(const RunnerSettings& settings) : settings_(settings) {}
  const RunnerSettings& settings() const { return settings_; }
  /// Deletes the read conditions of `reader`; a failure is logged with `signature`.
  void deleteConditions(DDSDataReader* reader, const std::string& signature);

 private:
  friend class WaitSetThread;
  DDSReadCondition* readCondition_ = nullptr;
  const RunnerSettings settings_;
};

/// Hands each sample of one typed reader to handlers. Derive from it and override a form of processSample() or
/// processInvalidSample(). Samples are lent for the time of the call. An exception that leaves a handler is logged; the
/// samples after it are still handled.
template <class T>
class TESSIVAR_API WaitSetThreadRunner : public WaitSetThreadRunnerBase {
 public:
  typedef typename TypeOf<T>::DataReader TDataReader;
  typedef typename TypeOf<T>::Seq TSeq;

  /// `reader` is not owned and must live until the runner is detached; null makes a runner that cannot be attached.
  explicit WaitSetThreadRunner(TDataReader* reader, const RunnerSettings& settings = {})
      : WaitSetThreadRunnerBase(settings), reader_(reader) {}

  DDSDataReader* reader() override;
  void processData() override;
  void cleanUpReader() override;

  /// Calls the handlers below for each sample, in order.
  virtual void processSamples(TSeq& samples, DDS_SampleInfoSeq& infos);
  virtual void processSample(const T& sample);
  virtual void processSample(const T& sample, const DDS_SampleInfo& info);
  /// The instance is no longer alive: disposed of, or without writers. Called once for each death, also for that of an
  /// instance whose last sample was still unread, after that sample.
  virtual void processInvalidSample(const DDS_SampleInfo& info);

  TDataReader* typedReader() const { return reader_; }

 private:
  static std::string signature(const char* function);
  void process(const T& sample, const DDS_SampleInfo& info);

  TDataReader* reader_;
};

}  // namespace TessivarDDS

#include "tessivar/framework/waitset/detail/wait_set_thread_runner_inl.h"
