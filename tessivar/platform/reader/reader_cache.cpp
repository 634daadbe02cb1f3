// SPDX-License-Identifier: Apache-2.0

// The table of instances, and the insertion of samples.
#include "tessivar/platform/reader/reader_cache.h"

#include "tessivar/platform/values/encoded_key.h"

#include <algorithm>
#include <chrono>
#include <cstring>

namespace tessivar::platform {

namespace {

/// The number of other writers whose last sample is remembered for one instance.
constexpr std::size_t max_other_writers = 16;

}  // namespace

std::int64_t ReaderCache::now() {
  return std::chrono::system_clock::now().time_since_epoch() / std::chrono::nanoseconds(1);
}

ReaderCache::ReaderCache(const PRESTypePlugin& type, const DDS_HistoryQosPolicy& history, bool catches_up)
    : type_(type),
      depth_(history.kind == DDS_KEEP_ALL_HISTORY_QOS ? UINT32_MAX
                                                      : static_cast<std::uint32_t>(std::max(1, history.depth))),
      catches_up_(catches_up) {}

ReaderCache::~ReaderCache() {
  for (Instance* instance : buckets_) {
    while (instance) {
      Instance* const next = instance->next_in_bucket;
      erase(*instance);
      instance = next;
    }
  }
}

// --- the table of instances ------------------------------------------------------------------------------------------

ReaderCache::Instance* ReaderCache::find(const KeyHash& hash) const {
  if (buckets_.empty()) return nullptr;
  Instance* instance = buckets_[KeyHashHasher()(hash) & (buckets_.size() - 1)];
  while (instance && instance->hash != hash) instance = instance->next_in_bucket;
  return instance;
}

ReaderCache::Instance& ReaderCache::add_instance(const KeyHash& hash) {
  if (size_ == 2 * buckets_.size()) {
    std::vector<Instance*> larger(std::max<std::size_t>(16, 2 * buckets_.size()));
    for (Instance* instance : buckets_) {
      while (instance) {
        Instance* const next = instance->next_in_bucket;
        Instance*& bucket = larger[KeyHashHasher()(instance->hash) & (larger.size() - 1)];
        instance->next_in_bucket = bucket;
        bucket = instance;
        instance = next;
      }
    }
    buckets_.swap(larger);
  }
  Instance* const instance = instances_.make(hash);
  Instance*& bucket = buckets_[KeyHashHasher()(hash) & (buckets_.size() - 1)];
  instance->next_in_bucket = bucket;
  bucket = instance;
  ++size_;
  order_.clear();
  return *instance;
}

void ReaderCache::erase(Instance& instance) {
  count_samples(instance, -1);
  for (Sample* sample = instance.first; sample;) {
    Sample* const next = sample->next;
    publications_.release(sample->writer);
    samples_.destroy(sample);
    sample = next;
  }
  publications_.release(instance.last_writer);
  forget_other_writers(instance);
  move_to(instance, List::none);
  Instance** place = &buckets_[KeyHashHasher()(instance.hash) & (buckets_.size() - 1)];
  while (*place != &instance) place = &(*place)->next_in_bucket;
  *place = instance.next_in_bucket;
  instances_.destroy(&instance);
  --size_;
}

// --- lists and counts ------------------------------------------------------------------------------------------------

void ReaderCache::move_to(Instance& instance, List list) {
  if (instance.list == list) return;
  instance.previous->next = instance.next;
  instance.next->previous = instance.previous;
  instance.previous = instance.next = &instance;
  instance.list = list;
  if (list == List::none) return;
  Link& head = list == List::unread ? unread_ : list == List::read ? read_ : ended_;
  instance.next = &head;
  instance.previous = head.previous;
  head.previous->next = &instance;
  head.previous = &instance;
}

void ReaderCache::update_list(Instance& instance) {
  move_to(instance, instance.unread_count ? List::unread : instance.count ? List::read : List::none);
}

void ReaderCache::count_samples(const Instance& instance, int sign) {
  if (instance.count == 0) return;
  const std::size_t state = instance.state / 2u;  // 1, 2, 4 become 0, 1, 2
  const std::size_t place = (instance.viewed ? 3u : 0u) + state;
  const std::size_t unread = instance.unread_count;
  const std::size_t read = instance.count - instance.unread_count;
  replaced_ += sign > 0 ? replaced(instance) : 0 - replaced(instance);
  counts_[place] += sign > 0 ? read : 0 - read;
  counts_[place + 6] += sign > 0 ? unread : 0 - unread;
}

// --- samples of an instance ------------------------------------------------------------------------------------------

/// Removes and destroys `sample`. `previous` is the sample before it in the chain; null if `sample` is the first.
void ReaderCache::unlink(Instance& instance, Sample* previous, Sample& sample, bool unread) {
  Sample* const next = sample.next;
  (previous ? previous->next : instance.first) = next;
  if (instance.last == &sample) instance.last = previous;
  if (instance.unread == &sample) instance.unread = next;
  if (unread) --instance.unread_count;
  --instance.count;
  // The remaining samples may hold only the hash of the key.
  if (!instance.key && (!instance.first || !instance.first->valid)) keep_key(instance, sample);
  publications_.release(sample.writer);
  samples_.destroy(&sample);
}

void ReaderCache::drop_invalid(Instance& instance) {
  if (!instance.last || instance.last->valid) return;
  Sample* previous = nullptr;
  if (instance.first != instance.last) {
    for (previous = instance.first; previous->next != instance.last;) previous = previous->next;
  }
  unlink(instance, previous, *instance.last, true);
}

void ReaderCache::drop_samples(Instance& instance) {
  while (instance.first) drop_first(instance);
}

/// Drops samples beyond the depth, so that at most `limit` samples remain. The caller updates counts and lists.
void ReaderCache::drop_replaced(Instance& instance, std::size_t limit) {
  while (instance.count > std::max<std::size_t>(limit, depth_)) drop_first(instance);
}

void ReaderCache::drop_first(Instance& instance) {
  unlink(instance, nullptr, *instance.first, instance.first == instance.unread);
}

/// Stores the key of `sample` in the instance. Returns false if memory is short: the instance then loses its key with
/// its samples.
bool ReaderCache::keep_key(Instance& instance, const Sample& sample) const {
  const EncodedSample& data = *sample.data.get();
  if (!data.bytes) return true;
  const std::size_t octets = data.key_only ? data.size : type_.encoded_to_key(data.bytes, data.size, nullptr, 0);
  const auto size = static_cast<std::uint32_t>(octets);
  instance.key.reset(new (std::nothrow) std::uint8_t[sizeof size + size]);
  if (!instance.key) return false;
  std::memcpy(instance.key.get(), &size, sizeof size);
  std::uint8_t* const key = instance.key.get() + sizeof size;
  if (data.key_only) {
    std::memcpy(key, data.bytes, size);
  } else {
    type_.encoded_to_key(data.bytes, data.size, key, size);
  }
  return true;
}

/// Returns the time at which the sample expires, in nanoseconds since 1970.
std::int64_t ReaderCache::expiry(const Sample& sample) const {
  const std::int64_t lifespan = publications_.lifespan(sample.writer);
  const std::int64_t begin = sample.data->reception_time ? sample.data->reception_time : sample.source_timestamp;
  return begin < never - lifespan ? begin + lifespan : never;
}

void ReaderCache::drop_expired() {
  if (expiries_.empty() || expiries_.front().time > now()) return;
  const std::int64_t time = now();
  for (; !expiries_.empty() && expiries_.front().time <= time; expiries_.pop_back()) {
    Instance* const instance = find(expiries_.front().instance);
    std::pop_heap(expiries_.begin(), expiries_.end());
    if (!instance || instance->list == List::ended) continue;
    count_samples(*instance, -1);
    Sample* previous = nullptr;
    bool unread = false;
    for (Sample* sample = instance->first; sample;) {
      Sample* const next = sample->next;
      unread = unread || sample == instance->unread;
      if (!sample->valid || expiry(*sample) > time) {
        previous = sample;
      } else if (instance->state != DDS_ALIVE_INSTANCE_STATE && unread && !next) {
        sample->valid = false;  // kept without data, because it reports the end of the instance
      } else {
        unlink(*instance, previous, *sample, unread);
      }
      sample = next;
    }
    update_list(*instance);
    count_samples(*instance, 1);
  }
}

void ReaderCache::keep_replaced(bool keep) {
  const MutexLock lock(mutex_);
  keeps_replaced_ = keep;
}

// --- what the sources deliver ----------------------------------------------------------------------------------------

void ReaderCache::set_source(Source source) {
  const MutexLock lock(mutex_);
  current_ = source;
}

ReaderCache::Change ReaderCache::insert(Source from, const std::vector<EngineSlot>& slots) {
  Change change;
  const MutexLock lock(mutex_);
  const bool from_replacement = from == replacement_;
  if (from == 0 || (from != current_ && !from_replacement)) {
    change.count = slots.size();
    return change;
  }
  drop_expired();
  try {
    for (; change.count < slots.size(); ++change.count) {
      if (merge(slots[change.count], from_replacement)) change.news = true;
    }
  } catch (const std::bad_alloc&) {  // `change.count` says how many slots were processed
  }
  return change;
}

/// Returns true if a sample was added or the instance ended.
bool ReaderCache::merge(const EngineSlot& slot, bool from_replacement) {
  const KeyHash hash = key_hash_of(slot.sample->key_hash);
  const std::int64_t timestamp = to_nanoseconds(slot.info.source_timestamp);
  Instance* instance = find(hash);
  const bool here = instance && instance->list != List::ended;
  // Disposes reach every reader of the participant. This reader ignores disposes of instances that are not in its
  // cache.
  if (!slot.info.valid_data && !here) return false;
  if (from_replacement && !here) {
    const auto ended = ended_meanwhile_.find(hash);
    if (ended != ended_meanwhile_.end() && timestamp <= ended->second) return false;
  }

  bool news = false;
  if (slot.info.valid_data) {
    struct Reference {
      Publications& publications;
      const Publications::Number number;
      ~Reference() { publications.release(number); }
    } const writer{publications_, publications_.hold(slot.info.publication_handle, slot.lifespan)};
    const bool may_repeat = here && (replacement_ || instance->awaited_from_replacement);
    if (!may_repeat || !is_repetition(*instance, writer.number, timestamp, from_replacement)) {
      if (slot.lifespan != never && expiries_.size() == expiries_.capacity())
        expiries_.reserve(2 * expiries_.size() + 1);
      Sample* const sample = samples_.make();
      try {
        if (!instance) {
          instance = &add_instance(hash);
        } else if (!here) {
          revive(*instance);
        }
        note_writer(*instance, writer.number, timestamp);  // does not allocate for a new instance
      } catch (...) {
        samples_.destroy(sample);
        throw;
      }
      sample->data = slot.sample;
      sample->source_timestamp = timestamp;
      sample->writer = writer.number;
      publications_.hold(writer.number);
      append(*instance, *sample, slot, from_replacement);
      if (slot.lifespan != never) {
        expiries_.push_back({expiry(*sample), hash});
        std::push_heap(expiries_.begin(), expiries_.end());
      }
      news = true;
    }
    if (replacement_ && !from_replacement) {
      if (news) instance->awaited_from_replacement = true;
    } else if (timestamp >= instance->last_timestamp) {
      instance->awaited_from_replacement = false;
    }
  }
  if (from_replacement) {
    instance->known_to_replacement = true;
    instance->end_in_replacement = 0;
  } else {
    instance->known_to_current = true;
  }
  if (slot.info.instance_state == DDS_ALIVE_INSTANCE_STATE) return news;
  // The current source decides as long as it is in use. If the replacement reports an instance without writers, this is
  // not final: the history of another writer may still arrive.
  const bool without_writers = slot.info.instance_state == DDS_NOT_ALIVE_NO_WRITERS_INSTANCE_STATE;
  if (from_replacement && (instance->known_to_current || without_writers)) {
    instance->end_in_replacement = static_cast<std::uint8_t>(slot.info.instance_state) & 7u;
    return news;
  }
  if (!from_replacement && replacement_) {
    ended_meanwhile_.insert_or_assign(hash, std::max(timestamp, instance->last_timestamp));
  }
  return end(*instance, slot.info.instance_state, slot.sample, timestamp) || news;
}

/// Makes an ended instance a new, alive instance.
void ReaderCache::revive(Instance& instance) {
  move_to(instance, List::none);
  publications_.release(std::exchange(instance.last_writer, Publications::none));
  instance.unread = nullptr;
  instance.last_timestamp = INT64_MIN;
  instance.disposed_generations = instance.no_writers_generations = 0;
  instance.knows_generation = false;
  instance.state = DDS_ALIVE_INSTANCE_STATE;
  instance.viewed = instance.known_to_current = instance.known_to_replacement = false;
  instance.awaited_from_replacement = false;
  instance.end_in_replacement = 0;
}

void ReaderCache::append(Instance& instance, Sample& sample, const EngineSlot& slot, bool from_replacement) {
  const auto generation =
      static_cast<std::uint16_t>(slot.info.disposed_generation_count + slot.info.no_writers_generation_count);
  const auto missed = static_cast<std::uint16_t>(generation - instance.source_generation);
  const bool comparable = !from_replacement && instance.knows_generation;
  const bool alive = instance.state == DDS_ALIVE_INSTANCE_STATE;
  // The sample was written before the end of the instance, which the cache already knows, and arrived after it.
  const bool late = comparable && missed == 0 && slot.info.instance_state != DDS_ALIVE_INSTANCE_STATE;
  count_samples(instance, -1);
  if (!alive && !late) {
    ++(instance.state == DDS_NOT_ALIVE_DISPOSED_INSTANCE_STATE ? instance.disposed_generations
                                                               : instance.no_writers_generations);
    instance.state = DDS_ALIVE_INSTANCE_STATE;
    instance.viewed = false;
  } else if (alive && comparable && missed > 0) {
    instance.disposed_generations += missed;
    instance.viewed = false;
  }
  if (!from_replacement) {
    instance.source_generation = generation;
    instance.knows_generation = true;
  }
  drop_invalid(instance);

  sample.disposed_generations = instance.disposed_generations;
  sample.no_writers_generations = instance.no_writers_generations;
  (instance.last ? instance.last->next : instance.first) = &sample;
  instance.last = &sample;
  if (!instance.unread) instance.unread = &sample;
  ++instance.count;
  ++instance.unread_count;
  // Old samples are dropped after the new one is in place. So the instance always has data, and its key need not be
  // stored separately.
  const std::size_t room = keeps_replaced_ ? max_replaced - std::min(replaced_, max_replaced) : 0;
  drop_replaced(instance, std::min<std::size_t>(instance.unread_count, depth_ + room));
  update_list(instance);
  count_samples(instance, 1);
}

/// Ends the instance. If it has no unread sample, adds a sample without data to report the end. Returns false if the
/// instance was already not alive.
bool ReaderCache::end(Instance& instance, DDS_InstanceStateKind state, const SampleRef& data, std::int64_t timestamp) {
  if (instance.state != DDS_ALIVE_INSTANCE_STATE) return false;
  Sample* const sample = instance.unread ? nullptr : samples_.make();
  count_samples(instance, -1);
  instance.state = static_cast<std::uint8_t>(state) & 7u;
  instance.last_timestamp = std::max(instance.last_timestamp, timestamp);
  if (sample) {
    sample->data = data;
    sample->valid = false;
    sample->source_timestamp = timestamp;
    sample->writer = instance.last_writer;
    publications_.hold(sample->writer);
    sample->disposed_generations = instance.disposed_generations;
    sample->no_writers_generations = instance.no_writers_generations;
    (instance.last ? instance.last->next : instance.first) = sample;
    instance.last = instance.unread = sample;
    ++instance.count;
    ++instance.unread_count;
  }
  update_list(instance);
  count_samples(instance, 1);
  return true;
}

/// Returns true if the other source has already delivered the sample, or if the sample is history that is older than
/// the samples in the cache.
bool ReaderCache::is_repetition(const Instance& instance, Publications::Number writer, std::int64_t timestamp,
                                bool from_replacement) const {
  if (writer == instance.last_writer) return timestamp <= instance.last_timestamp;
  if (instance.has_other_writers) {
    for (const LastOfWriter& last : other_writers_.find(instance.hash)->second) {
      if (last.writer == writer) return timestamp <= last.timestamp;
    }
  }
  return from_replacement && timestamp < instance.last_timestamp;
}

void ReaderCache::note_writer(Instance& instance, Publications::Number writer, std::int64_t timestamp) {
  if (instance.last_writer != writer) {
    if (instance.state != DDS_ALIVE_INSTANCE_STATE) forget_other_writers(instance);
    if (catches_up_ && instance.last_writer != Publications::none && instance.state == DDS_ALIVE_INSTANCE_STATE) {
      std::vector<LastOfWriter>& others = other_writers_[instance.hash];
      instance.has_other_writers = true;
      others.reserve(max_other_writers);
      const auto dropped = [&](const LastOfWriter& last) TESSIVAR_REQUIRES(mutex_) {
        const bool drops = last.writer == writer || last.writer == instance.last_writer;
        if (drops) publications_.release(last.writer);
        return drops;
      };
      std::erase_if(others, dropped);
      if (others.size() == max_other_writers) {
        publications_.release(others.front().writer);
        others.erase(others.begin());
      }
      publications_.hold(instance.last_writer);
      others.push_back({instance.last_writer, instance.last_timestamp});
    }
    publications_.hold(writer);
    publications_.release(instance.last_writer);
    instance.last_writer = writer;
  }
  instance.last_timestamp = timestamp;
}

void ReaderCache::forget_other_writers(Instance& instance) {
  if (!instance.has_other_writers) return;
  instance.has_other_writers = false;
  const auto others = other_writers_.find(instance.hash);
  for (const LastOfWriter& last : others->second) publications_.release(last.writer);
  other_writers_.erase(others);
}

}  // namespace tessivar::platform
