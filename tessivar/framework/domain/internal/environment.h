// SPDX-License-Identifier: Apache-2.0

// The network settings in the environment variables.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace TessivarDDS {

/// Each variable sets a value that the application did not set.
struct NetworkEnvironment {
  std::vector<std::string> interfaces;  // DDS_ALLOWED_INTERFACES: names, addresses or patterns, separated by commas
  std::vector<std::string> peers;       // TESSIVAR_PEERS: host or host:port, separated by commas or blanks
  std::optional<bool> multicast;        // TESSIVAR_MULTICAST: 0 or 1
};

/// Reads the variables. An invalid value is ignored; one log line names the variable and the value.
NetworkEnvironment networkEnvironment();

}  // namespace TessivarDDS
