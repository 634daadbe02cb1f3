#include "tessivar/platform/reader_instances.h"

#include "tessivar/platform/encoded_key.h"

#include <algorithm>

namespace tessivar::platform {

namespace {

constexpr DDS_SampleStateMask both_sample_states = DDS_READ_SAMPLE_STATE | DDS_NOT_READ_SAMPLE_STATE;
constexpr DDS_ViewStateMask both_view_states = DDS_NEW_VIEW_STATE | DDS_NOT_NEW_VIEW_STATE;

bool covers(DDS_UnsignedLong mask, DDS_UnsignedLong states) {
  return (mask & states) == states;
}

}  // namespace

void ReaderInstances::accepted(const EncodedSample& sample, EngineHandle instance) {
  const KeyHash hash = key_hash_of(sample.key_hash);
  const std::lock_guard lock(mutex_);
  const auto [known, added] = by_hash_.try_emplace(hash);
  Instance& entry = known->second;
  if (added) {
    const EncodedKey key([&](std::uint8_t* buffer, std::size_t capacity) {
      return type_.encoded_to_key(sample.bytes, sample.size, buffer, capacity);
    });
    entry.key = key.bytes();
    order_.clear();
  }
  entry.engine = instance;
  entry.last_accepted = ++accepted_;
  if (std::exchange(entry.perhaps_empty, false)) --perhaps_empty_;
}

bool ReaderInstances::knows(const KeyHash& hash) const {
  const std::lock_guard lock(mutex_);
  return by_hash_.contains(hash);
}

EngineHandle ReaderInstances::find(const KeyHash& hash) const {
  const std::lock_guard lock(mutex_);
  const auto known = by_hash_.find(hash);
  return known == by_hash_.end() ? 0 : known->second.engine;
}

std::optional<KeyHash> ReaderInstances::next(const DDS_InstanceHandle_t& after) {
  const std::lock_guard lock(mutex_);
  if (order_.empty()) {
    order_.reserve(by_hash_.size());
    for (const auto& [hash, instance] : by_hash_) order_.push_back(hash);
    std::sort(order_.begin(), order_.end());
  }
  auto position =
      after.isValid ? std::upper_bound(order_.begin(), order_.end(), key_hash_of(after.keyHash.value)) : order_.begin();
  while (position != order_.end() && !by_hash_.contains(*position)) ++position;
  return position == order_.end() ? std::nullopt : std::optional(*position);
}

bool ReaderInstances::copy_key(const KeyHash& hash, void* key_holder) const {
  const std::lock_guard lock(mutex_);
  for (const ByHash* instances : {&by_hash_, &emptied_}) {
    const auto known = instances->find(hash);
    if (known == instances->end()) continue;
    const std::string& key = known->second.key;
    return type_.decode_key(key_holder, reinterpret_cast<const std::uint8_t*>(key.data()), key.size());
  }
  return false;
}

std::string ReaderInstances::key_of(const KeyHash& hash) const {
  const std::lock_guard lock(mutex_);
  const auto known = by_hash_.find(hash);
  return known == by_hash_.end() ? std::string() : known->second.key;
}

void ReaderInstances::remember(const KeyHash& hash, const std::string& key) {
  const std::lock_guard lock(mutex_);
  emptied_[hash].key = key;
}

std::uint64_t ReaderInstances::begin_access() {
  const std::lock_guard lock(mutex_);
  if (!emptied_.empty()) emptied_.clear();  // clearing costs what the table has grown to
  return accepted_;
}

void ReaderInstances::accessed(const EngineSelection& selection, std::span<const EngineSlot> slots, bool complete,
                               std::uint64_t accepted_before) {
  const std::lock_guard lock(mutex_);
  for (std::size_t i = 0; i < slots.size(); ++i) {
    const EngineSlot& slot = slots[i];
    // Samples come grouped by instance: only its last one says what is left of it.
    const bool last_of_all = i + 1 == slots.size();
    if (!last_of_all && slots[i + 1].instance == slot.instance) continue;
    const bool alive = slot.info.instance_state == DDS_ALIVE_INSTANCE_STATE;
    if (selection.take && alive) continue;
    const auto known = by_hash_.find(key_hash_of(slot.sample->key_hash));
    if (known == by_hash_.end()) continue;
    Instance& entry = known->second;
    if (!selection.take) {
      entry.has_read = true;
      continue;
    }
    if (entry.last_accepted > accepted_before) continue;  // came to life again while its last sample was taken
    const bool last_of_instance = complete || !last_of_all || !slot.info.valid_data;
    if (last_of_instance && sees_all(selection, entry)) {
      forget(known);
    } else if (!std::exchange(entry.perhaps_empty, true)) {
      ++perhaps_empty_;
    }
  }
  if (complete && perhaps_empty_ > 0) settle(selection, slots, accepted_before);
}

/// Of the instances that may be empty, those are that an access to everything did not yield.
void ReaderInstances::settle(const EngineSelection& selection, std::span<const EngineSlot> slots,
                             std::uint64_t accepted_before) {
  if (selection.instance != 0 || !covers(selection.view_states, both_view_states) ||
      !covers(selection.instance_states, DDS_NOT_ALIVE_INSTANCE_STATE)) {
    return;
  }
  for (auto entry = by_hash_.begin(); entry != by_hash_.end();) {
    Instance& instance = entry->second;
    if (!instance.perhaps_empty || instance.last_accepted > accepted_before || !sees_all(selection, instance)) {
      ++entry;
      continue;
    }
    const bool seen = std::any_of(slots.begin(), slots.end(), [&](const EngineSlot& slot) {
      return key_hash_of(slot.sample->key_hash) == entry->first;
    });
    if (seen) {
      --perhaps_empty_;
      instance.perhaps_empty = false;
      ++entry;
    } else {
      entry = forget(entry);
    }
  }
}

ReaderInstances::ByHash::iterator ReaderInstances::forget(ByHash::iterator entry) {
  if (entry->second.perhaps_empty) --perhaps_empty_;
  const auto following = std::next(entry);
  emptied_.insert(by_hash_.extract(entry));
  return following;
}

bool ReaderInstances::sees_all(const EngineSelection& selection, const Instance& instance) {
  return covers(selection.sample_states, both_sample_states) ||
         (covers(selection.sample_states, DDS_NOT_READ_SAMPLE_STATE) && !instance.has_read);
}

}  // namespace tessivar::platform
