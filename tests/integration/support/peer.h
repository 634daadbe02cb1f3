// SPDX-License-Identifier: Apache-2.0

// A process on the bus, seen from the test that commands it.
#pragma once

#include "support/child_process.h"

#include <gtest/gtest.h>

namespace tessivar::testing {

/// The bus domain of this test program alone, however many run at once.
int own_domain();

/// Runs one of the examples there; all that it prints are events.
ChildProcess example(const std::string& name, const std::vector<std::string>& arguments);
inline ChildProcess example(const std::string& name, const std::string& argument) {
  return example(name, std::vector{argument});
}

/// Runs `bus_peer`; what it understands and reports is in the header of its role in peer/. Failure messages hold the
/// end of its output.
class Peer : public ChildProcess {
 public:
  /// `role` is "device", "client", "router" or "controller", on own_domain(); `options` as "type=3".
  explicit Peer(const std::string& role, const std::vector<std::string>& options = {});
  /// Started by a command in front of its own: see Hosts::on().
  Peer(const std::vector<std::string>& launcher, const std::string& role);

  /// Gives it a command and waits until that has succeeded.
  ::testing::AssertionResult does(const std::string& command);
  /// Gives it a command whose end is seen later, with did().
  void begin(const std::string& command) { send(command); }
  ::testing::AssertionResult did(const std::string& verb);
  /// Waits for an event that begins with `prefix`.
  ::testing::AssertionResult sees(const std::string& prefix, std::chrono::milliseconds timeout = default_timeout);
  /// It has reported no such event up to now.
  ::testing::AssertionResult saw_nothing_of(const std::string& prefix);
  /// Ends it in the orderly way.
  ::testing::AssertionResult quits();

 private:
  ::testing::AssertionResult failure(const std::string& what) const;
};

}  // namespace tessivar::testing
