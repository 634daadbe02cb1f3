// SPDX-License-Identifier: Apache-2.0

// What the environment says of the network that a program uses.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace TessivarDDS {

/// Each variable fills in what the application leaves open.
struct NetworkEnvironment {
  std::vector<std::string> interfaces;  // DDS_ALLOWED_INTERFACES: names, addresses or patterns, separated by commas
  std::vector<std::string> peers;       // TESSIVAR_PEERS: host or host:port, separated by commas or blanks
  std::optional<bool> multicast;        // TESSIVAR_MULTICAST: 0 or 1
};

/// Reads the variables. A value that cannot be used is left out, with one line in the log that names variable and text.
NetworkEnvironment networkEnvironment();

}  // namespace TessivarDDS
