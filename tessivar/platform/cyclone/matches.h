// The remote or local counterparts of a reader or writer: the engine's numbers for them, and their GUIDs.
#pragma once

#include "tessivar/platform/cyclone/discovery.h"
#include "tessivar/platform/cyclone/engine_api.h"
#include "tessivar/platform/detail/mutex.h"

#include <functional>
#include <mutex>
#include <unordered_map>
#include <vector>

namespace tessivar::platform::cyclone {

struct Match {
  DDS_InstanceHandle_t guid = DDS_HANDLE_NIL;
  Guid participant = {};
  bool automatic_liveliness = false;
  std::int64_t lifespan = never;  // of a writer's samples, nanoseconds
};

/// Looks up at the engine what it does not know yet. Thread-safe.
class Matches {
 public:
  enum class Side { readers, writers };

  explicit Matches(Side side) : side_(side) {}

  /// What is known of one, also when it has just gone; null GUID when nothing is. `entity` is our own end.
  Match find(dds_entity_t entity, EngineHandle counterpart);
  void forget(EngineHandle counterpart);
  /// The GUIDs of all that are matched now.
  std::vector<DDS_InstanceHandle_t> all(dds_entity_t entity);

 private:
  const Side side_;
  Mutex lock_;
  std::unordered_map<EngineHandle, Match> known_;
};

}  // namespace tessivar::platform::cyclone
