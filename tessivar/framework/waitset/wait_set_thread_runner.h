// SPDX-License-Identifier: Apache-2.0

// The runners of a wait-set thread. A runner processes the samples of one reader.
#pragma once

#include "tessivar/framework/nodes/type_of.h"
#include "tessivar/platform/reader.h"

namespace TessivarDDS {

/// A value for RunnerSettings::maxSamples. It limits the samples on loan, so that a burst does not grow the pool of the
/// reader.
constexpr DDS_Long samplesPerCycle = 1024;

/// The way in which a runner reads samples. Masks are DDS_..._STATE bits.
struct RunnerSettings {
  /// The largest number of samples in one call of processData(). Later calls process the other samples.
  /// DDS_LENGTH_UNLIMITED means all available samples.
  DDS_Long maxSamples = DDS_LENGTH_UNLIMITED;
  DDS_SampleStateMask sampleStateMask = DDS_NOT_READ_SAMPLE_STATE;
  DDS_ViewStateMask viewStateMask = DDS_ANY_VIEW_STATE;
  DDS_InstanceStateMask instanceStateMask = DDS_ANY_INSTANCE_STATE;
  /// True: samples are taken. False: samples are read and stay in the reader for queries.
  bool take = true;
  /// True: samples that newer samples of their instance have replaced are processed, too, except in an overload: when
  /// more than 16384 of them wait, or when one of them waits longer than 50 ms. While samples arrive often, they are
  /// processed about once in a millisecond.
  bool everyChange = false;
  /// Prints every sample, and logs when there are none.
  bool verbose = false;
};

/// The work that a WaitSetThread does when a read condition triggers. The thread calls processData() while it holds the
/// lock of its runner list. Therefore processData() must not attach or detach runners of the same thread. The thread
/// that attaches or detaches the runner calls reader() and cleanUpReader().
class TESSIVAR_API WaitSetThreadRunnerBase {
 public:
  virtual ~WaitSetThreadRunnerBase();
  WaitSetThreadRunnerBase(const WaitSetThreadRunnerBase&) = delete;
  WaitSetThreadRunnerBase& operator=(const WaitSetThreadRunnerBase&) = delete;

  /// Returns the reader whose samples this runner processes. If it returns null, the runner cannot be attached.
  virtual DDSDataReader* reader() = 0;
  /// Called while the read condition is triggered.
  virtual void processData() = 0;
  /// Deletes everything that was created on the reader for this runner. After that the reader may be deleted.
  virtual void cleanUpReader() = 0;

  /// WaitSetThread::attachRunner() creates the condition; the reader owns it.
  DDSReadCondition* readCondition() const { return readCondition_; }
  DDS_Long maxSamples() const { return settings_.maxSamples; }
  DDS_SampleStateMask sampleStateMask() const { return settings_.sampleStateMask; }
  DDS_ViewStateMask viewStateMask() const { return settings_.viewStateMask; }
  DDS_InstanceStateMask instanceStateMask() const { return settings_.instanceStateMask; }

 protected:
  explicit WaitSetThreadRunnerBase(const RunnerSettings& settings) : settings_(settings) {}
  const RunnerSettings& settings() const { return settings_; }
  /// Deletes the read conditions of `reader`. The message of a failure begins with `signature`.
  void deleteConditions(DDSDataReader* reader, const std::string& signature);

 private:
  friend class WaitSetThread;
  DDSReadCondition* readCondition_ = nullptr;
  const RunnerSettings settings_;
};

/// Passes each sample of one typed reader to handlers. Derive a class from it and override one form of processSample(),
/// or processInvalidSample(). Samples are on loan during the call. An exception that leaves a handler is logged; the
/// next samples are still processed.
template <class T>
class TESSIVAR_API WaitSetThreadRunner : public WaitSetThreadRunnerBase {
 public:
  typedef typename TypeOf<T>::DataReader TDataReader;
  typedef typename TypeOf<T>::Seq TSeq;

  /// `reader` is not owned and must live until the runner is detached. A runner with a null reader cannot be attached.
  explicit WaitSetThreadRunner(TDataReader* reader, const RunnerSettings& settings = {})
      : WaitSetThreadRunnerBase(settings), reader_(reader) {}

  DDSDataReader* reader() override;
  void processData() override;
  void cleanUpReader() override;

  /// Calls the handlers below for each sample, in order.
  virtual void processSamples(TSeq& samples, DDS_SampleInfoSeq& infos);
  virtual void processSample(const T& sample);
  virtual void processSample(const T& sample, const DDS_SampleInfo& info);
  /// The instance is no longer alive: it was disposed, or it has no writers. Called once for each end of an instance.
  /// If the last sample of the instance was still unread, this is called after that sample.
  virtual void processInvalidSample(const DDS_SampleInfo& info);

  TDataReader* typedReader() const { return reader_; }

 private:
  static std::string signature(const char* function);
  DDS_ReturnCode_t read(TSeq& samples, DDS_SampleInfoSeq& infos);
  bool isOutdated(const DDS_SampleInfo& info) const;
  void process(const T& sample, const DDS_SampleInfo& info);

  TDataReader* reader_;
};

}  // namespace TessivarDDS

#include "tessivar/framework/waitset/detail/wait_set_thread_runner_inl.h"
