// SPDX-License-Identifier: Apache-2.0

// Another process of this test program, for what happens between processes.
#pragma once

#include "support/bus.h"

namespace platform_test {

/// Has one participant, named "peer", with a writer and a reader of one topic, which do not match each other. It writes
/// `history` commands, each of an instance of its own with an odd number, and from then on answers every command that
/// it receives under an even number with the next number. With a history the two keep it for late joiners, without they
/// are volatile.
class Peer {
 public:
  /// Returns when the history is written.
  explicit Peer(int history = 0, DDS_Duration_t lease = {2, 800000000}, const std::string& topic = own_topic());
  /// Lets it continue and end, which must succeed unless it was killed.
  ~Peer();
  void signal(int number);

 private:
  pid_t pid_ = 0;
  int channel_ = -1;
  bool killed_ = false;
};

/// With the liveliness that the peer's endpoints have too.
template <class Qos>
Qos lively(bool history) {
  Qos qos = reliable<Qos>(history);
  qos.liveliness.lease_duration = {3, 0};
  return qos;
}

}  // namespace platform_test
