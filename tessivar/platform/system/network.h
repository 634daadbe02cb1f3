// SPDX-License-Identifier: Apache-2.0

// The network of this machine: interfaces, host names and ports. IPv4 only.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace tessivar::platform {

struct Interface {
  std::string name;
  std::string address;  // dotted
  bool loopback;
  bool operator==(const Interface&) const = default;
};

/// Returns the interfaces that are up.
std::vector<Interface> local_interfaces();

/// Returns the address of a host name or of a dotted address, or nullopt if it cannot be resolved. May wait for a name
/// server.
std::optional<std::string> resolve_host(const std::string& host);

/// Returns true if no socket of this machine uses the UDP port, or if this cannot be found out.
bool is_free_port(int port);

}  // namespace tessivar::platform
