#include "tessivar/platform/osapi.h"

#include <chrono>
#include <memory>
#include <pthread.h>
#include <signal.h>
#include <stdexcept>
#include <string>
#include <thread>

#include <gtest/gtest.h>

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr RTINtpTime now = {0, 0};
constexpr RTINtpTime half_a_second = {0, 0x80000000};
constexpr RTINtpTime minute = {60, 0};

struct DeleteSemaphore {
  void operator()(RTIOsapiSemaphore* semaphore) const { RTIOsapiSemaphore_delete(semaphore); }
};
using Semaphore = std::unique_ptr<RTIOsapiSemaphore, DeleteSemaphore>;

Semaphore make(int count) {
  const RTIOsapiSemaphoreProperty property = {0, count};
  return Semaphore(RTIOsapiSemaphore_new(RTI_OSAPI_SEMAPHORE_KIND_BINARY, &property));
}

TEST(OsapiSemaphore, is_binary) {
  for (const int initially : {0, 1}) {
    const Semaphore semaphore = make(initially);
    EXPECT_EQ(RTIOsapiSemaphore_take(semaphore.get(), &now),
              initially ? RTI_OSAPI_SEMAPHORE_STATUS_OK : RTI_OSAPI_SEMAPHORE_STATUS_TIMEOUT);
    EXPECT_EQ(RTIOsapiSemaphore_give(semaphore.get()), RTI_OSAPI_SEMAPHORE_STATUS_OK);
    EXPECT_EQ(RTIOsapiSemaphore_give(semaphore.get()), RTI_OSAPI_SEMAPHORE_STATUS_OK);
    EXPECT_EQ(RTIOsapiSemaphore_take(semaphore.get(), nullptr), RTI_OSAPI_SEMAPHORE_STATUS_OK);
    EXPECT_EQ(RTIOsapiSemaphore_take(semaphore.get(), &now), RTI_OSAPI_SEMAPHORE_STATUS_TIMEOUT)
        << "given twice counts once";
  }
}

TEST(OsapiSemaphore, waits_as_long_as_told) {
  const Semaphore semaphore = make(0);
  const auto begin = Clock::now();
  EXPECT_EQ(RTIOsapiSemaphore_take(semaphore.get(), &half_a_second), RTI_OSAPI_SEMAPHORE_STATUS_TIMEOUT);
  EXPECT_GE(Clock::now() - begin, milliseconds(500));
  const RTINtpTime negative = {-1, 0xffffffff};
  EXPECT_EQ(RTIOsapiSemaphore_take(semaphore.get(), &negative), RTI_OSAPI_SEMAPHORE_STATUS_TIMEOUT);
}

TEST(OsapiSemaphore, wakes_a_waiting_thread) {
  for (const RTINtpTime* timeout : {&minute, static_cast<const RTINtpTime*>(nullptr)}) {
    const Semaphore ping = make(0);
    const Semaphore pong = make(0);
    std::thread other([&] {
      for (int i = 0; i < 1000; ++i) {
        EXPECT_EQ(RTIOsapiSemaphore_take(ping.get(), timeout), RTI_OSAPI_SEMAPHORE_STATUS_OK);
        RTIOsapiSemaphore_give(pong.get());
      }
    });
    for (int i = 0; i < 1000; ++i) {
      RTIOsapiSemaphore_give(ping.get());
      EXPECT_EQ(RTIOsapiSemaphore_take(pong.get(), timeout), RTI_OSAPI_SEMAPHORE_STATUS_OK);
    }
    other.join();
  }
}

TEST(OsapiSemaphore, excludes) {
  const Semaphore semaphore = make(1);
  int counter = 0;
  const auto count = [&] {
    for (int i = 0; i < 10000; ++i) {
      RTIOsapiSemaphore_take(semaphore.get(), nullptr);
      ++counter;
      RTIOsapiSemaphore_give(semaphore.get());
    }
  };
  std::thread a(count), b(count);
  a.join();
  b.join();
  EXPECT_EQ(counter, 20000);
}

TEST(OsapiSemaphore, refuses_what_it_is_not) {
  EXPECT_EQ(RTIOsapiSemaphore_new(1, nullptr), nullptr);
  EXPECT_EQ(RTIOsapiSemaphore_take(nullptr, &now), RTI_OSAPI_SEMAPHORE_STATUS_ERROR);
  EXPECT_EQ(RTIOsapiSemaphore_give(nullptr), RTI_OSAPI_SEMAPHORE_STATUS_ERROR);
  RTIOsapiSemaphore_delete(nullptr);
}

class OsapiThread : public testing::Test {
 protected:
  ~OsapiThread() override { RTIOsapiThreadFactory_delete(factory); }

  RTIOsapiThread* start(const char* name, RTIOsapiThreadFunction entry, void* argument, int stack_size = -1) {
    return RTIOsapiThreadFactory_createThread(factory, name, 0, 0, stack_size, nullptr, entry, argument);
  }

  RTIOsapiThreadFactory* factory = RTIOsapiThreadFactory_newDefault();
};

TEST_F(OsapiThread, runs_under_its_name_cut_to_the_limit) {
  const struct {
    const char* name;
    const char* seen;
  } cases[] = {{"TessivarThread", "TessivarThread"}, {"DDSRequestReply_Client", "DDSRequestReply"}, {"", ""}};
  for (const auto& c : cases) {
    std::string seen = "?";
    RTIOsapiThread* thread = start(
        c.name,
        [](void* argument) -> void* {
          char name[16];
          pthread_getname_np(pthread_self(), name, sizeof name);
          *static_cast<std::string*>(argument) = name;
          return nullptr;
        },
        &seen);
    ASSERT_NE(thread, nullptr);
    RTIOsapiThreadFactory_destroyThread(factory, thread);
    EXPECT_EQ(seen, c.seen);
  }
}

TEST_F(OsapiThread, leaves_signals_to_the_application) {
  sigset_t mask;
  sigemptyset(&mask);
  RTIOsapiThread* thread = start(
      "t",
      [](void* argument) -> void* {
        pthread_sigmask(SIG_BLOCK, nullptr, static_cast<sigset_t*>(argument));
        return nullptr;
      },
      &mask);
  RTIOsapiThreadFactory_destroyThread(factory, thread);
  EXPECT_TRUE(sigismember(&mask, SIGTERM));
  EXPECT_FALSE(sigismember(&mask, SIGSEGV));
  pthread_sigmask(SIG_BLOCK, nullptr, &mask);
  EXPECT_FALSE(sigismember(&mask, SIGTERM)) << "the creating thread has its own mask again";
}

TEST_F(OsapiThread, may_throw) {
  RTIOsapiThread* thread = start(
      "thrower", [](void*) -> void* { throw std::runtime_error("x"); }, nullptr);
  ASSERT_NE(thread, nullptr);
  RTIOsapiThreadFactory_destroyThread(factory, thread);
}

TEST_F(OsapiThread, may_destroy_itself) {
  struct Self {
    Semaphore created = make(0);
    Semaphore destroyed = make(0);
    RTIOsapiThread* thread = nullptr;
  } self;
  self.thread = start(
      "self",
      [](void* argument) -> void* {
        auto& me = *static_cast<Self*>(argument);
        RTIOsapiSemaphore_take(me.created.get(), nullptr);
        RTIOsapiThreadFactory_destroyThread(nullptr, me.thread);
        RTIOsapiSemaphore_give(me.destroyed.get());
        return nullptr;
      },
      &self);
  RTIOsapiSemaphore_give(self.created.get());
  EXPECT_EQ(RTIOsapiSemaphore_take(self.destroyed.get(), &minute), RTI_OSAPI_SEMAPHORE_STATUS_OK);
}

TEST_F(OsapiThread, is_refused_what_cannot_be_had) {
  const auto entry = [](void*) -> void* { return nullptr; };
  EXPECT_EQ(start("t", nullptr, nullptr), nullptr);
  EXPECT_EQ(start(nullptr, entry, nullptr), nullptr);
  EXPECT_EQ(start("t", entry, nullptr, 1), nullptr) << "a stack of one octet";
  EXPECT_EQ(RTIOsapiThreadFactory_createThread(nullptr, "t", 0, 0, -1, nullptr, entry, nullptr), nullptr);
  EXPECT_EQ(RTIOsapiThreadFactory_createThread(factory, "t", 5, 0, -1, nullptr, entry, nullptr), nullptr);
  RTIOsapiThreadFactory_destroyThread(factory, nullptr);
}

TEST(OsapiSleep, lasts_at_least_its_time) {
  const auto begin = Clock::now();
  const RTINtpTime twenty_milliseconds = {0, 20 * 4294968u};
  RTIOsapiThread_sleep(&twenty_milliseconds);
  EXPECT_GE(Clock::now() - begin, milliseconds(20));
  RTIOsapiThread_sleep(nullptr);
}

}  // namespace
