// SPDX-License-Identifier: Apache-2.0

// The implementation of conditions and wait sets.
//
// A reader triggers its read conditions, the application triggers its guard conditions. A triggered condition wakes the
// threads that wait for it. attachments_mutex() is not held while a thread waits.
#pragma once

#include "tessivar/platform/condition.h"
#include "tessivar/platform/detail/fork.h"
#include "tessivar/platform/detail/mutex.h"
#include "tessivar/platform/reader/reader_cache.h"

#include <chrono>
#include <memory>
#include <vector>

namespace tessivar::platform {

/// Returns the lock of the process that guards which conditions are attached to which wait sets, and which conditions
/// are triggered.
Mutex& attachments_mutex();

/// Its destructor wakes the threads that wait for the conditions that were triggered with it. Create it before the lock
/// of the caller: a thread that is woken while a lock is held only waits for that lock.
class Wake {
 public:
  Wake() = default;
  ~Wake() {
    if (waiting_) waiting_->notify_one();
  }
  Wake(const Wake&) = delete;
  Wake& operator=(const Wake&) = delete;

  void add(const std::shared_ptr<Condition>& waiting) {
    if (waiting_ && waiting_ != waiting) waiting_->notify_one();
    waiting_ = waiting;
  }

 private:
  std::shared_ptr<Condition> waiting_;  // the wait set may be destroyed meanwhile
};

}  // namespace tessivar::platform

struct DDSCondition::Impl {
  ~Impl();

  const tessivar::platform::MadeHere made_here = {};

  std::vector<DDSWaitSet::Impl*> wait_sets TESSIVAR_GUARDED_BY(tessivar::platform::attachments_mutex());
  bool triggered TESSIVAR_GUARDED_BY(tessivar::platform::attachments_mutex()) = false;

  // Members of a read condition.
  DDSDataReader* reader = nullptr;
  DDS_SampleStateMask sample_states = 0;
  DDS_ViewStateMask view_states = 0;
  DDS_InstanceStateMask instance_states = 0;
  tessivar::platform::StateSet states = 0;  // the same three masks combined
  bool every_change = false;                // see DDSDataReader::create_change_conditionI
};

/// While samples arrive often for conditions that handle every change, a wait gathers: it lasts `gather_time`, so that
/// one wake-up of the thread serves many samples. Other conditions end it at once. After a quiet time the first sample
/// ends a wait at once, too.
struct DDSWaitSet::Impl {
  DDS_ReturnCode_t attach(DDSCondition& condition) TESSIVAR_EXCLUDES(tessivar::platform::attachments_mutex());

  typedef std::chrono::steady_clock Clock;
  /// A gathering wait lasts so long.
  static constexpr std::chrono::microseconds gather_time{1000};
  /// The next wait gathers if a sample arrived so soon after the beginning of this wait …
  static constexpr std::chrono::microseconds frequent{250};
  /// … or, if this wait has gathered, so soon.
  static constexpr std::chrono::microseconds still_frequent{500};

  const tessivar::platform::MadeHere made_here = {};
  /// In the order of attachment.
  std::vector<DDSCondition*> conditions TESSIVAR_GUARDED_BY(tessivar::platform::attachments_mutex());
  /// Notified when a condition is triggered or attached.
  const std::shared_ptr<tessivar::platform::Condition> changed = std::make_shared<tessivar::platform::Condition>();
  bool waiting TESSIVAR_GUARDED_BY(tessivar::platform::attachments_mutex()) = false;
  /// The next wait gathers.
  bool gathers_next TESSIVAR_GUARDED_BY(tessivar::platform::attachments_mutex()) = false;
  /// The waiting thread must not be woken for conditions that handle every change.
  bool gathering TESSIVAR_GUARDED_BY(tessivar::platform::attachments_mutex()) = false;
  /// When a condition that handles every change was triggered the last time.
  Clock::time_point news TESSIVAR_GUARDED_BY(tessivar::platform::attachments_mutex()) = {};

  /// Wakes the waiting thread for a triggered condition.
  void wake_for(const DDSCondition::Impl& condition, tessivar::platform::Wake& wake)
      TESSIVAR_REQUIRES(tessivar::platform::attachments_mutex());
  /// Returns true if a condition is triggered; with `at_once`, only if it ends also a wait that gathers.
  bool ready(bool at_once) const TESSIVAR_REQUIRES(tessivar::platform::attachments_mutex());
  /// Returns true if a condition that handles every change is triggered.
  bool has_news() const TESSIVAR_REQUIRES(tessivar::platform::attachments_mutex());
  /// Waits until a condition is triggered, at most until `deadline`.
  void wait(tessivar::platform::UniqueMutexLock& lock, Clock::time_point deadline)
      TESSIVAR_REQUIRES(tessivar::platform::attachments_mutex());
};

namespace tessivar::platform {

void set_triggered(DDSCondition& condition, bool triggered, Wake& wake);

bool is_triggered(const DDSCondition::Impl& condition);

}  // namespace tessivar::platform
