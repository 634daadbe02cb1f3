// Stored messages that are fetched page by page, with the request/reply templates alone.
#include "support/peer.h"

namespace tessivar::testing {
namespace {

TEST(LogHistory, ComesInPagesToWhoAsks) {
  Peer history("logger");
  ASSERT_TRUE(history.does("keep 0001:04:01 50"));
  Peer browser("logger");
  ASSERT_TRUE(browser.does("browse 0001:04:01"));
  for (const char* page : {"page 20 more 0", "page 20 more 20", "page 10 last 40"}) EXPECT_TRUE(browser.sees(page));
  ASSERT_TRUE(browser.does("browse 0001:04:02"));
  EXPECT_TRUE(browser.sees("page 0 last -"));
  EXPECT_TRUE(browser.saw_nothing_of("page"));
  EXPECT_TRUE(history.saw_nothing_of("page"));
}

}  // namespace
}  // namespace tessivar::testing
