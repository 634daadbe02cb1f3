// Questions of the application to a reader whose news go to listeners.
#pragma once

#include "tessivar/framework/log/logger.h"
#include "tessivar/framework/nodes/type_of.h"
#include "tessivar/framework/sync/thread.h"
#include "tessivar/platform/condition.h"

#include <functional>
#include <utility>

namespace TessivarDDS {

/// Reads samples of type T of instances that are alive, and leaves them in the reader, where a runner looks for those
/// not read yet. The ends of instances are left to the runner.
///
/// Reading marks a sample as read, so that a query could take news away from the listeners. A query therefore lets the
/// runner go first, and has told what it still was the first to see. Within a callback it does neither: there the
/// runner is at work, and the application sees for itself. Queries may run on any threads; open() belongs to one.
template <class T>
class ReaderQuery {
 public:
  typedef typename TypeOf<T>::DataReader Reader;
  typedef typename TypeOf<T>::Seq Seq;

  /// `reader` gives the reader to ask; it is only called while there is one. `inCallback` says whether the calling
  /// thread is one of the runners'; `tell` has the listeners told what has become of an instance.
  ReaderQuery(std::function<Reader*()> reader, std::function<bool()> inCallback,
              std::function<void(Reader&, const DDS_InstanceHandle_t&)> tell)
      : reader_(std::move(reader)), inCallback_(std::move(inCallback)), tell_(std::move(tell)) {}

  /// Once the reader is there; what is made on it goes with its other conditions.
  bool open() {
    news_ = reader()->create_readcondition(DDS_NOT_READ_SAMPLE_STATE, DDS_ANY_VIEW_STATE, DDS_ANY_INSTANCE_STATE);
    return news_ != nullptr;
  }
  /// Before the reader goes.
  void close() { news_ = nullptr; }

  Reader* reader() const { return reader_(); }

  /// Everything, after waiting at most so long for the history. To be given back with returnLoan().
  bool all(const char* signature, Seq& samples, DDS_SampleInfoSeq& infos, int timeoutMs) {
    if (!read(signature, samples, infos, timeoutMs)) return false;
    tellUnheard(infos);
    return true;
  }

  /// As all(), but nothing is told: the caller does that.
  bool read(const char* signature, Seq& samples, DDS_SampleInfoSeq& infos, int timeoutMs) {
    DDS_ReturnCode_t code = reader()->wait_for_historical_data(DDS_Duration_from_millis(timeoutMs));
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

  void returnLoan(const char* signature, Seq& samples, DDS_SampleInfoSeq& infos) {
    const DDS_ReturnCode_t code = reader()->return_loan(samples, infos);
    if (code != DDS_RETCODE_OK) logError() << signature << " Return loan error returned : " << code;
  }

 private:
  /// Waits until nothing is unread, but for no listener longer than for its list's lock.
  void letRunnerGoFirst() {
    constexpr int patience_ms = 1000;
    if (inCallback_() || !news_) return;
    for (int waited = 0; waited < patience_ms && news_->get_trigger_value(); ++waited) TessivarThread::sleep(1);
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
  DDSReadCondition* news_ = nullptr;
};

}  // namespace TessivarDDS
