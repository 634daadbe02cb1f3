// SPDX-License-Identifier: Apache-2.0

// The names of interfaces and peers in a configuration, and the ports of a domain.
#pragma once

#include "tessivar/platform/system/network.h"

#include <optional>
#include <string>
#include <vector>

namespace tessivar::platform::cyclone {

/// Returns the interfaces of `available` that an entry of `wanted` matches: a name, an address or a pattern ("10.1.*").
/// Returns nullopt if there are none. `error` names the entries that match no interface, and lists the available
/// interfaces; it is empty if all entries match.
std::optional<std::vector<Interface>> select_interfaces(const std::vector<std::string>& wanted,
                                                        const std::vector<Interface>& available, std::string& error);

/// Resolves a host name or address with or without ":port". Returns "address" or "address:port" in digits, or nullopt
/// if the name cannot be resolved. May wait for a name server.
std::optional<std::string> resolve_peer(const std::string& peer);

/// Returns true if the ports of at least one of the first `count` participants of a domain (DDSI-RTPS 2.3, 9.6.1.1) are
/// free on this machine.
bool has_free_participant_ports(int domain_id, int count);

}  // namespace tessivar::platform::cyclone
