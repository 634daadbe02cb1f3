// SPDX-License-Identifier: Apache-2.0

#include "tessivar/framework/sync/sync.h"

#include "tessivar/framework/sync/thread.h"
#include "tests/support/log_recorder.h"

#include <stdexcept>

#include <gmock/gmock.h>

namespace {

using namespace TessivarDDS;
using namespace testing;

TEST(TessivarMutexTest, HasOneHolderAtATime) {
  TessivarMutex mutex;
  EXPECT_TRUE(mutex.lock(0));
  EXPECT_FALSE(mutex.lock(20) || mutex.lock(-7)) << "not recursive; a negative time is none";
  for (int twice = 0; twice < 2; ++twice) mutex.unlock();
  EXPECT_TRUE(mutex.lock(-1));
  EXPECT_FALSE(mutex.lock(0)) << "unlocked twice counts once";
}

TEST(TessivarThreadTest, StartsOnceAndLogsItsException) {
  struct Worker : TessivarThread {
    explicit Worker(TessivarEvent& event) : go(event) {}
    ~Worker() override { join(); }
    void run() override {
      go.wait(60000);
      throw std::runtime_error("boom");
    }
    TessivarEvent& go;
  };
  tessivar::testing::LogRecorder log;
  {
    TessivarEvent go;
    Worker worker(go);
    for (int twice = 0; twice < 2; ++twice) worker.start();
    go.signal();
  }
  EXPECT_THAT(log.lines(), ElementsAre(EndsWith("run(void) Exception in the thread: boom")));
}

}  // namespace
