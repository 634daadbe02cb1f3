// SPDX-License-Identifier: Apache-2.0

// Converts a participant's configuration to the text that the engine reads.
#pragma once

#include "tessivar/platform/engine/engine.h"

#include <optional>
#include <string>

namespace tessivar::platform::cyclone {

/// Returns nullopt if the configuration cannot be used, with the reason in `error`. Peers that cannot be resolved are
/// left out with a warning, so that an unknown host name does not prevent the start of a system. May wait for a name
/// server.
std::optional<std::string> engine_configuration(const EngineParticipantConfig& config, std::string& error);

/// Escapes text for an XML element or attribute.
std::string xml_escaped(const std::string& text);

}  // namespace tessivar::platform::cyclone
