// SPDX-License-Identifier: Apache-2.0

// Translates the QoS of a participant to the configuration of the engine.
#pragma once

#include "tessivar/platform/engine/engine.h"

#include <optional>
#include <string>
#include <string_view>

namespace tessivar::platform {

/// A peer, which the QoS writes as "[N@]builtin.udpv4://ADDRESS", "builtin.shmem://" or a bare address.
struct Peer {
  std::string address;  // empty for "builtin.shmem://": local processes are always found
  int max_index = 0;    // N: the highest participant index to look for; 0 if there is no N
};

/// Returns nullopt, with one line in `error`, if the text is malformed.
std::optional<Peer> parse_peer(std::string_view text, std::string& error);

/// Returns BAD_PARAMETER or INCONSISTENT_POLICY, with one line in `error`, if a policy is wrong.
DDS_ReturnCode_t make_config(DDS_DomainId_t domain_id, const DDS_DomainParticipantQos& qos,
                             EngineParticipantConfig& config, std::string& error);

}  // namespace tessivar::platform
