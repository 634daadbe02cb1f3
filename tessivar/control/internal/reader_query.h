// SPDX-License-Identifier: Apache-2.0

// Questions of the application to a reader whose news go to listeners.
#pragma once

#include "tessivar/framework/log/logger.h"
#include "tessivar/framework/nodes/type_of.h"
#include "tessivar/framework/sync/thread.h"
#include "tessivar/platform/condition.h"
#include "tessivar/platform/detail/mutex.h"

#include <algorithm>
#include <atomic>
#include <functional>
#include <mutex>
#include <utility>

namespace TessivarDDS {

/// Waits for the reader's history, at most so many milliseconds (-1: without limit), or until `ends` is true.
inline DDS_ReturnCode_t waitForHistory(DDSDataReader& reader, int timeoutMs, const std::atomic<bool>& ends) {
  constexpr int slice_milliseconds = 50;
  for (int left = timeoutMs == -1 ? -1 : std::max(timeoutMs, 0);;) {
    const int slice = left < 0 ? slice_milliseconds : std::min(left, slice_milliseconds);
    const DDS_ReturnCode_t code = reader.wait_for_historical_data(DDS_Duration_from_millis(slice));
    if (left > 0) left -= slice;
    if (code != DDS_RETCODE_TIMEOUT || left == 0 || ends) return code;
  }
}

/// Reads samples of type T of instances that are alive, and leaves them in the reader, where a runner looks for those
/// not read yet. The ends of instances are left to the runner.
///
/// Reading marks a sample as read, so that a query could take news away from the listeners. A query therefore lets the
/// runner go first, and has told what it still was the first to see. Within a callback it does neither: there the
/// runner is at work, and the application sees for itself.
///
/// Queries may run on any threads between open() and close(), which belong to one; takeBack() at any time.
template <class T>
class ReaderQuery {
 public:
  typedef typename TypeOf<T>::DataReader Reader;
  typedef typename TypeOf<T>::Seq Seq;

  /// `reader` gives the reader to ask; it is only called while there is one. `inCallback` says whether the calling
  /// thread is one of the runners'; `tell` has the listeners told what has become of an instance. Once `ends` is true
  /// nothing is waited for any more.
  ReaderQuery(std::function<Reader*()> reader, std::function<bool()> inCallback,
              std::function<void(Reader&, const DDS_InstanceHandle_t&)> tell, const std::atomic<bool>& ends)
      : reader_(std::move(reader)), inCallback_(std::move(inCallback)), tell_(std::move(tell)), ends_(ends) {}

  /// Once the reader is there; what is made on it goes with its other conditions.
  bool open() {
    const std::lock_guard lock(lock_);
    news_ = reader()->create_readcondition(DDS_NOT_READ_SAMPLE_STATE, DDS_ANY_VIEW_STATE, DDS_ANY_INSTANCE_STATE);
    return news_ != nullptr;
  }
  /// Before the reader goes. Waits at most a second for what is lent.
  void close() {
    for (int waited = 0; waited < patience_ms && lent_ > 0; ++waited) TessivarThread::sleep(1);
    const std::lock_guard lock(lock_);
    lent_ = 0;
    news_ = nullptr;
  }

  Reader* reader() const { return reader_(); }

  /// Everything, after waiting at most so long for the history. To be given back with takeBack().
  bool all(const char* signature, Seq& samples, DDS_SampleInfoSeq& infos, int timeoutMs) {
    if (!read(signature, samples, infos, timeoutMs)) return false;
    if (samples.length() > 0) ++lent_;
    tellUnheard(infos);
    return true;
  }
  /// False when it is not open.
  bool takeBack(const char* signature, Seq& samples, DDS_SampleInfoSeq& infos) {
    const std::lock_guard lock(lock_);
    if (!news_) return false;
    const bool lent = samples.length() > 0;
    if (returnLoan(signature, samples, infos) && lent && lent_ > 0) --lent_;
    return true;
  }

  /// As all(), but nothing is told: the caller does that. To be given back with returnLoan().
  bool read(const char* signature, Seq& samples, DDS_SampleInfoSeq& infos, int timeoutMs) {
    DDS_ReturnCode_t code = waitForHistory(*reader(), timeoutMs, ends_);
    if (code != DDS_RETCODE_OK)
      logWarning() << signature << " wait for historical data returned an unexpected code:  " << code;
    letRunnerGoFirst();
    code = reader()->read(samples, infos, DDS_LENGTH_UNLIMITED, DDS_ANY_SAMPLE_STATE, DDS_ANY_VIEW_STATE,
                          DDS_ALIVE_INSTANCE_STATE);
    if (code == DDS_RETCODE_OK || code == DDS_RETCODE_NO_DATA) return true;
    logError() << signature << " Error returned whilst reading from data reader. Code: " << code;
    return false;
  }

  /// A copy of the current sample of an instance.
  bool one(const char* signature, const DDS_InstanceHandle_t& instance, T& out) {
    letRunnerGoFirst();
    Seq samples;
    DDS_SampleInfoSeq infos;
    const DDS_ReturnCode_t code = reader()->read_instance(samples, infos, 1, instance, DDS_ANY_SAMPLE_STATE,
                                                          DDS_ANY_VIEW_STATE, DDS_ALIVE_INSTANCE_STATE);
    const char* fault = nullptr;
    if (code != DDS_RETCODE_OK && !reader()->is_alive_untypedI(instance)) {
      fault = "Invalid data";
    } else if (code != DDS_RETCODE_OK) {
      fault = " Error returned from read instance";
    } else if (samples.length() != 1) {
      fault = "Unexpected length";
    } else if (!infos[0].valid_data) {
      fault = "Invalid data";
    } else if (TypeOf<T>::TypeSupport::copy_data(&out, &samples[0]) != DDS_RETCODE_OK) {
      fault = "Copy data failed!";
    }
    if (fault) logError() << signature << fault;
    tellUnheard(infos);
    returnLoan(signature, samples, infos);
    return !fault;
  }

  bool returnLoan(const char* signature, Seq& samples, DDS_SampleInfoSeq& infos) {
    const DDS_ReturnCode_t code = reader()->return_loan(samples, infos);
    if (code != DDS_RETCODE_OK) logError() << signature << " Return loan error returned : " << code;
    return code == DDS_RETCODE_OK;
  }

 private:
  static constexpr int patience_ms = 1000;

  /// Waits until nothing is unread, but for no listener longer than for its list's lock.
  void letRunnerGoFirst() {
    if (inCallback_() || !news_) return;
    for (int waited = 0; waited < patience_ms && !ends_ && news_->get_trigger_value(); ++waited) {
      TessivarThread::sleep(1);
    }
  }

  void tellUnheard(const DDS_SampleInfoSeq& infos) {
    if (inCallback_()) return;
    for (DDS_Long i = 0; i < infos.length(); ++i) {
      if (infos[i].sample_state == DDS_NOT_READ_SAMPLE_STATE) tell_(*reader(), infos[i].instance_handle);
    }
  }

  const std::function<Reader*()> reader_;
  const std::function<bool()> inCallback_;
  const std::function<void(Reader&, const DDS_InstanceHandle_t&)> tell_;
  const std::atomic<bool>& ends_;
  tessivar::platform::Mutex lock_;  // of news_, outside of queries, and over what is given back
  DDSReadCondition* news_ = nullptr;
  std::atomic<int> lent_{0};
};

}  // namespace TessivarDDS
