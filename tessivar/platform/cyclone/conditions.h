// Conditions and wait sets. Each condition is an entity of the engine.
#pragma once

#include "tessivar/platform/cyclone/engine_api.h"

#include <atomic>
#include <memory>

namespace tessivar::platform::cyclone {

/// What every condition of this engine is, so that a wait set finds its entity.
class EntityCondition {
 public:
  virtual dds_entity_t entity() const = 0;

 protected:
  ~EntityCondition() = default;
};

/// Null when the engine refuses.
std::unique_ptr<EngineGuardCondition> make_guard_condition();
std::unique_ptr<EngineWaitSet> make_wait_set();

}  // namespace tessivar::platform::cyclone
