// SPDX-License-Identifier: Apache-2.0

// Gives small numbers to the writers of a reader's samples.
#pragma once

#include "tessivar/platform/base.h"
#include "tessivar/platform/values/key_hash.h"

#include <cstdint>
#include <unordered_map>
#include <vector>

namespace tessivar::platform {

/// Counts the references to each writer and forgets a writer with its last reference. Not thread-safe.
class Publications {
 public:
  typedef std::uint32_t Number;
  static constexpr Number none = 0;  // an unknown writer

  /// Adds a reference to the writer `guid` and returns its number; returns `none` if `guid` is nil. `lifespan` says how
  /// long the writer's samples are valid, in nanoseconds. Throws std::bad_alloc.
  Number hold(const DDS_InstanceHandle_t& guid, std::int64_t lifespan);
  void hold(Number number) noexcept {
    if (number != none) ++writers_[number].references;
  }
  void release(Number number) noexcept;

  const DDS_InstanceHandle_t& guid(Number number) const { return writers_[number].guid; }
  std::int64_t lifespan(Number number) const { return writers_[number].lifespan; }

 private:
  struct Writer {
    DDS_InstanceHandle_t guid;
    std::int64_t lifespan;
    std::uint32_t references;
  };

  std::vector<Writer> writers_{Writer{DDS_HANDLE_NIL, never, 0}};
  std::vector<Number> unused_;
  std::unordered_map<KeyHash, Number, KeyHashHasher> numbers_;
  Number last_ = none;  // the writer of the last hold() by GUID
};

}  // namespace tessivar::platform
