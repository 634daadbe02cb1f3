// When the batched samples of one writer are sent: at a limit of octets or samples, or when the oldest has waited long
// enough.
#pragma once

#include "tessivar/platform/detail/mutex.h"
#include "tessivar/platform/engine/engine.h"
#include "tessivar/platform/qos.h"

#include <mutex>

namespace tessivar::platform {

/// Thread-safe. The delays of all writers are kept by one thread, which exists while there is a batch with a delay.
class Batch {
 public:
  /// `writer` outlives the batch. Throws std::system_error when no thread for its delay can be had.
  Batch(const DDS_BatchQosPolicy& limits, EngineWriter& writer);
  /// What was collected is sent; no flush is under way any more.
  ~Batch();
  Batch(const Batch&) = delete;
  Batch& operator=(const Batch&) = delete;

  /// Before a sample of `size` octets is written: sends what is there when the two would be too much for one batch.
  DDS_ReturnCode_t make_room(std::uint32_t size);
  /// After it was written: sends when a limit is reached.
  DDS_ReturnCode_t added(std::uint32_t size);
  DDS_ReturnCode_t flush();

 private:
  friend class FlushClock;

  EngineWriter& writer_;
  const std::int64_t max_octets_;
  const std::int64_t max_samples_;
  const std::int64_t delay_;  // nanoseconds; `never` without limit
  Mutex mutex_;
  std::int64_t octets_ = 0;
  std::int64_t samples_ = 0;
  std::int64_t due_ = never;  // of the flush clock, under its lock
};

}  // namespace tessivar::platform
