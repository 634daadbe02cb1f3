// SPDX-License-Identifier: Apache-2.0

// Tests the discovery of devices that start, that already run, and that end.
#include "support/bus_peer.h"

#include <csignal>

namespace tessivar::testing {
namespace {

TEST(DeviceDiscoveryTest, ReportsRemovedUnitsAndFindsThemAgain) {
  BusPeer client("client");
  ASSERT_TRUE(client.does("create"));
  {
    BusPeer device("device");
    ASSERT_TRUE(device.does("unit 0001:02:0A camera"));
    ASSERT_TRUE(client.sees("unit-added 0001:02:0A camera"));
    ASSERT_TRUE(device.does("remove 0001:02:0A"));
    ASSERT_TRUE(client.sees("unit-removed 0001:02:0A"));
    ASSERT_TRUE(device.does("unit 0001:02:0A second"));
    ASSERT_TRUE(client.sees("unit-added 0001:02:0A second"));
    device.kill();
  }
  ASSERT_TRUE(client.sees("unit-removed 0001:02:0A"));
  BusPeer device("device");
  ASSERT_TRUE(device.does("unit 0001:02:0A again"));
  EXPECT_TRUE(client.sees("unit-added 0001:02:0A again"));
  ASSERT_TRUE(client.does({"match 20000", "set 0001:02:0A 1 5 10000"}));
  EXPECT_TRUE(client.sees("set true"));
}

}  // namespace
}  // namespace tessivar::testing
