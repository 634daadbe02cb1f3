// SPDX-License-Identifier: Apache-2.0

#include "tessivar/platform/engine/engine.h"

#include "tessivar/platform/cyclone/conditions.h"
#include "tessivar/platform/cyclone/engine_log.h"
#include "tessivar/platform/cyclone/participant.h"
#include "tessivar/platform/detail/immortal.h"

namespace tessivar::platform {
namespace {

class CycloneEngine final : public Engine {
 public:
  DDS_ReturnCode_t create_participant(const EngineParticipantConfig& config, EngineParticipantEvents* events,
                                      std::unique_ptr<EngineParticipant>& result, std::string& error) override {
    return cyclone::Participant::create(config, events, result, error);
  }

  std::unique_ptr<EngineGuardCondition> create_guard_condition() override {
    cyclone::redirect_engine_log();
    return cyclone::make_guard_condition();
  }

  std::unique_ptr<EngineWaitSet> create_wait_set() override {
    cyclone::redirect_engine_log();
    return cyclone::make_wait_set();
  }
};

}  // namespace

Engine& default_engine() {
  static Immortal<CycloneEngine> engine;
  return *engine;
}

}  // namespace tessivar::platform
