// SPDX-License-Identifier: Apache-2.0

#include "support/peer.h"

#include <cerrno>
#include <csignal>
#include <poll.h>
#include <spawn.h>
#include <sstream>
#include <sys/socket.h>
#include <sys/wait.h>

namespace platform_test {

namespace {

constexpr int child_channel = STDIN_FILENO;

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
  send(child_channel, "r", 1, 0);
  for (pollfd end = {child_channel, POLLIN, 0}; poll(&end, 1, 1) == 0;) {
    for (const Received& one : take(reader))
      if (one.info.valid_data && one.number % 2 == 0) write(writer, one.number + 1, one.value);
  }
}

constexpr std::string_view peer_mark = "peer ";

/// Runs in a child process. Its program name contains its role, which runs in place of the tests.
class Child : public testing::Environment {
 public:
  void SetUp() override {
    const std::string_view name = program_invocation_name;
    if (!name.starts_with(peer_mark)) return;
    run_peer(std::istringstream(std::string(name.substr(peer_mark.size()))));
    std::exit(0);  // with leak checks
  }
};

[[maybe_unused]] const auto* const child = testing::AddGlobalTestEnvironment(new Child);

}  // namespace

Peer::Peer(int history, DDS_Duration_t lease, const std::string& topic) {
  std::ostringstream role;
  role << peer_mark << own_domain() << ' ' << history << ' ' << lease.sec << ' ' << lease.nanosec << ' ' << topic;
  std::string name = role.str();
  char* arguments[] = {name.data(), nullptr};
  int ends[2];
  EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, ends[1], child_channel);
  EXPECT_EQ(posix_spawn(&pid_, "/proc/self/exe", &actions, nullptr, arguments, environ), 0);
  posix_spawn_file_actions_destroy(&actions);
  close(ends[1]);
  channel_ = ends[0];
  char ready = 0;
  EXPECT_EQ(read(channel_, &ready, 1), 1);
}

Peer::~Peer() {
  signal(SIGCONT);
  close(channel_);
  int status = 0;
  waitpid(pid_, &status, 0);
  EXPECT_TRUE(killed_ || (WIFEXITED(status) && WEXITSTATUS(status) == 0)) << status;
}

void Peer::signal(int number) {
  kill(pid_, number);
  killed_ = killed_ || number == SIGKILL;
}

}  // namespace platform_test
