// SPDX-License-Identifier: Apache-2.0

// Tests processes that are stopped for longer than every lease, and then continue.
#include "support/bus_peer.h"

#include <csignal>
#include <thread>

namespace tessivar::testing {
namespace {

// The pause must be longer than the leases of the participant and of the replies.
void pause(const BusPeer& peer) {
  peer.signal(SIGSTOP);
  std::this_thread::sleep_for(std::chrono::seconds(5));
  peer.signal(SIGCONT);
}

// Within a lease after a pause each side detects that the other side had lost it. A request in this time may be lost,
// because requests are volatile.
void expect_usable(BusPeer& device, BusPeer& client, int value) {
  const std::string number = std::to_string(value);
  bool set = false;
  for (int attempt = 0; attempt < 5 && !set; ++attempt) {
    ASSERT_TRUE(client.does("match 20000"));
    ASSERT_TRUE(client.does("set 0001:02:0A 1 " + number + " 3000"));
    set = client.event("set ").value_or("").starts_with("set true");
  }
  EXPECT_TRUE(set) << client.transcript() << device.transcript();
  EXPECT_TRUE(client.sees("value 0001:02:0A 1 " + number));
  ASSERT_TRUE(device.does("value 0001:02:0A 2 " + number));
  EXPECT_TRUE(client.sees("value 0001:02:0A 2 " + number));
}

TEST(PauseTest, StoppedDeviceIsUsableAgainWithoutRestart) {
  BusPeer device("device");
  ASSERT_TRUE(device.does("unit 0001:02:0A camera"));
  BusPeer client("client");
  ASSERT_TRUE(client.does("create"));
  expect_usable(device, client, 1);
  ASSERT_TRUE(client.sees("unit-added 0001:02:0A camera"));

  pause(device);
  ASSERT_TRUE(client.sees("unit-removed 0001:02:0A"));
  EXPECT_TRUE(client.sees("unit-added 0001:02:0A camera"));
  expect_usable(device, client, 2);
}

TEST(PauseTest, StoppedClientIsUsableAgainWithoutRestart) {
  BusPeer device("device");
  ASSERT_TRUE(device.does("unit 0001:02:0A camera"));
  BusPeer client("client");
  ASSERT_TRUE(client.does("create"));
  expect_usable(device, client, 1);

  pause(client);
  expect_usable(device, client, 2);
}

}  // namespace
}  // namespace tessivar::testing
