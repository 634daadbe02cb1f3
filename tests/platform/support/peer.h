// SPDX-License-Identifier: Apache-2.0

// A second process of this test program, for tests between processes.
#pragma once

#include "support/bus.h"
#include "tests/support/child_process.h"

namespace platform_test {

/// Has one participant, named "peer", with a writer and a reader of one topic, which do not match each other. It writes
/// `history` commands, each of its own instance with an odd number. Then it replies to each received command with an
/// even number by writing a command with the next number. If it has a history, writer and reader are transient-local,
/// otherwise volatile.
class Peer : public tessivar::testing::ChildProcess {
 public:
  /// Returns when the history was written.
  explicit Peer(int history = 0, DDS_Duration_t lease = {2, 800000000}, const std::string& topic = own_topic());
  /// Lets the process continue and end. It must end successfully unless it was killed.
  ~Peer();
};

/// The liveliness that the peer's endpoints also have.
template <class Qos>
Qos lively(bool history) {
  Qos qos = reliable<Qos>(history);
  qos.liveliness.lease_duration = {3, 0};
  return qos;
}

}  // namespace platform_test
