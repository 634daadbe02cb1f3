// SPDX-License-Identifier: Apache-2.0

// Changes a reader's cache when the filter of the reader changes.
#include "tessivar/platform/reader/reader_cache.h"

#include <algorithm>
#include <atomic>

namespace tessivar::platform {

namespace {

/// A key with a hash only, for an instance that has no sample in the cache.
struct KeyOnly : EncodedSample {
  explicit KeyOnly(const KeyHash& hash) : EncodedSample() {
    key_only = true;
    std::copy(hash.begin(), hash.end(), key_hash);
    retain = [](EncodedSample* sample) { ++static_cast<KeyOnly*>(sample)->references; };
    release = [](EncodedSample* sample) {
      auto* const own = static_cast<KeyOnly*>(sample);
      if (--own->references == 0) delete own;
    };
  }
  std::atomic<int> references = 1;
};

}  // namespace

void ReaderCache::begin_catch_up(Source replacement) {
  const MutexLock lock(mutex_);
  replacement_ = replacement;
  ended_meanwhile_.clear();
}

void ReaderCache::abandon_catch_up() {
  begin_catch_up(0);
}

bool ReaderCache::end_catch_up(bool complete) {
  const MutexLock lock(mutex_);
  bool news = false;
  const auto for_each_instance = [&](auto&& visit) TESSIVAR_REQUIRES(mutex_) {
    for (Instance* instance : buckets_) {
      while (instance) {
        Instance* const next = instance->next_in_bucket;
        if (instance->list != List::ended) visit(*instance);
        instance = next;
      }
    }
  };
  // The steps that allocate come first. They can be repeated.
  for_each_instance([&](Instance& instance) TESSIVAR_REQUIRES(mutex_) {
    unsigned state = instance.end_in_replacement;
    const bool known = instance.known_to_replacement || instance.awaited_from_replacement;
    if (complete && !known && instance.state == DDS_ALIVE_INSTANCE_STATE) {
      // Without data it is not known whether the filter rejects the instance. A rejected instance is removed, not
      // ended.
      if (instance.count == 0) return erase(instance);
      state = DDS_NOT_ALIVE_DISPOSED_INSTANCE_STATE;
    }
    if (state == 0) return;
    const SampleRef data = instance.last ? instance.last->data : SampleRef(new KeyOnly(instance.hash));
    if (end(instance, static_cast<DDS_InstanceStateKind>(state), data, now())) news = true;
  });
  for_each_instance([](Instance& instance) {
    instance.knows_generation = false;
    instance.known_to_current = instance.known_to_replacement;
    instance.known_to_replacement = false;
    instance.end_in_replacement = 0;
  });
  current_ = std::exchange(replacement_, Source{0});
  ended_meanwhile_.clear();
  return news;
}

std::vector<ReaderCache::Latest> ReaderCache::latest() const {
  std::vector<Latest> result;
  const MutexLock lock(mutex_);
  result.reserve(size_);
  for (const Instance* instance : buckets_) {
    for (; instance; instance = instance->next_in_bucket) {
      const Sample* const last = instance->last;
      if (instance->state == DDS_ALIVE_INSTANCE_STATE && last) result.push_back({last->data, last->source_timestamp});
    }
  }
  return result;
}

void ReaderCache::remove(const Latest& sample) {
  const MutexLock lock(mutex_);
  Instance* const instance = find(key_hash_of(sample.data->key_hash));
  if (instance && instance->state == DDS_ALIVE_INSTANCE_STATE && instance->last &&
      instance->last->data.get() == sample.data.get()) {
    erase(*instance);
  }
}

}  // namespace tessivar::platform
