// SPDX-License-Identifier: Apache-2.0

#include "tessivar/platform/writer/batch.h"

#include "tessivar/platform/detail/immortal.h"
#include "tessivar/platform/detail/log.h"
#include "tessivar/platform/system/thread.h"

#include <algorithm>
#include <chrono>
#include <string>
#include <vector>

namespace tessivar::platform {

/// Flushes batches when their delay has passed. A process has one FlushClock.
class FlushClock {
 public:
  static FlushClock& instance() {
    static Immortal<FlushClock> clock;
    return *clock;
  }

  /// Throws std::system_error if no thread can be created.
  void add(Batch& batch) {
    UniqueMutexLock lock(mutex_);
    stopped_.wait(lock, [this]() TESSIVAR_REQUIRES(mutex_) { return !stopping_; });
    if (!thread_.joinable()) {
      thread_ = Thread("tessivar_flush", [this] { run(); });
    }
    batches_.push_back(&batch);
    changed_.notify_one();
  }

  /// Waits for the end of a flush of `batch`. Must not be called from a flush.
  void remove(Batch& batch) {
    Thread ended;
    {
      UniqueMutexLock lock(mutex_);
      flushed_.wait(lock, [&]() TESSIVAR_REQUIRES(mutex_) { return flushing_ != &batch; });
      std::erase(batches_, &batch);
      if (!batches_.empty()) return;
      stopping_ = true;
      changed_.notify_one();
      ended = std::move(thread_);
    }
    ended.join();
    {
      const MutexLock lock(mutex_);
      stopping_ = false;
    }
    stopped_.notify_all();
  }

  /// To be called when the batch gets its first sample. The batch is due after its delay, unless it is already due
  /// earlier.
  void start(Batch& batch) {
    const std::int64_t due = now() + batch.delay_;
    const MutexLock lock(mutex_);
    if (batch.due_ <= due) return;
    batch.due_ = due;
    if (due < next_) changed_.notify_one();
  }

  void stop(Batch& batch) {
    const MutexLock lock(mutex_);
    batch.due_ = never;
  }

 private:
  static std::int64_t now() {
    return std::chrono::steady_clock::now().time_since_epoch() / std::chrono::nanoseconds(1);
  }

  void run() {
    UniqueMutexLock lock(mutex_);
    while (!stopping_) {
      const auto first = std::min_element(batches_.begin(), batches_.end(),
                                          [](const Batch* a, const Batch* b) { return a->due_ < b->due_; });
      next_ = first == batches_.end() ? never : (*first)->due_;
      if (next_ == never) {
        changed_.wait(lock);
      } else if (const std::int64_t left = next_ - now(); left > 0) {
        changed_.wait_for(lock, std::chrono::nanoseconds(left));
      } else {
        Batch& batch = **first;
        batch.due_ = never;
        flushing_ = &batch;
        lock.unlock();
        flush(batch);
        lock.lock();
        flushing_ = nullptr;
        flushed_.notify_all();
      }
    }
  }

  static void flush(Batch& batch) {
    const DDS_ReturnCode_t result = batch.flush();
    if (result != DDS_RETCODE_OK) {
      log_joined(LogLevel::error, "DDSDataWriter", {"a batch could not be sent, return code ", std::to_string(result)});
    }
  }

  Mutex mutex_;
  Condition changed_;
  Condition flushed_;
  Condition stopped_;
  Thread thread_ TESSIVAR_GUARDED_BY(mutex_);
  bool stopping_ TESSIVAR_GUARDED_BY(mutex_) = false;
  std::vector<Batch*> batches_ TESSIVAR_GUARDED_BY(mutex_);
  const Batch* flushing_ TESSIVAR_GUARDED_BY(mutex_) = nullptr;
  std::int64_t next_ TESSIVAR_GUARDED_BY(mutex_) = never;
};

namespace {

std::int64_t limit(DDS_Long value) {
  return value == DDS_LENGTH_UNLIMITED ? INT64_MAX : value;
}

}  // namespace

Batch::Batch(const DDS_BatchQosPolicy& limits, EngineWriter& writer)
    : writer_(writer),
      max_octets_(limit(limits.max_data_bytes)),
      max_samples_(limit(limits.max_samples)),
      delay_(to_nanoseconds(limits.max_flush_delay)) {
  if (delay_ != never) FlushClock::instance().add(*this);
}

Batch::~Batch() {
  if (delay_ != never) FlushClock::instance().remove(*this);
  flush();
}

DDS_ReturnCode_t Batch::make_room(std::uint32_t size) {
  {
    const MutexLock lock(mutex_);
    if (octets_ == 0 || octets_ + size <= max_octets_) return DDS_RETCODE_OK;
  }
  return flush();
}

DDS_ReturnCode_t Batch::added(std::uint32_t size) {
  bool first = false;
  {
    const MutexLock lock(mutex_);
    first = samples_ == 0;
    octets_ += size;
    samples_ += 1;
    if (octets_ < max_octets_ && samples_ < max_samples_) {
      if (first && delay_ != never) FlushClock::instance().start(*this);
      return DDS_RETCODE_OK;
    }
  }
  return flush();
}

DDS_ReturnCode_t Batch::flush() {
  {
    const MutexLock lock(mutex_);
    octets_ = 0;
    samples_ = 0;
    if (delay_ != never) FlushClock::instance().stop(*this);
  }
  return writer_.flush();
}

}  // namespace tessivar::platform
