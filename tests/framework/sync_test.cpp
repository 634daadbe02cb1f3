#include "tessivar/framework/sync/sync.h"

#include "tessivar/framework/log/logger.h"
#include "tessivar/framework/sync/ntp_time.h"
#include "tessivar/framework/sync/thread.h"
#include "tessivar/framework/sync/thread_factory.h"

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <pthread.h>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>

#include <gtest/gtest.h>

namespace {

using namespace TessivarDDS;
using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

TEST(NtpTime, splits_milliseconds) {
  const struct {
    int ms;
    DDS_Long sec;
    DDS_UnsignedLong frac;
  } cases[] = {{0, 0, 0}, {999, 0, 999 * 0x418900u}, {-1500, 0, 0}, {2147483647, 2147483, 647 * 0x418900u}};
  for (const auto& c : cases) {
    const RTINtpTime time = tessivar::framework::toNtpTime(c.ms);
    EXPECT_EQ(time.sec, c.sec) << c.ms;
    EXPECT_EQ(time.frac, c.frac) << c.ms;
  }
}

TEST(Mutex, is_held_by_one_at_a_time) {
  TessivarMutex mutex;
  EXPECT_TRUE(mutex.lock(0));
  EXPECT_FALSE(mutex.lock(-7)) << "not recursive; a negative time is none";
  const auto begin = Clock::now();
  EXPECT_FALSE(mutex.lock(100));
  EXPECT_GE(Clock::now() - begin, milliseconds(99));
  mutex.unlock();
  mutex.unlock();
  EXPECT_TRUE(mutex.lock(-1));
  EXPECT_FALSE(mutex.lock(0)) << "unlocked twice counts once";
}

TEST(Event, lets_one_wait_through_per_signal) {
  TessivarEvent event;
  for (int twice = 0; twice < 2; ++twice) event.signal();
  EXPECT_TRUE(event.wait(-1));
  EXPECT_FALSE(event.wait(1));
  std::thread signaller([&] { event.signal(); });
  EXPECT_TRUE(event.wait(60000));
  signaller.join();
}

class Worker : public TessivarThread {
 public:
  explicit Worker(std::function<void()> what = [] {}) : work(std::move(what)) {}
  ~Worker() override { join(); }
  void run() override {
    char buffer[16];
    pthread_getname_np(pthread_self(), buffer, sizeof buffer);
    name = buffer;
    ++runs;
    const auto mine = work;  // outlives a worker that destroys itself
    mine();
  }
  using TessivarThread::join;

  std::atomic<int> runs = 0;
  std::string name;
  std::function<void()> work;
};

TEST(Thread, starts_once_and_is_waited_for) {
  TessivarEvent go;
  bool done = false;
  Worker worker([&] {
    EXPECT_TRUE(go.wait(60000));
    done = true;
  });
  const unsigned before = tessivar::framework::threadsCreated();
  worker.start();
  worker.start();
  EXPECT_EQ(tessivar::framework::threadsCreated(), before + 1);
  go.signal();
  worker.join();
  EXPECT_TRUE(done);
  EXPECT_EQ(worker.runs, 1);
  EXPECT_EQ(worker.name, "TessivarThread");
}

TEST(Thread, contains_an_exception) {
  const struct {
    std::function<void()> work;
    std::string message;
  } cases[] = {{[] { throw std::runtime_error("boom"); }, " Exception in the thread: boom\n"},
               {[] { throw 1; }, " Exception in the thread.\n"}};
  for (const auto& c : cases) {
    testing::internal::CaptureStderr();
    Worker worker(c.work);
    worker.start();
    worker.join();
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "void __cdecl TessivarDDS::TessivarThread::run(void)" + c.message);
  }
}

TEST(Thread, may_destroy_itself) {
  TessivarEvent started, destroyed;
  auto* worker = new Worker;
  worker->work = [&] {
    EXPECT_TRUE(started.wait(60000));
    delete worker;
    destroyed.signal();
  };
  worker->start();
  started.signal();
  EXPECT_TRUE(destroyed.wait(60000));
}

/// In a process of its own, as the count of threads is the process's.
TEST(ThreadFactoryDeathTest, goes_with_the_only_thread_and_stays_with_more) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  EXPECT_EXIT(
      {
        using tessivar::framework::threadsCreated;
        const auto one = [] {
          Worker worker;
          worker.start();
        };
        one();
        const unsigned after_one = threadsCreated();
        {
          Worker a;
          Worker b;
          a.start();
          b.start();
        }
        const unsigned after_two = threadsCreated();
        one();
        std::fprintf(stderr, "%u %u %u", after_one, after_two, threadsCreated());
        std::_Exit(0);
      },
      testing::ExitedWithCode(0), "^0 2 3$");
}

}  // namespace
