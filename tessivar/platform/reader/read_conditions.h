// SPDX-License-Identifier: Apache-2.0

// The read conditions of a data reader.
#pragma once

#include "tessivar/platform/condition.h"
#include "tessivar/platform/detail/counters.h"
#include "tessivar/platform/detail/mutex.h"
#include "tessivar/platform/reader/reader_cache.h"

#include <atomic>
#include <vector>

namespace tessivar::platform {

struct ReadConditionKind {
  DDS_SampleStateMask sample_states;
  DDS_ViewStateMask view_states;
  DDS_InstanceStateMask instance_states;
  bool every_change = false;  // see DDSDataReader::create_change_conditionI
};

/// Triggers exactly the conditions that select a sample that the reader has. Thread-safe. Its lock is taken before the
/// lock of the cache, and before the lock of conditions and wait sets (condition_impl.h).
class ReadConditions {
 public:
  ReadConditions(ReaderCache& cache, EndpointCounters& counters) : cache_(cache), counters_(counters) {}
  ~ReadConditions() { clear(); }
  ReadConditions(const ReadConditions&) = delete;
  ReadConditions& operator=(const ReadConditions&) = delete;

  /// Creates a condition of `reader`, which this object owns. Returns null, with one log line, if the masks select
  /// nothing. Throws std::bad_alloc.
  DDSReadCondition* create(DDSDataReader& reader, const ReadConditionKind& kind) TESSIVAR_EXCLUDES(mutex_);
  /// Deletes the condition. Returns false if it does not belong to the reader.
  bool remove(DDSReadCondition* condition) TESSIVAR_EXCLUDES(mutex_);
  /// Deletes all conditions.
  void clear() TESSIVAR_EXCLUDES(mutex_);
  bool empty() const TESSIVAR_EXCLUDES(mutex_);

  /// To be called after every change of the cache or of the states below.
  void update() TESSIVAR_EXCLUDES(mutex_);

  // Samples that wait outside the cache, because memory was short. They trigger conditions like samples in the cache.

  /// Sets the states of the samples that the last access could not hand out.
  void set_left_over(StateSet states) { left_over_ = states; }
  /// Sets whether samples wait at a subscription.
  void set_waiting_for_transfer(bool waiting) { waiting_for_transfer_ = waiting; }
  bool waiting_for_transfer() const { return waiting_for_transfer_; }

 private:
  void update_history() TESSIVAR_REQUIRES(mutex_);

  ReaderCache& cache_;
  EndpointCounters& counters_;
  std::atomic<StateSet> left_over_ = 0;
  std::atomic<bool> waiting_for_transfer_ = false;

  mutable Mutex mutex_;
  std::vector<DDSReadCondition*> conditions_ TESSIVAR_GUARDED_BY(mutex_);
  StateSet states_ TESSIVAR_GUARDED_BY(mutex_) = 0;  // of the samples at the last update
};

}  // namespace tessivar::platform
