// SPDX-License-Identifier: Apache-2.0

#include "support/peer.h"

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <poll.h>
#include <sstream>

namespace platform_test {

namespace {

/// The environment variable with the role of a child process.
constexpr const char* role_variable = "TESSIVAR_TEST_PEER";

void run_peer(std::istringstream role) {
  DDS_DomainId_t domain = 0;
  DDS_UnsignedLong history = 0;
  DDS_DomainParticipantQos qos = loopback_qos("peer");
  DDS_Duration_t& lease = qos.discovery_config.participant_liveliness_lease_duration;
  std::string topic;
  role >> domain >> history >> lease.sec >> lease.nanosec >> topic;
  Side side(qos, topic, domain);
  side.participant->ignore_participant(side.participant->get_instance_handle());
  CommandDataWriter* writer = side.writer(lively<DDS_DataWriterQos>(history > 0));
  const auto first = static_cast<DDS_UnsignedLong>(getpid()) * 100000u;
  for (DDS_UnsignedLong i = 0; i < history;)
    i += write(writer, first + 2 * i + 1) == DDS_RETCODE_OK;  // otherwise the write was blocked
  CommandDataReader* reader = side.reader(lively<DDS_DataReaderQos>(history > 0));
  std::cout << "@ ready" << std::endl;
  for (pollfd end = {STDIN_FILENO, POLLIN, 0}; poll(&end, 1, 1) == 0;) {
    for (const Received& one : take(reader))
      if (one.info.valid_data && one.number % 2 == 0) write(writer, one.number + 1, one.value);
  }
}

/// Runs in a child process, in place of the tests.
class Child : public testing::Environment {
 public:
  void SetUp() override {
    const char* const role = std::getenv(role_variable);
    if (!role) return;
    run_peer(std::istringstream(role));
    std::exit(0);  // with leak checks
  }
};

[[maybe_unused]] const auto* const child = testing::AddGlobalTestEnvironment(new Child);

std::vector<std::string> command_line(int history, DDS_Duration_t lease, const std::string& topic) {
  std::ostringstream role;
  role << role_variable << '=' << own_domain() << ' ' << history << ' ' << lease.sec << ' ' << lease.nanosec << ' '
       << topic;
  return {"/usr/bin/env", role.str(), std::filesystem::read_symlink("/proc/self/exe").string()};
}

}  // namespace

Peer::Peer(int history, DDS_Duration_t lease, const std::string& topic)
    : ChildProcess(command_line(history, lease, topic)) {
  EXPECT_TRUE(event("ready")) << transcript();
}

Peer::~Peer() {
  signal(SIGCONT);
  send("end");
  const auto code = wait();
  EXPECT_TRUE(code == 0 || code == 128 + SIGKILL) << transcript();
}

}  // namespace platform_test
