// SPDX-License-Identifier: Apache-2.0

// Tests processes that are stopped for longer than every lease, and then continue.
#include "support/bus_peer.h"

#include <csignal>
#include <thread>

namespace tessivar::testing {
namespace {

// Within a lease after a pause each side detects that the other side had lost it. A request in this time may be lost,
// because requests are volatile.
void expect_usable(BusPeer& device, BusPeer& client, const std::string& unit, int value) {
  const std::string number = std::to_string(value);
  bool set = false;
  for (int attempt = 0; attempt < 20 && !set; ++attempt) {
    ASSERT_TRUE(client.does({"match 20000", "set " + unit + " 1 " + number + " 1000"}));
    set = client.event("set ").value_or("").starts_with("set true");
  }
  EXPECT_TRUE(set) << client.transcript() << device.transcript();
  EXPECT_TRUE(client.sees("value " + unit + " 1 " + number));
  ASSERT_TRUE(device.does("value " + unit + " 2 " + number));
  EXPECT_TRUE(client.sees("value " + unit + " 2 " + number));
}

TEST(PauseTest, StoppedDeviceAndStoppedClientAreUsableAgain) {
  const std::string camera = "0001:02:0A", lamp = "0001:02:0B";
  BusPeer stopped_device("device"), client("client"), device("device"), stopped_client("client");
  ASSERT_TRUE(stopped_device.does("unit " + camera + " camera"));
  ASSERT_TRUE(device.does("unit " + lamp + " lamp"));
  for (BusPeer* each : {&client, &stopped_client}) ASSERT_TRUE(each->does("create"));
  expect_usable(stopped_device, client, camera, 1);
  expect_usable(device, stopped_client, lamp, 1);
  ASSERT_TRUE(client.sees("unit-added " + camera + " camera"));

  for (BusPeer* each : {&stopped_device, &stopped_client}) each->signal(SIGSTOP);
  std::this_thread::sleep_for(std::chrono::seconds(4));  // longer than the leases of participants and replies
  for (BusPeer* each : {&stopped_device, &stopped_client}) each->signal(SIGCONT);
  ASSERT_TRUE(client.sees({"unit-removed " + camera, "unit-added " + camera + " camera"}));
  expect_usable(stopped_device, client, camera, 2);
  expect_usable(device, stopped_client, lamp, 2);
}

}  // namespace
}  // namespace tessivar::testing
