// SPDX-License-Identifier: Apache-2.0

// Tests the examples for logging, each in its own process: a browser reads stored messages in pages.
#include "support/bus_peer.h"

namespace tessivar::testing {
namespace {

TEST(LogHistoryTest, BrowserReadsItInPages) {
  ChildProcess publisher = example("log_publisher", "0001:04:01");
  for (int i = 1; i <= 55; ++i) ASSERT_TRUE(publisher.send("fan 0 message" + std::to_string(i)));
  ChildProcess history = example("log_history", "");
  ASSERT_TRUE(history.event("messages kept: 50"));
  ChildProcess browser = example("log_browser", "0001:04:01");
  for (const char* line : {"a page of 20:", "  0001:04:01 fan: message6", "a page of 20:",
                           "  0001:04:01 fan: message26", "a page of 10, the last:", "  0001:04:01 fan: message55"})
    EXPECT_TRUE(browser.event(line)) << line << browser.transcript();
  EXPECT_EQ(browser.wait(), 0);
  ChildProcess other = example("log_browser", "0001:04:02");
  EXPECT_TRUE(other.event("a page of 0, the last:")) << other.transcript();
}

}  // namespace
}  // namespace tessivar::testing
