// SPDX-License-Identifier: Apache-2.0

// Tests routers and their controllers in several processes: requests, subscriptions, and a router that is killed.
#include "support/bus_peer.h"

namespace tessivar::testing {
namespace {

const std::string router = "0001:03:01";

// The results of replies.
const std::string pending = "0", complete = "1", in_progress = "2", failed = "3";

/// Subscribes, and waits until requests arrive.
void join(BusPeer& controller, BusPeer& device) {
  ASSERT_TRUE(device.does("route " + router + " 1 0"));
  ASSERT_TRUE(controller.does("create"));
  ASSERT_TRUE(controller.does("subscribe " + router));
  ASSERT_TRUE(controller.sees("route " + router + " 1 0"));
  for (int tries = 0; tries < 100; ++tries) {
    ASSERT_TRUE(controller.does("set " + router + " 1 0"));
    if (controller.event("set") == "set " + complete) break;
    ASSERT_LT(tries, 99) << "no request gets through";
  }
  controller.events("");
  device.events("");
}

TEST(RoutingProcessTest, RouteRequestEndsWithTheReplyOfTheRouter) {
  BusPeer device("router"), controller("controller"), other("controller");
  join(controller, device);
  join(other, device);
  controller.events("");
  ASSERT_TRUE(controller.does("set " + router + " 7 42"));
  EXPECT_TRUE(controller.sees("set " + complete));
  EXPECT_TRUE(controller.sees("result " + complete));
  EXPECT_TRUE(controller.sees("route " + router + " 7 42"));
  EXPECT_TRUE(device.sees("request " + router + " 7 42"));
  // Another controller receives the changed route, and no ticket.
  EXPECT_TRUE(other.sees("route " + router + " 7 42"));
  EXPECT_TRUE(other.saw_nothing_of("result"));

  ASSERT_TRUE(device.does("answer refuse protected"));
  ASSERT_TRUE(controller.does("set " + router + " 7 43"));
  EXPECT_TRUE(controller.sees("set " + failed));
  EXPECT_TRUE(controller.sees("result " + failed + " protected"));
  EXPECT_TRUE(controller.saw_nothing_of("route " + router + " 7"));

  ASSERT_TRUE(device.does("answer progress 3 50"));
  ASSERT_TRUE(controller.does("set " + router + " 7 44"));
  EXPECT_TRUE(controller.sees("set " + complete));
  EXPECT_TRUE(controller.sees("result " + pending));
  for (int i = 0; i < 3; ++i) EXPECT_TRUE(controller.sees("result " + in_progress));
  EXPECT_TRUE(controller.sees("result " + complete));
}

TEST(RoutingProcessTest, KilledRouterIsReportedAndFoundAgain) {
  BusPeer controller("controller");
  ASSERT_TRUE(controller.does("create"));
  ASSERT_TRUE(controller.does("subscribe " + router));
  const auto appears = [&](BusPeer& device, const std::string& name) {
    ASSERT_TRUE(device.does("announce " + router + ' ' + name));
    ASSERT_TRUE(device.does("port " + router + " 5 " + name));
    ASSERT_TRUE(device.does("route " + router + " 5 3"));
    ASSERT_TRUE(controller.sees("router-added " + router + ' ' + name));
    for (const char* kind : {"source ", "destination ", "source-association ", "destination-association "})
      EXPECT_TRUE(controller.sees(kind + router + " 5 " + name));
    EXPECT_TRUE(controller.sees("route " + router + " 5 3"));
  };
  {
    BusPeer device("router");
    appears(device, "one");
    device.kill();
  }
  ASSERT_TRUE(controller.sees("router-removed " + router));
  BusPeer device("router");
  appears(device, "again");
  ASSERT_TRUE(controller.does("set " + router + " 5 8"));
  EXPECT_TRUE(controller.sees("set 1"));
  ASSERT_TRUE(device.does("withdraw " + router));
  EXPECT_TRUE(controller.sees("router-removed " + router));
  EXPECT_TRUE(controller.quits());
  EXPECT_TRUE(device.quits());
}

class LargeRouterTest : public ::testing::TestWithParam<const char*> {};

// Four matrices of 2,000 by 2,000 ports, each with 4,000 associations on both sides and 4,000 routes.
TEST_P(LargeRouterTest, ReachesEarlyAndLateControllers) {
  constexpr std::chrono::milliseconds long_time{110000};
  const auto follow = [](BusPeer& controller) {
    ASSERT_TRUE(controller.does("count"));
    ASSERT_TRUE(controller.does("create"));
    ASSERT_TRUE(controller.does("subscribe " + router));
    controller.begin("await 8000 8000 16000 16000 16000");
  };
  const auto expect_everything = [&](BusPeer& controller) {
    EXPECT_TRUE(controller.sees("did await ok", long_time));
    EXPECT_TRUE(controller.sees("misnamed 0"));
  };
  BusPeer early("controller");
  follow(early);
  BusPeer device("router");
  ASSERT_TRUE(device.does(std::string("batching ") + GetParam()));
  device.begin("fill " + router + " 4 2000 4000");
  ASSERT_TRUE(device.sees("did fill ok", long_time));
  expect_everything(early);
  BusPeer late("controller");
  follow(late);
  expect_everything(late);
}

INSTANTIATE_TEST_SUITE_P(Batching, LargeRouterTest, ::testing::Values("on", "off"),
                         [](const auto& tested) { return std::string(tested.param); });

}  // namespace
}  // namespace tessivar::testing
