// SPDX-License-Identifier: Apache-2.0

// Definitions for wait_set_thread_runner.h. Include that file instead.
#pragma once

#include "tessivar/framework/log/detail/guarded.h"
#include "tessivar/framework/log/logger.h"
#include "tessivar/framework/waitset/wait_set_thread_runner.h"

#include <chrono>
#include <string>

namespace TessivarDDS {

template <class T>
std::string WaitSetThreadRunner<T>::signature(const char* function) {
  return std::string("void __cdecl TessivarDDS::WaitSetThreadRunner<class ") + TypeOf<T>::name() + ">::" + function;
}

template <class T>
DDSDataReader* WaitSetThreadRunner<T>::reader() {
  return reader_;
}

template <class T>
void WaitSetThreadRunner<T>::processData() {
  TSeq samples;
  DDS_SampleInfoSeq infos;
  const DDS_ReturnCode_t code = read(samples, infos);
  if (code == DDS_RETCODE_NO_DATA) {
    if (settings().verbose) logInfo() << signature("processData(void)") << "No data";
    return;
  }
  if (code != DDS_RETCODE_OK) {
    logError() << signature("processData(void)") << " Error returned whilst reading from data reader. Code: " << code;
    return;
  }
  tessivar::framework::guarded([] { return signature("processData(void)"); }, [&] { processSamples(samples, infos); });
  if (reader_->return_loan(samples, infos) != DDS_RETCODE_OK) {
    logError() << signature("processData(void)") << "Return loan error";
  }
}

template <class T>
DDS_ReturnCode_t WaitSetThreadRunner<T>::read(TSeq& samples, DDS_SampleInfoSeq& infos) {
  const RunnerSettings& how = settings();
  if (how.everyChange && readCondition()) {
    return how.take ? reader_->take_w_condition(samples, infos, how.maxSamples, readCondition())
                    : reader_->read_w_condition(samples, infos, how.maxSamples, readCondition());
  }
  return how.take ? reader_->take(samples, infos, how.maxSamples, how.sampleStateMask, how.viewStateMask,
                                  how.instanceStateMask)
                  : reader_->read(samples, infos, how.maxSamples, how.sampleStateMask, how.viewStateMask,
                                  how.instanceStateMask);
}

template <class T>
void WaitSetThreadRunner<T>::processSamples(TSeq& samples, DDS_SampleInfoSeq& infos) {
  for (DDS_Long i = 0; i < samples.length(); ++i) {
    if (isOutdated(infos[i])) continue;
    tessivar::framework::guarded(
        [] {
          return signature(
              (std::string("processSamples(struct ") + TypeOf<T>::name() + "Seq &,struct DDS_SampleInfoSeq &)")
                  .c_str());
        },
        [&] { process(samples[i], infos[i]); });
  }
}

/// Returns true if the sample has waited too long and a newer sample of its instance follows.
template <class T>
bool WaitSetThreadRunner<T>::isOutdated(const DDS_SampleInfo& info) const {
  if (!settings().everyChange || info.sample_rank == 0) return false;
  const std::chrono::nanoseconds now = std::chrono::system_clock::now().time_since_epoch();
  const std::chrono::nanoseconds arrival(tessivar::platform::to_nanoseconds(info.reception_timestamp));
  return now - arrival > std::chrono::milliseconds(50);
}

template <class T>
void WaitSetThreadRunner<T>::process(const T& sample, const DDS_SampleInfo& info) {
  if (!info.valid_data) {
    processInvalidSample(info);
    return;
  }
  if (settings().verbose) TypeOf<T>::TypeSupport::print_data(&sample);
  processSample(sample, info);
  // If an instance ends while its last sample is unread, the reader provides no invalid sample. The instance state of
  // the last sample reports the end instead.
  if (info.instance_state != DDS_ALIVE_INSTANCE_STATE && info.sample_rank == 0) {
    DDS_SampleInfo gone = info;
    gone.valid_data = DDS_BOOLEAN_FALSE;
    processInvalidSample(gone);
  }
}

template <class T>
void WaitSetThreadRunner<T>::processSample(const T&) {}

template <class T>
void WaitSetThreadRunner<T>::processSample(const T& sample, const DDS_SampleInfo&) {
  processSample(sample);
}

template <class T>
void WaitSetThreadRunner<T>::processInvalidSample(const DDS_SampleInfo&) {}

template <class T>
void WaitSetThreadRunner<T>::cleanUpReader() {
  deleteConditions(reader_, signature("cleanUpReader(void)"));
}

}  // namespace TessivarDDS
