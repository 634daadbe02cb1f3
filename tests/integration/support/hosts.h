// SPDX-License-Identifier: Apache-2.0

// Two hosts on networks of their own, as network namespaces of this machine.
#pragma once

#include <string>
#include <vector>

namespace tessivar::testing {

/// Host "a" has address 10.90.N.1 in the N-th network, host "b" 10.90.N.2; the interface is called as the network.
/// Nothing else is reachable from them. They end with this object: start processes on them later, end them before.
class Hosts {
 public:
  /// False where network namespaces cannot be made: without the rights of an administrator, or without the `ip`
  /// command.
  static bool permitted();

  /// Throws std::runtime_error when it fails.
  explicit Hosts(std::vector<std::string> networks);
  ~Hosts();
  Hosts(const Hosts&) = delete;
  Hosts& operator=(const Hosts&) = delete;

  /// The beginning of a command that runs on `host` with these environment variables ("NAME=value") and all its
  /// networks as allowed interfaces.
  std::vector<std::string> on(const std::string& host, const std::vector<std::string>& environment = {}) const;
  /// The addresses of `host`, with commas between them.
  std::string addresses(const std::string& host) const;
  /// Takes the network's cable out, and puts it in again.
  void cut(const std::string& network) const;
  void heal(const std::string& network) const;

 private:
  std::string space(const std::string& host) const;

  const std::vector<std::string> networks_;
};

}  // namespace tessivar::testing
