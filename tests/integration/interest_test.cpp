// SPDX-License-Identifier: Apache-2.0

// Tests which samples pass the address filters on both sides, and changes of the filters while data flows.
#include "support/bus_peer.h"

#include <string>

namespace tessivar::testing {
namespace {

// The three devices of these tests.
const std::string camera = "0001:02:0A";
const std::string lamp = "0001:02:0B";
const std::string mixer = "0001:02:0C";
const std::string nobody = "0FFF:FF:FF";

TEST(InterestTest, DeliversCurrentValuesOfItsUnitsOnly) {
  BusPeer device("device");
  for (const std::string& unit : {camera, lamp}) {
    ASSERT_TRUE(device.does({"value " + unit + " 1 10", "value " + unit + " 1 11", "value " + unit + " 2 12",
                             "metadata " + unit + " 1 gain"}));
  }
  BusPeer client("client");
  ASSERT_TRUE(client.does({"interest " + nobody, "create", "match 20000", "history 20000"}));

  ASSERT_TRUE(client.does("interest " + camera));
  EXPECT_TRUE(
      client.sees({"value " + camera + " 1 11", "value " + camera + " 2 12", "metadata " + camera + " 1 gain"}));

  // Samples of a writer arrive in order: after the camera's change, the lamp's change would also have arrived.
  ASSERT_TRUE(device.does({"value " + lamp + " 1 21", "metadata " + lamp + " 2 dim", "dispose " + lamp + " 2",
                           "value " + camera + " 1 21", "metadata " + camera + " 2 zoom"}));
  EXPECT_TRUE(client.sees({"value " + camera + " 1 21", "metadata " + camera + " 2 zoom"}));
  EXPECT_TRUE(client.saw_nothing_of("value")) << "of the lamp, and earlier values";
  EXPECT_TRUE(client.saw_nothing_of("metadata"));
}

TEST(InterestTest, FiltersApplyWhileTheyChangeAndDataFlows) {
  BusPeer device("device");
  BusPeer client("client");
  ASSERT_TRUE(client.does({"interest " + nobody, "create", "match 20000"}));
  ASSERT_TRUE(device.does("stream 1 " + camera + ' ' + lamp + ' ' + mixer));

  ASSERT_TRUE(client.does("interest " + camera));
  for (int i = 0; i < 100; ++i) ASSERT_TRUE(client.sees("value " + camera));
  EXPECT_TRUE(client.saw_nothing_of("value " + lamp));

  ASSERT_TRUE(client.does("interest " + lamp));
  for (int i = 0; i < 100; ++i) ASSERT_TRUE(client.sees("value " + lamp));
  EXPECT_TRUE(client.saw_nothing_of("value " + mixer));

  // Fast additions of addresses keep the values of the earlier addresses.
  for (int i = 0; i < 50; ++i) ASSERT_TRUE(client.does("interest 0F00:00:" + std::to_string(10 + i)));
  client.events("value");
  long last = -1;
  for (int i = 0; i < 100; ++i) {
    const auto event = client.event("value " + camera);
    ASSERT_TRUE(event) << "after " << i;
    const long value = std::stol(event->substr(event->rfind(' ') + 1));
    EXPECT_GE(value, last) << "values went back";
    last = value;
  }
  ASSERT_TRUE(client.sees("value " + lamp));
  EXPECT_TRUE(client.saw_nothing_of("value " + mixer));
  ASSERT_TRUE(device.does("stream"));
}

TEST(InterestTest, RangesAreRemovedOneByOneAndFoundByLaterFilters) {
  BusPeer device("device");
  ASSERT_TRUE(device.does({"filter " + mixer, "value " + lamp + " 1 11"}));
  BusPeer client("client");
  BusPeer other("client");
  for (BusPeer* each : {&client, &other}) {
    ASSERT_TRUE(each->does({"create", "interest " + camera}));
  }
  ASSERT_TRUE(client.does({"interest " + lamp + " 1 5", "interest " + lamp + " 6 9", "match 20000"}));
  EXPECT_TRUE(client.sees("value " + lamp + " 1 11"));
  EXPECT_TRUE(device.saw_nothing_of("interest"));
  ASSERT_TRUE(device.does("filter " + mixer + ' ' + lamp));
  EXPECT_TRUE(device.sees({"interest " + lamp + " 1 5", "interest " + lamp + " 6 9"}));
  ASSERT_TRUE(device.does("filter " + mixer + ' ' + lamp + ' ' + camera));
  EXPECT_TRUE(device.sees("interest " + camera));

  ASSERT_TRUE(client.does("no-interest " + lamp + " 1 5"));
  EXPECT_TRUE(device.sees("interest-removed " + lamp + " 1 5"));
  ASSERT_TRUE(device.does("value " + lamp + " 1 12"));
  EXPECT_TRUE(client.sees("value " + lamp + " 1 12"));
  ASSERT_TRUE(client.does("no-interest " + lamp));
  EXPECT_TRUE(device.sees("interest-removed " + lamp + " 6 9"));
  EXPECT_TRUE(device.saw_nothing_of("interest " + lamp)) << "the others were not told again";
  ASSERT_TRUE(client.does("no-interest " + camera));
  ASSERT_TRUE(device.does({"value " + lamp + " 1 13", "value " + camera + " 1 13"}));
  ASSERT_TRUE(other.sees("value " + camera + " 1 13"));
  for (const std::string& unit : {camera, lamp}) EXPECT_TRUE(client.saw_nothing_of("value " + unit + " 1 13"));
  BusPeer late("device");
  EXPECT_TRUE(late.sees("interest " + camera)) << "the other one's";
  EXPECT_TRUE(late.saw_nothing_of("interest " + lamp));
  EXPECT_TRUE(device.saw_nothing_of("interest-removed " + camera));
  ASSERT_TRUE(other.does("no-interest " + camera));
  EXPECT_TRUE(device.sees("interest-removed " + camera));
}

TEST(InterestTest, EndsForTheDeviceWithTheLastClient) {
  BusPeer device("device");
  BusPeer staying("client");
  {
    BusPeer leaving("client");
    for (BusPeer* client : {&staying, &leaving}) {
      ASSERT_TRUE(client->does({"create", "interest " + camera}));
      ASSERT_TRUE(device.sees("interest " + camera + " 0 4294967295"));
    }
    ASSERT_TRUE(leaving.does("interest " + lamp + " 10 20"));
    ASSERT_TRUE(device.sees("interest " + lamp + " 10 20"));
    leaving.kill();
  }
  ASSERT_TRUE(device.sees("interest-removed " + lamp + " 10 20"));
  EXPECT_TRUE(device.saw_nothing_of("interest-removed " + camera));
  ASSERT_TRUE(staying.quits());
  EXPECT_TRUE(device.sees("interest-removed " + camera + " 0 4294967295"));
}

}  // namespace
}  // namespace tessivar::testing
