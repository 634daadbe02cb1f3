#include "tessivar/platform/osapi.h"

#include <pthread.h>
#include <signal.h>

#include <gtest/gtest.h>

namespace {

TEST(OsapiThread, RunsUnderItsCutNameAndLeavesSignalsToTheApplication) {
  struct Seen {
    char name[16];
    sigset_t mask;
  } seen;
  RTIOsapiThreadFactory* factory = RTIOsapiThreadFactory_newDefault();
  const auto look = [](void* argument) -> void* {
    auto& its = *static_cast<Seen*>(argument);
    pthread_getname_np(pthread_self(), its.name, sizeof its.name);
    pthread_sigmask(SIG_BLOCK, nullptr, &its.mask);
    return nullptr;
  };
  const auto start = [&](RTIOsapiThreadFunction entry, int priority, int stack_size) {
    return RTIOsapiThreadFactory_createThread(factory, "DDSRequestReply_Client", priority, 0, stack_size, nullptr,
                                              entry, &seen);
  };
  EXPECT_EQ(start(nullptr, 0, -1), nullptr);
  EXPECT_EQ(start(look, 5, -1), nullptr) << "no such priority";
  EXPECT_EQ(start(look, 0, 1), nullptr) << "a stack of one octet";
  RTIOsapiThread* thread = start(look, 0, -1);
  ASSERT_NE(thread, nullptr);
  RTIOsapiThreadFactory_destroyThread(factory, thread);
  EXPECT_STREQ(seen.name, "DDSRequestReply");
  EXPECT_TRUE(sigismember(&seen.mask, SIGTERM));
  EXPECT_FALSE(sigismember(&seen.mask, SIGSEGV));
  pthread_sigmask(SIG_BLOCK, nullptr, &seen.mask);
  EXPECT_FALSE(sigismember(&seen.mask, SIGTERM)) << "the creating thread has its own mask again";
  RTIOsapiThreadFactory_delete(factory);
}

}  // namespace
