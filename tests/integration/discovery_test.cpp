// SPDX-License-Identifier: Apache-2.0

// Tests the discovery of devices that start, that already run, and that end.
#include "support/bus_peer.h"

#include <csignal>

namespace tessivar::testing {
namespace {

TEST(DeviceDiscoveryTest, LateJoinerReceivesUnitsValuesAndMetadata) {
  BusPeer device("device");
  ASSERT_TRUE(device.does("unit 0001:02:0A camera"));
  ASSERT_TRUE(device.does("unit 0001:02:0B lamp"));
  constexpr int commands = 100;
  for (int i = 1; i <= commands; ++i) {
    const std::string command = " 0001:02:0A " + std::to_string(i) + ' ';
    ASSERT_TRUE(device.does("value" + command + "1"));
    ASSERT_TRUE(device.does("value" + command + std::to_string(i * 7)));
    ASSERT_TRUE(device.does("metadata" + command + "name" + std::to_string(i)));
  }

  BusPeer client("client");
  ASSERT_TRUE(client.does("create"));
  EXPECT_TRUE(client.sees("unit-added 0001:02:0A camera"));
  EXPECT_TRUE(client.sees("unit-added 0001:02:0B lamp"));
  for (int i = 1; i <= commands; ++i) {
    const std::string command = " 0001:02:0A " + std::to_string(i) + ' ';
    EXPECT_TRUE(client.sees("value" + command + std::to_string(i * 7)));
    EXPECT_TRUE(client.sees("metadata" + command + "name" + std::to_string(i)));
  }
  EXPECT_TRUE(client.saw_nothing_of("value"));

  ASSERT_TRUE(client.does("history 10000"));
  ASSERT_TRUE(client.does("counts"));
  EXPECT_TRUE(client.sees("counts 2 100"));
  EXPECT_TRUE(client.quits());
  EXPECT_TRUE(device.quits());
}

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
  ASSERT_TRUE(client.does("match 20000"));
  ASSERT_TRUE(client.does("set 0001:02:0A 1 5 10000"));
  EXPECT_TRUE(client.sees("set true"));
}

}  // namespace
}  // namespace tessivar::testing
