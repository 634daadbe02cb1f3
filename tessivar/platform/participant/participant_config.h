// SPDX-License-Identifier: Apache-2.0

// From a participant's QoS to what the engine wants to know.
#pragma once

#include "tessivar/platform/engine/engine.h"

#include <optional>
#include <string>
#include <string_view>

namespace tessivar::platform {

/// A peer as the QoS writes it: "[N@]builtin.udpv4://ADDRESS", "builtin.shmem://" or a bare address.
struct Peer {
  std::string address;  // empty: local processes by shared memory, who are found anyway
  int max_index = 0;    // N: the highest participant index looked for there; 0 when it isn't said
};

/// Nothing, with one line in `error`, when it is malformed.
std::optional<Peer> parse_peer(std::string_view text, std::string& error);

/// BAD_PARAMETER or INCONSISTENT_POLICY with one line in `error`.
DDS_ReturnCode_t make_config(DDS_DomainId_t domain_id, const DDS_DomainParticipantQos& qos,
                             EngineParticipantConfig& config, std::string& error);

}  // namespace tessivar::platform
