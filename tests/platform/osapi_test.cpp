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

TEST(OsapiSemaphore, is_binary_and_waits_as_long_as_told) {
  const Semaphore semaphore = make(1);
  EXPECT_EQ(RTIOsapiSemaphore_take(semaphore.get(), &now), RTI_OSAPI_SEMAPHORE_STATUS_OK);
  for (int twice = 0; twice < 2; ++twice) RTIOsapiSemaphore_give(semaphore.get());
  EXPECT_EQ(RTIOsapiSemaphore_take(semaphore.get(), nullptr), RTI_OSAPI_SEMAPHORE_STATUS_OK);
  EXPECT_EQ(RTIOsapiSemaphore_take(semaphore.get(), &now), RTI_OSAPI_SEMAPHORE_STATUS_TIMEOUT) << "given twice";
  const RTINtpTime negative = {-1, 0xffffffff};
  EXPECT_EQ(RTIOsapiSemaphore_take(semaphore.get(), &negative), RTI_OSAPI_SEMAPHORE_STATUS_TIMEOUT);
  const auto begin = Clock::now();
  EXPECT_EQ(RTIOsapiSemaphore_take(semaphore.get(), &half_a_second), RTI_OSAPI_SEMAPHORE_STATUS_TIMEOUT);
  EXPECT_GE(Clock::now() - begin, milliseconds(500));
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

class OsapiThread : public testing::Test {
 protected:
  ~OsapiThread() override { RTIOsapiThreadFactory_delete(factory); }

  RTIOsapiThread* start(const char* name, RTIOsapiThreadFunction entry, void* argument, int stack_size = -1) {
    return RTIOsapiThreadFactory_createThread(factory, name, 0, 0, stack_size, nullptr, entry, argument);
  }

  RTIOsapiThreadFactory* factory = RTIOsapiThreadFactory_newDefault();
};

TEST_F(OsapiThread, runs_under_its_cut_name_and_leaves_signals_to_the_application) {
  struct Seen {
    char name[16];
    sigset_t mask;
  } seen;
  RTIOsapiThread* thread = start(
      "DDSRequestReply_Client",
      [](void* argument) -> void* {
        auto& its = *static_cast<Seen*>(argument);
        pthread_getname_np(pthread_self(), its.name, sizeof its.name);
        pthread_sigmask(SIG_BLOCK, nullptr, &its.mask);
        return nullptr;
      },
      &seen);
  ASSERT_NE(thread, nullptr);
  RTIOsapiThreadFactory_destroyThread(factory, thread);
  EXPECT_STREQ(seen.name, "DDSRequestReply");
  EXPECT_TRUE(sigismember(&seen.mask, SIGTERM));
  EXPECT_FALSE(sigismember(&seen.mask, SIGSEGV));
  pthread_sigmask(SIG_BLOCK, nullptr, &seen.mask);
  EXPECT_FALSE(sigismember(&seen.mask, SIGTERM)) << "the creating thread has its own mask again";
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
