// SPDX-License-Identifier: Apache-2.0

// Tests the change of commands with request and reply.
#include "support/bus_peer.h"

#include <cstdlib>
#include <fstream>
#include <string>

namespace tessivar::testing {
namespace {

constexpr std::chrono::milliseconds long_time{120000};

class CommandRequestTest : public ::testing::Test {
 protected:
  // A device with one unit, and a client that has discovered it.
  void start() {
    device_.emplace("device");
    ASSERT_TRUE(device_->does("unit 0001:02:0A camera"));
    client_.emplace("client");
    join(*client_);
  }

  static void join(BusPeer& client) {
    ASSERT_TRUE(client.does({"create", "match 20000"}));
    ASSERT_TRUE(client.sees("unit-added 0001:02:0A"));
  }

  BusPeer& device() { return *device_; }
  BusPeer& client() { return *client_; }

 private:
  std::optional<BusPeer> device_;
  std::optional<BusPeer> client_;
};

// Returns the milliseconds of an event "set false MILLISECONDS".
int spent(const std::optional<std::string>& event) {
  return event ? std::stoi(event->substr(event->rfind(' '))) : -1;
}

TEST_F(CommandRequestTest, EndsWithTheReplyOfTheDevice) {
  start();
  ASSERT_TRUE(client().does("set 0001:02:0A 1 42 20000"));
  EXPECT_TRUE(client().sees("set true"));
  EXPECT_TRUE(device().sees("request 0001:02:0A 1 42"));
  EXPECT_TRUE(client().sees("value 0001:02:0A 1 42"));

  ASSERT_TRUE(device().does("answer refuse tally"));
  ASSERT_TRUE(client().does("set 0001:02:0A 1 43 20000"));
  EXPECT_TRUE(client().sees({"set false", "reason tally"}));

  // Each interim reply restarts the timeout.
  ASSERT_TRUE(device().does("answer progress 6 300"));
  ASSERT_TRUE(client().does("set 0001:02:0A 1 44 1500"));
  EXPECT_GE(spent(client().event("set true")), 1600) << client().transcript();

  ASSERT_TRUE(device().does("answer none"));
  ASSERT_TRUE(client().does("set 0001:02:0A 1 45 500"));
  EXPECT_GE(spent(client().event("set false")), 500) << client().transcript();

  ASSERT_TRUE(device().does("answer throw"));
  ASSERT_TRUE(client().does("set 0001:02:0A 1 46 500"));
  EXPECT_TRUE(client().sees("set false"));
  EXPECT_NE(device().transcript().find("a fault of the device"), std::string::npos) << device().transcript();

  ASSERT_TRUE(device().does("answer complete"));
  ASSERT_TRUE(client().does("set 0001:02:0A 1 47 20000"));
  EXPECT_TRUE(client().sees("set true"));
  EXPECT_TRUE(device().quits());
}

TEST_F(CommandRequestTest, TwoClientsReceiveOnlyTheirOwnReplies) {
  start();
  BusPeer other("client");
  join(other);
  ASSERT_TRUE(device().does("answer echo"));
  // Both clients use the same ticket numbers. The copied values show which request a reply belongs to.
  client().begin("flood 0001:02:0A 1000000 2000 50");
  other.begin("flood 0001:02:0A 2000000 2000 50");
  EXPECT_TRUE(client().sees("flood 2000 0 0", long_time));
  EXPECT_TRUE(other.sees("flood 2000 0 0", long_time));
}

TEST_F(CommandRequestTest, PausedDeviceRepliesToAllRequestsLater) {
  start();
  ASSERT_TRUE(device().does("answer echo"));
  device().signal(SIGSTOP);
  client().begin("flood 0001:02:0A 1 5000 5000");
  EXPECT_TRUE(client().sees("begun"));
  device().signal(SIGCONT);
  EXPECT_TRUE(client().sees("flood 5000 0 0 0", long_time)) << client().transcript();
}

TEST_F(CommandRequestTest, IsNotProcessedAfterItsLifespan) {
  const std::string profiles = ::testing::TempDir() + "lifespan_" + std::to_string(own_domain()) + ".xml";
  const std::string common =
      "<reliability><kind>RELIABLE_RELIABILITY_QOS</kind></reliability>"
      "<history><kind>KEEP_ALL_HISTORY_QOS</kind></history>";
  const std::string lifespan = "<lifespan><duration><nanosec>500000000</nanosec></duration></lifespan>";
  std::ofstream(profiles) << "<dds><qos_library name='requestReplyLib'><qos_profile name='requestNodeQos'>"
                          << "<topic_qos>" << common << lifespan << "</topic_qos>"
                          << "<datawriter_qos>" << common << lifespan << "</datawriter_qos>"
                          << "<datareader_qos>" << common << "</datareader_qos></qos_profile></qos_library></dds>";
  setenv("NDDS_QOS_PROFILES", profiles.c_str(), 1);
  start();
  unsetenv("NDDS_QOS_PROFILES");
  device().signal(SIGSTOP);
  ASSERT_TRUE(client().does("set 0001:02:0A 1 42 600"));
  device().signal(SIGCONT);
  ASSERT_TRUE(client().does("set 0001:02:0A 1 43 20000"));
  EXPECT_TRUE(device().sees("request 0001:02:0A 1 43"));
  EXPECT_TRUE(device().saw_nothing_of("request 0001:02:0A 1 42"));
}

}  // namespace
}  // namespace tessivar::testing
