// SPDX-License-Identifier: Apache-2.0

// Tests the basis of the platform: sequences, the log and threads.
#include "support/bus.h"
#include "tessivar/platform/osapi.h"

#include <pthread.h>
#include <signal.h>

namespace platform_test {
namespace {

using namespace tessivar::platform;
using testing::ElementsAre;
using testing::HasSubstr;

/// Sequences of structures with strings. The leak checker tests the ownership of the strings.
class SequenceTest : public testing::Test {
 protected:
  SequenceTest() {
    commands.ensure_length(3, 10);
    for (DDS_Long i = 0; i < 3; ++i) DDS_String_replace(&commands[i].unitId, "unit");
  }
  Tessivar::CommandSeq commands;
  LogRecorder log;
};

TEST_F(SequenceTest, LogsWhyACallFailsAndStaysUnchanged) {
  Command one = {};
  Tessivar::CommandSeq loaned;
  ASSERT_TRUE(loaned.loan_contiguous(&one, 1, 1));
  commands.set_absolute_maximum(11);
  const auto check = [&](bool result, const char* line) {
    EXPECT_FALSE(result) << line;
    EXPECT_THAT(log.lines(), ElementsAre(HasSubstr(line)));
  };
  check(commands.set_maximum(12), "CommandSeq_set_maximum: new max cannot be larger than absolute maximum");
  check(commands.ensure_length(5, 4), "CommandSeq_ensure_length: insufficient space (5, 4)");
  check(loaned.set_maximum(5), "CommandSeq_set_maximum: buffer must not be loaned");
  check(loaned.copy_no_alloc(commands), "CommandSeq_copy_no_alloc: insufficient space (1, 3)");
  check(CommandSeq_copy(&commands, nullptr), "CommandSeq_copy: bad parameter: source");
  check(CommandSeq_copy_no_alloc(&commands, nullptr), "CommandSeq_copy_no_alloc: bad parameter: source");
  check(CommandSeq_get_reference(&commands, 3), "CommandSeq_get_reference: index out of bounds");
  check(CommandSeq_get(&commands, -1).unitId, "CommandSeq_get: index out of bounds");
  EXPECT_EQ(commands.length(), 3);
  commands[7].commandNumber = 9;  // an index out of range: the write has no effect
  EXPECT_EQ(commands[7].commandNumber, 0u);
}

TEST_F(SequenceTest, CopiesElementsBetweenAllKindsOfBuffers) {
  Tessivar::CommandSeq copy(commands), scattered;
  DDS_String_replace(&commands[0].unitId, "changed");
  EXPECT_STREQ(copy[0].unitId, "unit");
  Command array[3] = {};
  Command* pointers[3] = {&array[0], &array[1], &array[2]};
  ASSERT_TRUE(scattered.loan_discontiguous(pointers, 0, 3));
  ASSERT_TRUE(scattered.copy_no_alloc(commands));
  EXPECT_EQ(scattered.get_reference(1), &array[1]);
  ASSERT_TRUE(copy.copy(scattered));
  EXPECT_TRUE(scattered.unloan());
  EXPECT_STREQ(array[0].unitId, "changed") << "what was lent is left alone";
  for (Command& each : array) Tessivar::Command_finalize(&each);
  for (const DDS_Long maximum : {1, 20}) {
    EXPECT_TRUE(copy.set_maximum(maximum));
    ASSERT_EQ(copy.length(), 1);
    EXPECT_STREQ(copy[0].unitId, "changed");
  }
}

TEST(OsapiThreadTest, TruncatesItsNameAndBlocksSignals) {
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
  RTIOsapiThread* thread =
      RTIOsapiThreadFactory_createThread(factory, "DDSRequestReply_Client", 0, 0, -1, nullptr, look, &seen);
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
}  // namespace platform_test
