// SPDX-License-Identifier: Apache-2.0

#include "tessivar/platform/reader/subscriptions.h"

#include "tessivar/platform/detail/log.h"
#include "tessivar/platform/participant/participant_impl.h"
#include "tessivar/platform/participant/topic_impl.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <new>
#include <utility>

namespace tessivar::platform {

namespace {

/// The longest time that wait_for_history() holds the lock without a break, in nanoseconds.
constexpr std::int64_t longest_wait = 5000000;

constexpr std::chrono::seconds longest_catch_up(30);
constexpr std::chrono::milliseconds first_pause(1);
constexpr std::chrono::milliseconds longest_pause(10);
constexpr std::chrono::milliseconds pause_without_memory(100);

}  // namespace

Subscriptions::Subscriptions(const ReaderDescription& reader, ReaderCache& cache, ReadConditions& conditions,
                             SampleAccess& access, ReaderStatuses& statuses, SubscriptionEvents& events)
    : reader_(reader), cache_(cache), conditions_(conditions), access_(access), statuses_(statuses), events_(events) {}

std::unique_ptr<Subscription> Subscriptions::make(std::shared_ptr<CompiledFilter> filter) {
  return std::make_unique<Subscription>(reader_, cache_, conditions_, events_, std::move(filter), filter_mutex_,
                                        ++count_);
}

/// On failure, `error` is the reason; it stays empty if there is nothing to log.
DDS_ReturnCode_t Subscriptions::open(Subscription& opened, std::string& error) const {
  EngineParticipant* bus = reader_.participant.impl().engine;
  if (!bus) return DDS_RETCODE_PRECONDITION_NOT_MET;
  EngineReaderConfig config;
  config.topic = reader_.topic->impl().name;
  config.type = reader_.type;
  config.qos = reader_.qos;
  config.ignore_own_participant = reader_.participant.impl().ignores_itself;
  return opened.open(*bus, std::move(config), error);
}

void Subscriptions::log_failure(const std::string& error) const {
  log_joined(LogLevel::error, "DDSDataReader", {"topic \"", reader_.topic->impl().name, "\": ", error});
}

DDS_ReturnCode_t Subscriptions::open() {
  // Not `mutex_`: the caller may be a filter that runs with it held.
  if (statuses_.enabled()) return DDS_RETCODE_OK;
  if (reader_.participant.impl().cannot_enable_entity("DDSDataReader::enable")) return DDS_RETCODE_ILLEGAL_OPERATION;
  DDS_StatusMask changed = 0;
  {
    const MutexLock lock(mutex_);
    if (current_) return DDS_RETCODE_OK;
    auto first = make(reader_.filtered_topic ? reader_.filtered_topic->impl().current() : nullptr);
    cache_.set_source(first->source());
    std::string error;
    const DDS_ReturnCode_t result = open(*first, error);
    if (result != DDS_RETCODE_OK) {
      if (!error.empty()) log_failure(error);
      return result;
    }
    if (first->transfer()) changed |= DDS_DATA_AVAILABLE_STATUS;
    current_ = std::move(first);
    access_.set_subscription(current_.get());
    changed |= statuses_.begin(*current_);
  }
  events().report(changed);
  return DDS_RETCODE_OK;
}

void Subscriptions::close() {
  Thread catch_up_thread;
  {
    const MutexLock lock(mutex_);
    closing_ = true;
    catch_up_thread = std::move(catch_up_thread_);
  }
  changed_.notify_all();
  catch_up_thread.join();
  std::unique_ptr<Subscription> closed;  // destroyed after the lock is released
  const MutexLock lock(mutex_);
  access_.set_subscription(nullptr);
  statuses_.end();
  closed.swap(current_);
}

DDS_ReturnCode_t Subscriptions::wait_for_history(std::int64_t timeout) {
  // Waits in slices, because the subscription may be replaced in the meantime.
  for (std::int64_t left = timeout;;) {
    bool news = false;
    DDS_ReturnCode_t result = DDS_RETCODE_TIMEOUT;
    const std::int64_t slice = std::min(left, longest_wait);
    {
      UniqueMutexLock lock(mutex_);
      if (!current_ || closing_) return DDS_RETCODE_NOT_ENABLED;
      if (reader_.qos.durability.kind == DDS_VOLATILE_DURABILITY_QOS) return DDS_RETCODE_OK;
      if (catching_up_) {
        changed_.wait_for(lock, std::chrono::nanoseconds(slice),
                          [this]() TESSIVAR_REQUIRES(mutex_) { return !catching_up_ || closing_; });
      } else {
        result = current_->engine().wait_for_historical_data(slice);
      }
      // The engine may not have announced its last samples yet.
      if (result == DDS_RETCODE_OK) news = current_->transfer();
    }
    if (news) events().report(DDS_DATA_AVAILABLE_STATUS);
    if (left != never) left -= slice;
    if (result != DDS_RETCODE_TIMEOUT || left == 0) return result;
  }
}

// --- change of the filter --------------------------------------------------------------------------------------------

DDS_ReturnCode_t Subscriptions::set_filter(const std::shared_ptr<CompiledFilter>& filter) {
  std::shared_ptr<CompiledFilter> replaced[3];  // destroyed without the lock, because finalize() of a filter may run
  const MutexLock lock(mutex_);
  if (!current_ || closing_) return DDS_RETCODE_OK;  // open() uses the topic's filter
  if (!reader_.catches_up()) {
    replaced[0] = current_->set_filter(filter);
    return DDS_RETCODE_OK;
  }
  // The current subscription must not deliver instances that only the new filter accepts: it does not know all writers
  // of them, and the first writer that leaves would look like the last one. The replacement receives these instances
  // with their history and so knows all their writers.
  replaced[0] = current_->narrow(filter);
  if (replacement_) replaced[1] = replacement_->narrow(filter);
  replaced[2] = std::exchange(next_filter_, filter);
  if (catching_up_) return DDS_RETCODE_OK;
  catch_up_thread_.join();  // the thread is about to end
  try {
    catching_up_ = true;
    catch_up_thread_ = Thread("tessivar_filter", [this] { catch_up(); });
  } catch (const std::exception&) {
    catching_up_ = false;
    log_failure("no thread to fetch the history that the new filter accepts");
    return DDS_RETCODE_OUT_OF_RESOURCES;
  }
  return DDS_RETCODE_OK;
}

void Subscriptions::catch_up() {
  bool logged = false;  // the last attempt failed because memory was short: a repetition logs nothing
  for (;;) {
    std::shared_ptr<CompiledFilter> filter;
    DDS_ReturnCode_t result = DDS_RETCODE_OUT_OF_RESOURCES;
    std::string error;
    try {
      Subscription* replacement = nullptr;
      {
        const MutexLock lock(mutex_);
        filter.swap(next_filter_);
        if (!filter || closing_) {
          catching_up_ = false;
          changed_.notify_all();
          return;
        }
        replacement_ = make(filter);
        replacement = replacement_.get();
        cache_.begin_catch_up(replacement->source());
      }
      result = catch_up(*replacement, *filter, error);
    } catch (const std::bad_alloc&) {
      if (!logged) {
        log(LogLevel::error, "DDSDataReader", "no memory to catch up with the new filter: it is tried again");
      }
    }
    if (result == DDS_RETCODE_OK) {
      logged = false;
      continue;
    }
    const bool repeats = logged && result == DDS_RETCODE_OUT_OF_RESOURCES;
    if (!error.empty() && !repeats) log_failure(error);
    logged = result == DDS_RETCODE_OUT_OF_RESOURCES;
    std::unique_ptr<Subscription> abandoned;  // destroyed after the lock is released
    UniqueMutexLock lock(mutex_);
    abandoned.swap(replacement_);
    cache_.abandon_catch_up();
    if (result != DDS_RETCODE_OUT_OF_RESOURCES) continue;
    if (!next_filter_) next_filter_ = filter;
    changed_.wait_for(lock, pause_without_memory, [this]() TESSIVAR_REQUIRES(mutex_) { return closing_; });
  }
}

/// Fails if the replacement cannot be opened, or if the reader is about to close. Throws std::bad_alloc.
DDS_ReturnCode_t Subscriptions::catch_up(Subscription& replacement, const CompiledFilter& filter, std::string& error) {
  remove_rejected(filter);
  const DDS_ReturnCode_t opened = open(replacement, error);
  if (opened != DDS_RETCODE_OK) return opened;
  events().data_available(replacement);
  const History history = await_history(replacement);
  if (history == History::closing) return DDS_RETCODE_NOT_ENABLED;
  if (history == History::incomplete) {
    log_joined(LogLevel::warning, "DDSDataReader",
               {"topic \"", reader_.topic->impl().name, "\": a writer has not delivered its history after ",
                std::to_string(longest_catch_up.count()), " s; values that the new filter accepts may be missing"});
  }
  replace_current(history == History::complete);
  return DDS_RETCODE_OK;
}

/// Removes the instances that the new filter rejects from the cache. The application gets no report of this.
void Subscriptions::remove_rejected(const CompiledFilter& filter) {
  const PRESTypePlugin& type = *reader_.type;
  const std::unique_ptr<void, void (*)(void*)> sample(type.create_sample(), type.destroy_sample);
  if (!sample) throw std::bad_alloc();
  for (const ReaderCache::Latest& latest : cache_.latest()) {
    if (!type.decode(sample.get(), latest.data->bytes, latest.data->size)) {
      DDS_KeyHash_t hash;
      if (type.check(latest.data->bytes, latest.data->size, &hash)) throw std::bad_alloc();
      continue;
    }
    bool accepted = false;
    {
      const MutexLock lock(filter_mutex_);
      accepted = filter.accepts(sample.get(), {to_time(latest.source_timestamp)});
    }
    if (!accepted) cache_.remove(latest);
  }
  conditions_.update();
}

/// Waits until the replacement has matched as many writers as the current subscription and has received their history.
Subscriptions::History Subscriptions::await_history(Subscription& replacement) {
  const auto end = std::chrono::steady_clock::now() + longest_catch_up;
  for (auto pause = first_pause;; pause = std::min(2 * pause, longest_pause)) {
    bool knows_writers = false;
    {
      const MutexLock lock(mutex_);
      if (closing_) return History::closing;
      knows_writers = replacement.matched().current_count >= current_->matched().current_count &&
                      replacement.liveliness().alive_count >= current_->liveliness().alive_count;
    }
    if (knows_writers && replacement.engine().wait_for_historical_data(0) == DDS_RETCODE_OK) {
      events().data_available(replacement);  // the engine may not have announced its last samples yet
      if (!replacement.has_remaining_samples()) return History::complete;
    }
    if (std::chrono::steady_clock::now() >= end) return History::incomplete;
    UniqueMutexLock lock(mutex_);
    changed_.wait_for(lock, pause, [this]() TESSIVAR_REQUIRES(mutex_) { return closing_; });
  }
}

/// Makes the replacement the current subscription. `complete` says that it has received the whole history.
void Subscriptions::replace_current(bool complete) {
  std::unique_ptr<Subscription> replaced;
  DDS_StatusMask changed = 0;
  {
    UniqueMutexLock lock(mutex_);
    replaced = std::exchange(current_, std::move(replacement_));
    access_.set_subscription(current_.get());
    changed = statuses_.replace(*current_);
    for (bool ended = false; !ended && !closing_;) {
      try {
        // If the filter has changed again, the newer filter may have rejected instances that the history lacks.
        if (cache_.end_catch_up(complete && !next_filter_)) changed |= DDS_DATA_AVAILABLE_STATUS;
        ended = true;
      } catch (const std::bad_alloc&) {
        changed |= DDS_DATA_AVAILABLE_STATUS;  // for instances that were ended before the exception
        changed_.wait_for(lock, pause_without_memory, [this]() TESSIVAR_REQUIRES(mutex_) { return closing_; });
      }
    }
  }
  replaced.reset();  // without a lock, because its last callbacks may wait for one
  conditions_.update();
  events().report(changed);
}

}  // namespace tessivar::platform
