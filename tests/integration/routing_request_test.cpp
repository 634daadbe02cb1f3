// SPDX-License-Identifier: Apache-2.0

// Tests the change of routes: tickets with a router that replies, refuses, is slow or does not exist.
#include "support/bus_peer.h"

#include <optional>

namespace tessivar::testing {
namespace {

constexpr std::chrono::milliseconds long_time{130000};

// The results of replies.
const std::string pending = "0", complete = "1", in_progress = "2", failed = "3";

const std::string router = "0001:03:01";

class RouteRequestTest : public ::testing::Test {
 protected:
  void start() {
    device_.emplace("router");
    controller_.emplace("controller");
    join(*controller_);
  }

  /// Waits until requests arrive.
  void join(BusPeer& controller) {
    ASSERT_TRUE(device().does("port " + router + " 1 port"));
    ASSERT_TRUE(device().does("route " + router + " 1 0"));
    ASSERT_TRUE(controller.does("create"));
    ASSERT_TRUE(controller.does("subscribe " + router));
    ASSERT_TRUE(controller.sees("route " + router + " 1 0"));
    for (int tries = 0; tries < 100; ++tries) {
      ASSERT_TRUE(controller.does("set " + router + " 1 0"));
      if (controller.event("set") == "set " + complete) break;
      ASSERT_LT(tries, 99) << "no request gets through";
    }
    controller.events("");
    device().events("");
  }

  BusPeer& device() { return *device_; }
  BusPeer& controller() { return *controller_; }

 private:
  std::optional<BusPeer> device_;
  std::optional<BusPeer> controller_;
};

TEST_F(RouteRequestTest, EndsWithTheReplyOfTheRouter) {
  start();
  BusPeer other("controller");
  join(other);
  controller().events("");
  ASSERT_TRUE(controller().does("set " + router + " 7 42"));
  EXPECT_TRUE(controller().sees("set " + complete));
  EXPECT_TRUE(controller().sees("result " + complete));
  EXPECT_TRUE(controller().sees("route " + router + " 7 42"));
  EXPECT_TRUE(device().sees("request " + router + " 7 42"));
  // Another controller receives the changed route, and no ticket.
  EXPECT_TRUE(other.sees("route " + router + " 7 42"));
  EXPECT_TRUE(other.saw_nothing_of("result"));

  ASSERT_TRUE(device().does("answer refuse protected"));
  ASSERT_TRUE(controller().does("set " + router + " 7 43"));
  EXPECT_TRUE(controller().sees("set " + failed));
  EXPECT_TRUE(controller().sees("result " + failed + " protected"));
  EXPECT_TRUE(controller().saw_nothing_of("route " + router + " 7"));

  ASSERT_TRUE(device().does("answer progress 3 50"));
  ASSERT_TRUE(controller().does("set " + router + " 7 44"));
  EXPECT_TRUE(controller().sees("set " + complete));
  EXPECT_TRUE(controller().sees("result " + pending));
  for (int i = 0; i < 3; ++i) EXPECT_TRUE(controller().sees("result " + in_progress));
  EXPECT_TRUE(controller().sees("result " + complete));
}

TEST_F(RouteRequestTest, FiveThousandPendingRequestsLoseNone) {
  start();
  ASSERT_TRUE(device().does("answer echo"));
  controller().begin("flood " + router + " 1 5000 5000");
  EXPECT_TRUE(controller().sees("flood 5000 0 0", long_time)) << controller().transcript();
}

TEST_F(RouteRequestTest, FailsAtOnceWithoutRouter) {
  BusPeer controller("controller");
  ASSERT_TRUE(controller.does("create"));
  controller.begin("set " + router + " 7 42");
  EXPECT_FALSE(controller.did("set")) << "a ticket before any subscription";
  ASSERT_TRUE(controller.does("subscribe " + router));
  ASSERT_TRUE(controller.does("set " + router + " 7 42"));
  EXPECT_TRUE(controller.sees("set " + failed));
  // A subscription that was changed before any router existed also finds a router.
  ASSERT_TRUE(controller.does("subscribe " + router));
  BusPeer device("router");
  ASSERT_TRUE(device.does("route " + router + " 1 0"));
  ASSERT_TRUE(controller.sees("route " + router + " 1 0"));
  for (int tries = 0; tries < 100; ++tries) {
    ASSERT_TRUE(controller.does("set " + router + " 7 42"));
    if (controller.event("set") == "set " + complete) return;
  }
  FAIL() << "no request gets through";
}

}  // namespace
}  // namespace tessivar::testing
