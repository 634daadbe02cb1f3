#include "tessivar/framework/sync/sync.h"

#include "tessivar/framework/sync/thread.h"
#include "tests/support/log_recorder.h"

#include <stdexcept>

#include <gmock/gmock.h>

namespace {

using namespace TessivarDDS;
using namespace testing;

TEST(Mutex, is_held_by_one_at_a_time) {
  TessivarMutex mutex;
  EXPECT_TRUE(mutex.lock(0));
  EXPECT_FALSE(mutex.lock(20) || mutex.lock(-7)) << "not recursive; a negative time is none";
  for (int twice = 0; twice < 2; ++twice) mutex.unlock();
  EXPECT_TRUE(mutex.lock(-1));
  EXPECT_FALSE(mutex.lock(0)) << "unlocked twice counts once";
}

TEST(Event, lets_one_wait_through_per_signal) {
  TessivarEvent event;
  for (int twice = 0; twice < 2; ++twice) event.signal();
  EXPECT_TRUE(event.wait(-1));
  EXPECT_FALSE(event.wait(1));
}

TEST(Thread, starts_once_and_contains_an_exception) {
  struct Worker : TessivarThread {
    Worker(TessivarEvent& event, int& count, bool how) : go(event), runs(count), standard(how) {}
    ~Worker() override { join(); }
    void run() override {
      runs += go.wait(60000);
      if (standard) throw std::runtime_error("boom");
      throw 1;
    }
    TessivarEvent& go;
    int& runs;
    const bool standard;
  };
  tessivar::testing::LogRecorder log;
  int runs = 0;
  for (const bool standard : {true, false}) {
    TessivarEvent go;
    Worker worker(go, runs, standard);
    for (int twice = 0; twice < 2; ++twice) worker.start();
    go.signal();
  }
  EXPECT_EQ(runs, 2) << "and their ends were waited for";
  EXPECT_THAT(log.lines(), ElementsAre(EndsWith("run(void) Exception in the thread: boom"),
                                       EndsWith("run(void) Exception in the thread.")));
}

}  // namespace
