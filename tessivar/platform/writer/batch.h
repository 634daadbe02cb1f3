// SPDX-License-Identifier: Apache-2.0

// Decides when the batched samples of one writer are sent: when a limit of octets or samples is reached, or when the
// oldest sample has waited for the maximum delay.
#pragma once

#include "tessivar/platform/detail/mutex.h"
#include "tessivar/platform/engine/engine.h"
#include "tessivar/platform/qos.h"

namespace tessivar::platform {

/// Thread-safe. One thread sends the batches of all writers when their delay has passed. It exists while there is a
/// batch with a delay.
class Batch {
 public:
  /// `writer` must outlive the batch. Throws std::system_error if the thread for the delay cannot be created.
  Batch(const DDS_BatchQosPolicy& limits, EngineWriter& writer);
  /// Waits for the end of a delayed flush and sends the collected samples.
  ~Batch();
  Batch(const Batch&) = delete;
  Batch& operator=(const Batch&) = delete;

  /// To be called before a sample of `size` octets is written. Sends the collected samples if the batch would exceed
  /// its limit of octets with this sample.
  DDS_ReturnCode_t make_room(std::uint32_t size);
  /// To be called after the sample was written. Sends the batch if a limit is reached.
  DDS_ReturnCode_t added(std::uint32_t size);
  DDS_ReturnCode_t flush();

 private:
  friend class FlushClock;

  EngineWriter& writer_;
  const std::int64_t max_octets_;
  const std::int64_t max_samples_;
  const std::int64_t delay_;  // nanoseconds; `never`: no limit
  Mutex mutex_;
  std::int64_t octets_ TESSIVAR_GUARDED_BY(mutex_) = 0;
  std::int64_t samples_ TESSIVAR_GUARDED_BY(mutex_) = 0;
  std::int64_t due_ = never;  // belongs to FlushClock and is guarded by its lock
};

}  // namespace tessivar::platform
