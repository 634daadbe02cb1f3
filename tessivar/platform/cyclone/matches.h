// SPDX-License-Identifier: Apache-2.0

// The counterparts with which a reader or writer is matched, remote or local: their engine handles and GUIDs.
#pragma once

#include "tessivar/platform/cyclone/discovery.h"
#include "tessivar/platform/cyclone/engine_api.h"
#include "tessivar/platform/detail/mutex.h"

#include <functional>
#include <unordered_map>
#include <vector>

namespace tessivar::platform::cyclone {

struct Match {
  DDS_InstanceHandle_t guid = DDS_HANDLE_NIL;
  Guid participant = {};
  bool automatic_liveliness = false;
  std::int64_t lifespan = never;  // of a writer's samples, nanoseconds
};

/// Asks the engine for a counterpart that is not known yet. Thread-safe.
class Matches {
 public:
  enum class Side { readers, writers };

  explicit Matches(Side side) : side_(side) {}

  /// Returns the known data of `counterpart`, also if it is no longer matched. The GUID is nil if nothing is known.
  /// `entity` is our own reader or writer.
  Match find(dds_entity_t entity, EngineHandle counterpart);
  void forget(EngineHandle counterpart);
  /// Returns the GUIDs of all counterparts that are matched now.
  std::vector<DDS_InstanceHandle_t> all(dds_entity_t entity);

 private:
  const Side side_;
  Mutex lock_;
  std::unordered_map<EngineHandle, Match> known_ TESSIVAR_GUARDED_BY(lock_);
};

}  // namespace tessivar::platform::cyclone
