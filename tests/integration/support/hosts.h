// SPDX-License-Identifier: Apache-2.0

// Two hosts with their own networks, as network namespaces of this machine.
#pragma once

#include <string>
#include <vector>

namespace tessivar::testing {

/// Host "a" has address 10.90.N.1 in the N-th network, host "b" has 10.90.N.2. The interface has the name of the
/// network. The hosts reach nothing else. They end with this object: start processes on them later, and end the
/// processes earlier.
class Hosts {
 public:
  /// Returns false if network namespaces cannot be made: without the rights of an administrator, or without the `ip`
  /// command.
  static bool permitted();

  /// Throws std::runtime_error on failure.
  explicit Hosts(std::vector<std::string> networks);
  ~Hosts();
  Hosts(const Hosts&) = delete;
  Hosts& operator=(const Hosts&) = delete;

  /// Returns the beginning of a command that runs on `host`, with these environment variables ("NAME=value") and with
  /// all its networks as allowed interfaces.
  std::vector<std::string> on(const std::string& host, const std::vector<std::string>& environment = {}) const;
  /// Returns the addresses of `host`, separated by commas.
  std::string addresses(const std::string& host) const;
  /// Disconnect and reconnect the network.
  void cut(const std::string& network) const;
  void heal(const std::string& network) const;

 private:
  std::string space(const std::string& host) const;

  const std::vector<std::string> networks_;
};

}  // namespace tessivar::testing
