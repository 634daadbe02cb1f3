// SPDX-License-Identifier: Apache-2.0

// Reads and takes from a reader's cache.
#include "tessivar/platform/reader/reader_cache.h"
#include "tessivar/platform/values/encoded_key.h"

#include <algorithm>
#include <cstring>
#include <numeric>

namespace tessivar::platform {

namespace {

bool selects_view(const ReaderSelection& selection, bool viewed) {
  return (selection.view_states & (viewed ? DDS_NOT_NEW_VIEW_STATE : DDS_NEW_VIEW_STATE)) != 0;
}

}  // namespace

StateSet states_of(DDS_SampleStateMask samples, DDS_ViewStateMask views, DDS_InstanceStateMask instances) {
  unsigned set = 0;
  for (unsigned sample : {0u, 1u}) {
    for (unsigned view : {0u, 1u}) {
      for (unsigned instance : {0u, 1u, 2u}) {
        const bool selected = (samples & (sample ? DDS_NOT_READ_SAMPLE_STATE : DDS_READ_SAMPLE_STATE)) &&
                              (views & (view ? DDS_NOT_NEW_VIEW_STATE : DDS_NEW_VIEW_STATE)) &&
                              (instances & (1u << instance));
        if (selected) set |= 1u << (6 * sample + 3 * view + instance);
      }
    }
  }
  return static_cast<StateSet>(set);
}

StateSet ReaderCache::states(std::size_t* unread) {
  const MutexLock lock(mutex_);
  drop_expired();
  unsigned set = 0;
  for (std::size_t place = 0; place < std::size(counts_); ++place) {
    if (counts_[place] > 0) set |= 1u << place;
  }
  if (unread) *unread = std::accumulate(counts_ + 6, counts_ + 12, std::size_t{0});
  return static_cast<StateSet>(set);
}

bool ReaderCache::knows(const KeyHash& hash) const {
  const MutexLock lock(mutex_);
  const Instance* const instance = find(hash);
  return instance && (instance->list != List::ended || instance->loan);
}

bool ReaderCache::is_alive(const KeyHash& hash) const {
  const MutexLock lock(mutex_);
  const Instance* const instance = find(hash);
  return instance && instance->state == DDS_ALIVE_INSTANCE_STATE;
}

DDS_ReturnCode_t ReaderCache::copy_key(const KeyHash& hash, void* key_holder) const {
  const auto decode = [&](const std::uint8_t* key, std::size_t size) {
    // The key was checked when it arrived, so it can fail only if memory is short.
    return type_.decode_key(key_holder, key, size) ? DDS_RETCODE_OK : DDS_RETCODE_OUT_OF_RESOURCES;
  };
  const MutexLock lock(mutex_);
  const Instance* const instance = find(hash);
  if (!instance) return DDS_RETCODE_BAD_PARAMETER;
  if (instance->key) {
    std::uint32_t size = 0;
    std::memcpy(&size, instance->key.get(), sizeof size);
    return decode(instance->key.get() + sizeof size, size);
  }
  if (!instance->first || !instance->first->data->bytes) return DDS_RETCODE_BAD_PARAMETER;
  const EncodedSample& data = *instance->first->data.get();
  if (data.key_only) return decode(data.bytes, data.size);
  try {
    const EncodedKey key([&](std::uint8_t* buffer, std::size_t capacity) {
      return type_.encoded_to_key(data.bytes, data.size, buffer, capacity);
    });
    return decode(key.data(), key.size());
  } catch (const std::bad_alloc&) {
    return DDS_RETCODE_OUT_OF_RESOURCES;
  }
}

std::optional<KeyHash> ReaderCache::next(const ReaderSelection& selection, const std::optional<KeyHash>& after) {
  const MutexLock lock(mutex_);
  if (order_.empty()) {
    order_.reserve(size_);
    for (const Instance* instance : buckets_) {
      for (; instance; instance = instance->next_in_bucket) order_.push_back(instance->hash);
    }
    std::sort(order_.begin(), order_.end());
  }
  auto position = after ? std::upper_bound(order_.begin(), order_.end(), *after) : order_.begin();
  for (; position != order_.end(); ++position) {
    const Instance* const instance = find(*position);
    if (instance && instance->list != List::ended && matching(*instance, selection) > 0) return *position;
  }
  return std::nullopt;
}

std::size_t ReaderCache::matching(const Instance& instance, const ReaderSelection& selection) const {
  if (instance.list == List::ended || !(selection.instance_states & instance.state) ||
      !selects_view(selection, instance.viewed)) {
    return 0;
  }
  std::size_t count = 0;
  if (selection.sample_states & DDS_READ_SAMPLE_STATE) count += instance.count - instance.unread_count;
  if (selection.sample_states & DDS_NOT_READ_SAMPLE_STATE) count += instance.unread_count;
  return count;
}

std::size_t ReaderCache::count(const ReaderSelection& selection, DDS_Long max) {
  const MutexLock lock(mutex_);
  drop_expired();
  forget_ended();
  std::size_t count = 0;
  if (selection.instance) {
    if (const Instance* const instance = find(*selection.instance)) count = matching(*instance, selection);
  } else {
    const StateSet states = states_of(selection.sample_states, selection.view_states, selection.instance_states);
    for (std::size_t place = 0; place < std::size(counts_); ++place) {
      if (states & (1u << place)) count += counts_[place];
    }
  }
  return max < 0 ? count : std::min(count, static_cast<std::size_t>(max));
}

bool ReaderCache::access(const ReaderSelection& selection, std::size_t max, std::vector<EngineSlot>& slots,
                         const void* loan) {
  const MutexLock lock(mutex_);
  try {
    emit_all(selection, max, slots, loan);
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  }
}

void ReaderCache::emit_all(const ReaderSelection& selection, std::size_t max, std::vector<EngineSlot>& slots,
                           const void* loan) {
  slots.reserve(slots.size() + max);
  if (selection.instance) {
    if (Instance* const instance = find(*selection.instance)) emit(*instance, selection, max, slots, loan);
    return;
  }
  // The instances in `read_` are alive, and all their samples are read: other selections need only `unread_`. Some in
  // `read_` may be new: alive again, with samples from before, and what came since has expired.
  const bool news_only =
      !(selection.sample_states & DDS_READ_SAMPLE_STATE) || !(selection.instance_states & DDS_ALIVE_INSTANCE_STATE);
  // Read samples arrived earlier, so they come first.
  for (Link* link = read_.next; !news_only && max > 0 && link != &read_;) {
    auto& instance = static_cast<Instance&>(*link);
    link = link->next;
    max -= emit(instance, selection, max, slots, loan);
  }
  for (Link* link = unread_.next; max > 0 && link != &unread_;) {
    auto& instance = static_cast<Instance&>(*link);
    link = link->next;
    max -= emit(instance, selection, max, slots, loan);
  }
}

/// Returns the number of appended samples. Throws std::bad_alloc before it changes anything.
std::size_t ReaderCache::emit(Instance& instance, const ReaderSelection& selection, std::size_t max,
                              std::vector<EngineSlot>& slots, const void* loan) {
  if (matching(instance, selection) == 0) return 0;
  const bool ended = instance.state != DDS_ALIVE_INSTANCE_STATE;
  if (replaced(instance) > 0 && (!selection.every_change || ended)) {
    // The last sample of an access reports the end, so the samples of an instance that has ended are returned together.
    count_samples(instance, -1);
    drop_replaced(instance, selection.every_change ? max : 0);
    count_samples(instance, 1);
  }
  const std::size_t count = std::min(matching(instance, selection), max);
  // The samples that are removed may be the only ones with the key.
  const bool may_lose_key = selection.take || ended;
  if (may_lose_key && !instance.key && !keep_key(instance, *instance.first)) throw std::bad_alloc();
  count_samples(instance, -1);
  Sample* previous = nullptr;
  Sample* sample = instance.first;
  if (!(selection.sample_states & DDS_READ_SAMPLE_STATE)) {
    // A take needs the sample before the first unread sample.
    for (; selection.take && sample != instance.unread; sample = sample->next) previous = sample;
    sample = instance.unread;
  }
  const auto first = static_cast<std::ptrdiff_t>(slots.size());
  bool unread = false;
  for (std::size_t i = 0; i < count; ++i) {
    unread = unread || sample == instance.unread;
    Sample* const next = sample->next;
    EngineSlot& slot = slots.emplace_back();
    slot.sample = sample->data;
    fill(slot.info, instance, *sample, !unread);
    if (selection.take) {
      unlink(instance, previous, *sample, unread);
    } else {
      if (unread) {
        instance.unread = next;
        --instance.unread_count;
      }
      previous = sample;
    }
    sample = next;
  }
  const auto generations = [](const DDS_SampleInfo& info) {
    return info.disposed_generation_count + info.no_writers_generation_count;
  };
  const DDS_Long current = instance.disposed_generations + instance.no_writers_generations;
  const DDS_Long latest = generations(slots.back().info);
  DDS_Long rank = static_cast<DDS_Long>(count);
  for (auto slot = slots.begin() + first; slot != slots.end(); ++slot) {
    slot->info.sample_rank = --rank;
    slot->info.generation_rank = latest - generations(slot->info);
    slot->info.absolute_generation_rank = current - generations(slot->info);
  }

  instance.viewed = true;
  drop_replaced(instance, instance.unread_count);
  if (ended && instance.unread_count == 0) {
    drop_samples(instance);
    forget_other_writers(instance);
    move_to(instance, List::ended);
    instance.loan = loan;
    return count;
  }
  update_list(instance);
  count_samples(instance, 1);
  return count;
}

void ReaderCache::fill(DDS_SampleInfo& info, const Instance& instance, const Sample& sample, bool read) const {
  info.sample_state = read ? DDS_READ_SAMPLE_STATE : DDS_NOT_READ_SAMPLE_STATE;
  info.view_state = instance.viewed ? DDS_NOT_NEW_VIEW_STATE : DDS_NEW_VIEW_STATE;
  info.instance_state = static_cast<DDS_InstanceStateKind>(instance.state);
  info.source_timestamp = to_time(sample.source_timestamp);
  // A sample of the same participant has no reception time. It is in the cache from the moment it was written.
  info.reception_timestamp =
      to_time(sample.data->reception_time ? sample.data->reception_time : sample.source_timestamp);
  info.instance_handle = handle_of(instance.hash);
  info.publication_handle = publications_.guid(sample.writer);
  info.disposed_generation_count = sample.disposed_generations;
  info.no_writers_generation_count = sample.no_writers_generations;
  info.valid_data = sample.valid ? DDS_BOOLEAN_TRUE : DDS_BOOLEAN_FALSE;
}

void ReaderCache::forget_ended() {
  for (Link* link = ended_.next; link != &ended_;) {
    auto& instance = static_cast<Instance&>(*link);
    link = link->next;
    if (!instance.loan) erase(instance);
  }
}

void ReaderCache::loan_returned(const void* loan) {
  const MutexLock lock(mutex_);
  for (Link* link = ended_.next; link != &ended_; link = link->next) {
    auto& instance = static_cast<Instance&>(*link);
    if (instance.loan == loan) instance.loan = nullptr;
  }
}

}  // namespace tessivar::platform
