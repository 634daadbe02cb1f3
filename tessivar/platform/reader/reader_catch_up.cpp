// SPDX-License-Identifier: Apache-2.0

// How a reader that delivers history again catches up with a new filter.
//
// Samples that the new filter rejects are rejected at once. For samples that only the new filter accepts, a thread of
// its own opens a second engine reader, which receives the writers' history. The first engine reader continues in the
// meantime. A sample that both deliver is inserted once into the cache. When the history is complete, the second engine
// reader replaces the first.
#include "tessivar/platform/detail/log.h"
#include "tessivar/platform/participant/participant_impl.h"
#include "tessivar/platform/participant/status_counts.h"
#include "tessivar/platform/participant/topic_impl.h"
#include "tessivar/platform/reader/reader_impl.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <exception>
#include <new>
#include <string>

using tessivar::platform::CompiledFilter;
using tessivar::platform::follow;
using tessivar::platform::log;
using tessivar::platform::log_joined;
using tessivar::platform::LogLevel;
using tessivar::platform::ReaderCache;
using tessivar::platform::ReaderSide;
using namespace std::chrono_literals;

namespace {

constexpr std::chrono::seconds longest_catch_up(30);
constexpr std::chrono::milliseconds first_pause(1);
constexpr std::chrono::milliseconds longest_pause(10);
constexpr std::chrono::milliseconds pause_without_memory(100);

}  // namespace

bool DDSDataReader::Impl::redelivers_history() const {
  constexpr const char* property = "dds.data_reader.state.filter_redundant_samples";
  const DDS_Property_t* redundant = DDSPropertyQosPolicyHelper::lookup_property(qos.property, property);
  return qos.durability.kind == DDS_TRANSIENT_LOCAL_DURABILITY_QOS && redundant && redundant->value &&
         std::strcmp(redundant->value, "0") == 0;
}

DDS_ReturnCode_t DDSDataReader::Impl::set_filter(const std::shared_ptr<CompiledFilter>& filter) {
  const std::lock_guard lock(structure);
  if (!side || closing) return DDS_RETCODE_OK;  // enable() uses the topic's filter
  if (!redelivers_history()) {
    side->set_filter(filter);
    return DDS_RETCODE_OK;
  }
  // The present side must not deliver instances that only the new filter accepts: it does not know all writers of them,
  // and the first writer that leaves would look like the last one. A new side receives these instances with their
  // history and so knows all their writers.
  side->narrow(filter);
  if (joining) joining->narrow(filter);
  next_filter = filter;
  if (catching_up) return DDS_RETCODE_OK;
  catch_up_thread.join();  // the thread is about to end
  try {
    catching_up = true;
    catch_up_thread = tessivar::platform::Thread("tessivar_filter", [this] { catch_up(); });
  } catch (const std::exception&) {
    catching_up = false;
    log_joined(LogLevel::error, "DDSDataReader",
               {"topic \"", topic->impl().name, "\": no thread to fetch the history that the new filter accepts"});
    return DDS_RETCODE_OUT_OF_RESOURCES;
  }
  return DDS_RETCODE_OK;
}

void DDSDataReader::Impl::catch_up() {
  for (;;) {
    std::shared_ptr<CompiledFilter> filter;
    DDS_ReturnCode_t result = DDS_RETCODE_OUT_OF_RESOURCES;
    try {
      {
        const std::lock_guard lock(structure);
        filter.swap(next_filter);
        if (!filter || closing) {
          catching_up = false;
          structure_changed.notify_all();
          return;
        }
        joining = make_side(filter);
        cache->begin_catch_up(joining->source());
      }
      result = catch_up_once(*filter);
    } catch (const std::bad_alloc&) {
      log(LogLevel::error, "DDSDataReader", "no memory to catch up with the new filter: it is tried again");
    }
    if (result == DDS_RETCODE_OK) continue;
    std::unique_ptr<ReaderSide> abandoned;  // destroyed after the lock is released
    std::unique_lock lock(structure);
    abandoned.swap(joining);
    cache->abandon_catch_up();
    if (result != DDS_RETCODE_OUT_OF_RESOURCES) continue;
    if (!next_filter) next_filter = filter;
    structure_changed.wait_for(lock, pause_without_memory, [this] { return closing; });
  }
}

/// Fails if the side cannot be opened, which is logged, or if the reader is about to close. Throws std::bad_alloc.
DDS_ReturnCode_t DDSDataReader::Impl::catch_up_once(const CompiledFilter& filter) {
  remove_rejected(filter);
  const DDS_ReturnCode_t opened = open(*joining);
  if (opened != DDS_RETCODE_OK) return opened;
  data_available(*joining);
  const History history = await_history();
  if (history == History::closing) return DDS_RETCODE_NOT_ENABLED;
  if (history == History::incomplete) {
    log_joined(LogLevel::warning, "DDSDataReader",
               {"topic \"", topic->impl().name, "\": a writer has not delivered its history after ",
                std::to_string(longest_catch_up.count()), " s; values that the new filter accepts may be missing"});
  }
  replace_side(history == History::complete);
  return DDS_RETCODE_OK;
}

/// Removes the instances that the new filter rejects from the cache. The application gets no report of this.
void DDSDataReader::Impl::remove_rejected(const CompiledFilter& filter) {
  const std::unique_ptr<void, void (*)(void*)> sample(type->create_sample(), type->destroy_sample);
  if (!sample) throw std::bad_alloc();
  for (const ReaderCache::Latest& latest : cache->latest()) {
    if (!type->decode(sample.get(), latest.data->bytes, latest.data->size)) {
      DDS_KeyHash_t hash;
      if (type->check(latest.data->bytes, latest.data->size, &hash)) throw std::bad_alloc();
      continue;
    }
    const DDS_FilterSampleInfo info = {tessivar::platform::to_time(latest.source_timestamp)};
    std::unique_lock lock(filter_mutex);
    const bool accepted = filter.accepts(sample.get(), info);
    lock.unlock();
    if (!accepted) cache->remove(latest);
  }
  update_conditions();
}

/// Waits until the joining side has matched as many writers as the present side and has received their history.
DDSDataReader::Impl::History DDSDataReader::Impl::await_history() {
  const auto end = std::chrono::steady_clock::now() + longest_catch_up;
  for (auto pause = first_pause;; pause = std::min(2 * pause, longest_pause)) {
    std::unique_lock lock(structure);
    if (closing) return History::closing;
    const bool knows_writers = joining->matched().current_count >= side->matched().current_count &&
                               joining->liveliness().alive_count >= side->liveliness().alive_count;
    lock.unlock();  // only this thread changes `joining`
    if (knows_writers && joining->engine().wait_for_historical_data(0) == DDS_RETCODE_OK) {
      data_available(*joining);  // the engine may not have announced its last samples yet
      if (!joining->is_behind()) return History::complete;
    }
    if (std::chrono::steady_clock::now() >= end) return History::incomplete;
    lock.lock();
    structure_changed.wait_for(lock, pause, [this] { return closing; });
  }
}

void DDSDataReader::Impl::replace_side(bool complete) {
  std::unique_ptr<ReaderSide> retired;
  DDS_StatusMask changed = 0;
  {
    std::unique_lock lock(structure);
    {
      const std::scoped_lock locks(access, status_mutex);
      retired = std::exchange(side, std::move(joining));
      changed = follow_new_side();
    }
    for (bool ended = false; !ended && !closing;) {
      try {
        // If the filter has changed again, the newer filter may have rejected instances that the history lacks.
        if (cache->end_catch_up(complete && !next_filter)) changed |= DDS_DATA_AVAILABLE_STATUS;
        ended = true;
      } catch (const std::bad_alloc&) {
        changed |= DDS_DATA_AVAILABLE_STATUS;  // for instances that were ended before the exception
        structure_changed.wait_for(lock, pause_without_memory, [this] { return closing; });
      }
    }
  }
  retired.reset();  // without a lock, because its last callbacks may wait for one
  update_conditions();
  report(changed);
}

/// Continues the counts with the new side: only matches beyond the writers that were already matched are new.
DDS_StatusMask DDSDataReader::Impl::follow_new_side() {
  DDS_StatusMask changed = std::exchange(deferred, 0);
  DDS_SubscriptionMatchedStatus now = side->matched();
  earlier.matched = matched.total_count - now.total_count + std::max(0, now.current_count - matched.current_count);
  now.total_count += earlier.matched;
  if (follow(matched, now)) changed |= DDS_SUBSCRIPTION_MATCHED_STATUS;
  counters->matches(matched.current_count);
  if (follow(liveliness, side->liveliness())) changed |= DDS_LIVELINESS_CHANGED_STATUS;
  earlier.deadline = deadline.total_count;
  earlier.lost = lost.total_count;
  earlier.rejected = rejected.total_count;
  return changed;
}
