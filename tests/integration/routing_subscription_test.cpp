// SPDX-License-Identifier: Apache-2.0

// Tests controllers and their subscriptions to routers: samples that arrive and that do not, peers that start and end.
#include "support/bus_peer.h"

#include <chrono>
#include <filesystem>
#include <thread>

namespace tessivar::testing {
namespace {

const std::string first = "0001:03:01";
const std::string second = "0001:03:02";

constexpr std::chrono::milliseconds long_time{110000};

/// All events of a subscription to the router, for port 5 and with source 3 routed to it.
void expect_state(BusPeer& controller, const std::string& router, const std::string& name) {
  for (const char* kind : {"source ", "destination ", "source-association ", "destination-association "})
    EXPECT_TRUE(controller.sees(kind + router + " 5 " + name));
  EXPECT_TRUE(controller.sees("route " + router + " 5 3"));
}

void expect_nothing_of(BusPeer& controller, const std::string& router) {
  for (const char* kind : {"source ", "destination ", "source-association ", "destination-association ", "route "})
    EXPECT_TRUE(controller.saw_nothing_of(kind + router));
}

void publish_state(BusPeer& device, const std::string& router, const std::string& name) {
  ASSERT_TRUE(device.does("port " + router + " 5 " + name));
  ASSERT_TRUE(device.does("route " + router + " 5 3"));
}

TEST(RouterSubscriptionTest, DeliversTheStateOfChosenRoutersOnly) {
  BusPeer one("router");
  BusPeer other("router");
  ASSERT_TRUE(one.does("announce " + first + " one"));
  ASSERT_TRUE(other.does("announce " + second + " other"));
  publish_state(one, first, "early");
  publish_state(other, second, "early");
  BusPeer controller("controller");
  ASSERT_TRUE(controller.does("create"));
  EXPECT_TRUE(controller.sees("router-added " + first + " one"));
  EXPECT_TRUE(controller.sees("router-added " + second + " other"));
  ASSERT_TRUE(controller.does("subscribe"));  // to all routers
  expect_state(controller, first, "early");
  expect_state(controller, second, "early");

  ASSERT_TRUE(controller.does("subscribe " + second));
  publish_state(one, first, "late");
  publish_state(other, second, "late");
  expect_state(controller, second, "late");
  expect_nothing_of(controller, first);

  // The state of new routers arrives. The state of the others is not reported again.
  ASSERT_TRUE(controller.does("subscribe " + first + ' ' + second));
  expect_state(controller, first, "late");
  publish_state(other, second, "again");
  for (const char* kind : {"source ", "destination ", "source-association ", "destination-association "})
    EXPECT_TRUE(controller.sees(kind + second + " 5 again")) << "before which a repetition would have come";
  EXPECT_TRUE(controller.sees("route " + second + " 5 3"));
  expect_nothing_of(controller, second);
  ASSERT_TRUE(controller.does("set " + first + " 5 8"));
  EXPECT_TRUE(controller.sees("set 1"));
  EXPECT_TRUE(controller.sees("route " + first + " 5 8"));
  EXPECT_TRUE(controller.saw_nothing_of("protected"));
  ASSERT_TRUE(one.does("protect " + first + " 5"));
  EXPECT_TRUE(controller.sees("protected " + first + " 5"));
}

std::size_t threads_of(const BusPeer& peer) {
  const std::filesystem::directory_iterator tasks("/proc/" + std::to_string(peer.pid()) + "/task");
  return static_cast<std::size_t>(std::distance(begin(tasks), end(tasks)));
}

TEST(RouterSubscriptionTest, LeaksNothingInAHundredChanges) {
  BusPeer device("router");
  publish_state(device, first, "one");
  publish_state(device, second, "other");
  BusPeer controller("controller");
  ASSERT_TRUE(controller.does("create"));
  ASSERT_TRUE(controller.does("subscribe " + first));
  expect_state(controller, first, "one");
  const std::size_t threads = threads_of(controller);
  for (int round = 0; round < 100 && !HasFailure(); ++round) {
    const bool even = round % 2 == 0;
    ASSERT_TRUE(controller.does("subscribe " + (even ? second : first)));
    expect_state(controller, even ? second : first, even ? "other" : "one");
    expect_nothing_of(controller, even ? first : second);
  }
  // The last change is complete a little later. After that the device is notified of the reader's end.
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  for (bool left = true; left && std::chrono::steady_clock::now() < deadline;) {
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
    ASSERT_TRUE(device.does("readers"));
    left = device.event("readers ") != "readers 1" || threads_of(controller) != threads;
    ASSERT_TRUE(!left || std::chrono::steady_clock::now() < deadline) << "readers or threads were left";
  }
  EXPECT_TRUE(controller.quits());
}

TEST(RouterSubscriptionTest, ReportsAKilledRouterAndFindsItAgain) {
  BusPeer controller("controller");
  ASSERT_TRUE(controller.does("create"));
  ASSERT_TRUE(controller.does("subscribe " + first));
  {
    BusPeer device("router");
    ASSERT_TRUE(device.does("announce " + first + " one"));
    publish_state(device, first, "early");
    ASSERT_TRUE(controller.sees("router-added " + first + " one"));
    expect_state(controller, first, "early");
    device.kill();
  }
  ASSERT_TRUE(controller.sees("router-removed " + first));
  BusPeer device("router");
  ASSERT_TRUE(device.does("announce " + first + " again"));
  publish_state(device, first, "late");
  EXPECT_TRUE(controller.sees("router-added " + first + " again"));
  expect_state(controller, first, "late");
  ASSERT_TRUE(controller.does("set " + first + " 5 8"));
  EXPECT_TRUE(controller.sees("set 1"));
  ASSERT_TRUE(device.does("withdraw " + first));
  EXPECT_TRUE(controller.sees("router-removed " + first));
}

TEST(RouterSubscriptionTest, CleansUpAndStartsAgainDuringTraffic) {
  BusPeer device("router");
  ASSERT_TRUE(device.does("announce " + first + " one"));
  ASSERT_TRUE(device.does("stream 1 " + first));
  BusPeer controller("controller");
  for (int round = 0; round < 10 && !HasFailure(); ++round) {
    ASSERT_TRUE(controller.does("create"));
    ASSERT_TRUE(controller.does("subscribe " + first));
    EXPECT_TRUE(controller.sees("router-added " + first + " one"));
    EXPECT_TRUE(controller.sees("source " + first));
    EXPECT_TRUE(controller.sees("route " + first));
    ASSERT_TRUE(controller.does("clean-up"));
    EXPECT_TRUE(controller.sees("router-removed " + first));
    controller.events("");
  }
  ASSERT_TRUE(device.does("stream"));
  EXPECT_TRUE(controller.quits());
  EXPECT_TRUE(device.quits());
}

class LargeRouterTest : public ::testing::TestWithParam<const char*> {};

// Four matrices of 2,000 by 2,000 ports, each with 4,000 associations on both sides and 4,000 routes.
TEST_P(LargeRouterTest, ReachesEarlyAndLateControllers) {
  const auto follow = [](BusPeer& controller) {
    ASSERT_TRUE(controller.does("count"));
    ASSERT_TRUE(controller.does("create"));
    ASSERT_TRUE(controller.does("subscribe " + first));
    controller.begin("await 8000 8000 16000 16000 16000");
  };
  const auto expect_everything = [](BusPeer& controller) {
    EXPECT_TRUE(controller.sees("did await ok", long_time));
    EXPECT_TRUE(controller.sees("misnamed 0"));
  };
  BusPeer early("controller");
  follow(early);
  BusPeer device("router");
  ASSERT_TRUE(device.does(std::string("batching ") + GetParam()));
  device.begin("fill " + first + " 4 2000 4000");
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
