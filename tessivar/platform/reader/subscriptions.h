// SPDX-License-Identifier: Apache-2.0

// The subscriptions of a data reader: opens them, changes their filter, and replaces the current subscription.
//
// When the filter of a reader changes that catches up, samples that the new filter rejects are rejected at once. For
// samples that only the new filter accepts, a thread of its own opens a second subscription, the replacement, which
// receives the writers' history. The current subscription continues in the meantime. A sample that both deliver is
// inserted once into the cache. When the history is complete, the replacement becomes the current subscription.
#pragma once

#include "tessivar/platform/detail/mutex.h"
#include "tessivar/platform/reader/compiled_filter.h"
#include "tessivar/platform/reader/read_conditions.h"
#include "tessivar/platform/reader/reader_cache.h"
#include "tessivar/platform/reader/reader_description.h"
#include "tessivar/platform/reader/reader_statuses.h"
#include "tessivar/platform/reader/sample_access.h"
#include "tessivar/platform/reader/subscription.h"
#include "tessivar/platform/system/thread.h"

#include <memory>
#include <string>

namespace tessivar::platform {

/// Thread-safe. `mutex_` is held for a short time only, and no listener runs while it is held. It is taken before the
/// locks of the access, of the statuses and of the subscriptions.
class Subscriptions {
 public:
  Subscriptions(const ReaderDescription& reader, ReaderCache& cache, ReadConditions& conditions, SampleAccess& access,
                ReaderStatuses& statuses, SubscriptionEvents& events);
  ~Subscriptions() { close(); }

  /// Opens the first subscription. Logs a failure of the engine.
  DDS_ReturnCode_t open() TESSIVAR_EXCLUDES(mutex_);
  /// Closes the subscriptions and ends the catch-up. When it returns, no callback is running and none will follow. Must
  /// not be called from a callback.
  void close() TESSIVAR_EXCLUDES(mutex_);
  /// Replaces the filter for new samples. If the reader catches up, it begins to do so on another thread; the call does
  /// not wait for that.
  DDS_ReturnCode_t set_filter(const std::shared_ptr<CompiledFilter>& filter) TESSIVAR_EXCLUDES(mutex_);
  /// Waits until the history has arrived, also that of a catch-up, at most `timeout` nanoseconds (`never`: no limit).
  DDS_ReturnCode_t wait_for_history(std::int64_t timeout) TESSIVAR_EXCLUDES(mutex_);

 private:
  /// For calls of the listeners, which are made without the lock.
  SubscriptionEvents& events() TESSIVAR_EXCLUDES(mutex_) { return events_; }
  std::unique_ptr<Subscription> make(std::shared_ptr<CompiledFilter> filter) TESSIVAR_REQUIRES(mutex_);
  DDS_ReturnCode_t open(Subscription& opened, std::string& error) const;
  void log_failure(const std::string& error) const;

  // The thread of the catch-up.
  void catch_up() TESSIVAR_EXCLUDES(mutex_);
  DDS_ReturnCode_t catch_up(Subscription& replacement, const CompiledFilter& filter, std::string& error)
      TESSIVAR_EXCLUDES(mutex_);
  void remove_rejected(const CompiledFilter& filter) TESSIVAR_EXCLUDES(filter_mutex_);
  enum class History { complete, incomplete, closing };
  History await_history(Subscription& replacement) TESSIVAR_EXCLUDES(mutex_);
  void replace_current(bool complete) TESSIVAR_EXCLUDES(mutex_);

  const ReaderDescription& reader_;
  ReaderCache& cache_;
  ReadConditions& conditions_;
  SampleAccess& access_;
  ReaderStatuses& statuses_;
  SubscriptionEvents& events_;

  /// Held while a filter evaluates a sample, so that one thread at a time calls the filter for this reader.
  Mutex filter_mutex_;

  Mutex mutex_ TESSIVAR_ACQUIRED_BEFORE(filter_mutex_);
  Condition changed_;
  bool closing_ TESSIVAR_GUARDED_BY(mutex_) = false;
  ReaderCache::Source count_ TESSIVAR_GUARDED_BY(mutex_) = 0;  // of subscriptions made so far
  std::unique_ptr<Subscription> current_ TESSIVAR_GUARDED_BY(mutex_);
  std::unique_ptr<Subscription> replacement_ TESSIVAR_GUARDED_BY(mutex_);
  std::shared_ptr<CompiledFilter> next_filter_ TESSIVAR_GUARDED_BY(mutex_);  // to catch up with next, or null
  bool catching_up_ TESSIVAR_GUARDED_BY(mutex_) = false;
  Thread catch_up_thread_ TESSIVAR_GUARDED_BY(mutex_);
};

}  // namespace tessivar::platform
