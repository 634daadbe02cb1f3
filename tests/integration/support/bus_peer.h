// SPDX-License-Identifier: Apache-2.0

// A process on the bus that a test controls.
#pragma once

#include "tests/support/child_process.h"
#include "tests/support/own_domain.h"

#include <gtest/gtest.h>

namespace tessivar::testing {

/// Runs one of the examples on this domain. All lines of its output are events.
ChildProcess example(const std::string& name, const std::vector<std::string>& arguments);
inline ChildProcess example(const std::string& name, const std::string& argument) {
  return example(name, std::vector{argument});
}

/// Runs `bus_peer`. Its commands and events are in the header of its role in peer/. Failure messages contain the end of
/// its output.
class BusPeer : public ChildProcess {
 public:
  /// `role` is "device", "client" or "router", on own_domain(). An example for `options` is "type=3". `launcher` is the
  /// beginning of the command that starts it: see Hosts::on().
  explicit BusPeer(const std::string& role, const std::vector<std::string>& options = {},
                   const std::vector<std::string>& launcher = {});

  /// Sends it a command and waits until the command has succeeded.
  ::testing::AssertionResult does(const std::string& command);
  ::testing::AssertionResult does(std::initializer_list<std::string> commands);
  /// Sends it a command without waiting. did() waits for its end.
  void begin(const std::string& command) { send(command); }
  ::testing::AssertionResult did(const std::string& verb);
  /// Waits for an event that begins with `prefix`.
  ::testing::AssertionResult sees(const std::string& prefix, std::chrono::milliseconds timeout = default_timeout);
  /// Waits for all these events, in any order.
  ::testing::AssertionResult sees(std::initializer_list<std::string> prefixes);
  /// Returns true if it has reported no such event until now.
  ::testing::AssertionResult saw_nothing_of(const std::string& prefix);
  /// Ends it with the command "quit". Returns true if its exit code is 0.
  ::testing::AssertionResult quits();

 private:
  ::testing::AssertionResult failure(const std::string& what) const;
};

}  // namespace tessivar::testing
