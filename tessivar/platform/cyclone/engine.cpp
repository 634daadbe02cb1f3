// SPDX-License-Identifier: Apache-2.0

#include "tessivar/platform/engine/engine.h"

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
};

}  // namespace

Engine& default_engine() {
  static Immortal<CycloneEngine> engine;
  return *engine;
}

}  // namespace tessivar::platform
