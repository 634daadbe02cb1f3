// SPDX-License-Identifier: Apache-2.0

// Queries of the application to a reader whose new samples are also reported to listeners.
#pragma once

#include "tessivar/framework/log/logger.h"
#include "tessivar/framework/nodes/type_of.h"
#include "tessivar/framework/sync/thread.h"
#include "tessivar/platform/condition.h"
#include "tessivar/platform/detail/mutex.h"

#include <algorithm>
#include <atomic>
#include <functional>
#include <utility>

namespace TessivarDDS {

/// Waits for the reader's history, at most `timeoutMs` milliseconds (-1: no limit), or until `ends` is true.
inline DDS_ReturnCode_t waitForHistory(DDSDataReader& reader, int timeoutMs, const std::atomic<bool>& ends) {
  constexpr int slice_milliseconds = 50;
  for (int left = timeoutMs == -1 ? -1 : std::max(timeoutMs, 0);;) {
    const int slice = left < 0 ? slice_milliseconds : std::min(left, slice_milliseconds);
    const DDS_ReturnCode_t code = reader.wait_for_historical_data(DDS_Duration_from_millis(slice));
    if (left > 0) left -= slice;
    if (code != DDS_RETCODE_TIMEOUT || left == 0 || ends) return code;
  }
}

/// Reads samples of type T of alive instances, and leaves them in the reader, where a runner looks for unread samples.
/// The ends of instances are reported by the runner only.
///
/// Reading marks a sample as read, so a query could prevent that the runner reports a sample to the listeners.
/// Therefore a query waits until the runner has read these samples, and reports samples that it still reads first. In a
/// callback it does neither: the runner is in use there, and the application itself reads the sample.
///
/// Queries may run on any thread between open() and close(). Only one thread may call open() and close().
/// returnSamples() may be called at any time.
template <class T>
class ReaderQuery {
 public:
  typedef typename TypeOf<T>::DataReader Reader;
  typedef typename TypeOf<T>::Seq Seq;

  /// `reader` returns the reader; it is only called while the reader exists. `inCallback` returns true on a thread that
  /// runs a listener's callback. `report` reports the samples of an instance to the listeners. When `ends` is true,
  /// calls do not wait any more.
  ReaderQuery(std::function<Reader*()> reader, std::function<bool()> inCallback,
              std::function<void(Reader&, const DDS_InstanceHandle_t&)> report, const std::atomic<bool>& ends)
      : reader_(std::move(reader)), inCallback_(std::move(inCallback)), report_(std::move(report)), ends_(ends) {}

  /// Call it when the reader exists. Makes a read condition, which is deleted together with the reader.
  bool open() {
    const tessivar::platform::MutexLock lock(lock_);
    unread_ = reader()->create_readcondition(DDS_NOT_READ_SAMPLE_STATE, DDS_ANY_VIEW_STATE, DDS_ANY_INSTANCE_STATE);
    return unread_ != nullptr;
  }
  /// Call it before the reader is deleted. Waits at most 1 second for lent samples.
  void close() {
    for (int waited = 0; waited < patience_ms && lent_ > 0; ++waited) TessivarThread::sleep(1);
    const tessivar::platform::MutexLock lock(lock_);
    lent_ = 0;
    unread_ = nullptr;
  }

  Reader* reader() const { return reader_(); }

  /// Reads the samples of all instances. Waits at most `timeoutMs` for the history. Return the loan with
  /// returnSamples().
  bool all(const char* signature, Seq& samples, DDS_SampleInfoSeq& infos, int timeoutMs) {
    if (!read(signature, samples, infos, timeoutMs)) return false;
    if (samples.length() > 0) ++lent_;
    reportUnread(infos);
    return true;
  }
  /// Returns false if the query is not open.
  bool returnSamples(const char* signature, Seq& samples, DDS_SampleInfoSeq& infos) {
    const tessivar::platform::MutexLock lock(lock_);
    if (!unread_) return false;
    const bool lent = samples.length() > 0;
    if (returnLoan(signature, samples, infos) && lent && lent_ > 0) --lent_;
    return true;
  }

  /// As all(), but does not report samples to the listeners: the caller does that. Return the loan with returnLoan().
  bool read(const char* signature, Seq& samples, DDS_SampleInfoSeq& infos, int timeoutMs) {
    DDS_ReturnCode_t code = waitForHistory(*reader(), timeoutMs, ends_);
    if (code != DDS_RETCODE_OK)
      logWarning() << signature << " wait for historical data returned an unexpected code:  " << code;
    waitForRunner();
    code = reader()->read(samples, infos, DDS_LENGTH_UNLIMITED, DDS_ANY_SAMPLE_STATE, DDS_ANY_VIEW_STATE,
                          DDS_ALIVE_INSTANCE_STATE);
    if (code == DDS_RETCODE_OK || code == DDS_RETCODE_NO_DATA) return true;
    logError() << signature << " Error returned whilst reading from data reader. Code: " << code;
    return false;
  }

  /// Copies the current sample of an instance into `out`.
  bool one(const char* signature, const DDS_InstanceHandle_t& instance, T& out) {
    waitForRunner();
    Seq samples;
    DDS_SampleInfoSeq infos;
    const DDS_ReturnCode_t code = reader()->read_instance(samples, infos, 1, instance, DDS_ANY_SAMPLE_STATE,
                                                          DDS_ANY_VIEW_STATE, DDS_ALIVE_INSTANCE_STATE);
    const char* fault = nullptr;
    if (code != DDS_RETCODE_OK) {
      fault = reader()->is_alive_untypedI(instance) ? " Error returned from read instance" : "Invalid data";
    } else if (samples.length() != 1) {
      fault = "Unexpected length";
    } else if (!infos[0].valid_data) {
      fault = "Invalid data";
    } else if (TypeOf<T>::TypeSupport::copy_data(&out, &samples[0]) != DDS_RETCODE_OK) {
      fault = "Copy data failed!";
    }
    if (fault) logError() << signature << fault;
    reportUnread(infos);
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

  /// Waits until the runner has handled the samples that are unread now, at most 1 second: the same time as for the
  /// lock of the listener list.
  void waitForRunner() {
    if (inCallback_() || !unread_) return;
    const DDS_UnsignedLong begin = reader()->change_readsI();
    for (int waited = 0; waited < patience_ms && !ends_ && unread_->get_trigger_value(); ++waited) {
      if (reader()->change_readsI() - begin >= 2) return;  // while samples arrive often, some are always unread
      TessivarThread::sleep(1);
    }
  }

  void reportUnread(const DDS_SampleInfoSeq& infos) {
    if (inCallback_()) return;
    for (DDS_Long i = 0; i < infos.length(); ++i) {
      if (infos[i].sample_state == DDS_NOT_READ_SAMPLE_STATE) report_(*reader(), infos[i].instance_handle);
    }
  }

  const std::function<Reader*()> reader_;
  const std::function<bool()> inCallback_;
  const std::function<void(Reader&, const DDS_InstanceHandle_t&)> report_;
  const std::atomic<bool>& ends_;
  tessivar::platform::Mutex lock_;  // guards unread_ outside of queries, and the return of loans
  DDSReadCondition* unread_ = nullptr;
  std::atomic<int> lent_{0};
};

}  // namespace TessivarDDS
