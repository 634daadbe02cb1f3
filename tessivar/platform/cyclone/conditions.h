// SPDX-License-Identifier: Apache-2.0

// Conditions and wait sets. Each condition is an entity of the engine.
#pragma once

#include "tessivar/platform/cyclone/engine_api.h"

#include <atomic>
#include <memory>

namespace tessivar::platform::cyclone {

/// The base of every condition of this engine. A wait set uses it to get the entity of a condition.
class EntityCondition {
 public:
  virtual dds_entity_t entity() const = 0;

 protected:
  ~EntityCondition() = default;
};

/// Both functions return null if the engine refuses.
std::unique_ptr<EngineGuardCondition> make_guard_condition();
std::unique_ptr<EngineWaitSet> make_wait_set();

}  // namespace tessivar::platform::cyclone
