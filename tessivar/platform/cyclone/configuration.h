// A participant's configuration as the engine reads it.
#pragma once

#include "tessivar/platform/engine/engine.h"

#include <optional>
#include <string>

namespace tessivar::platform::cyclone {

/// Nullopt when it cannot be used, with the reason in `error`. Peers that cannot be resolved are left out with a
/// warning: one host name that is unknown today must not keep a system from starting.
std::optional<std::string> engine_configuration(const EngineParticipantConfig& config, std::string& error);

/// Text inside an element or an attribute.
std::string xml_escaped(const std::string& text);

}  // namespace tessivar::platform::cyclone
