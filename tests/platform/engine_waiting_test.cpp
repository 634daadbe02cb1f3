// Conditions and wait sets.
#include "tests/platform/engine_fixture.h"

#include <future>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace engine_test {
namespace {

using testing::ElementsAre;
using testing::UnorderedElementsAre;

constexpr DDS_DomainId_t domain = 69;
constexpr std::int64_t second = 1'000'000'000;

class EngineWaiting : public testing::Test {
 protected:
  std::unique_ptr<EngineWaitSet> wait_set_ = cyclone_engine().create_wait_set();
  std::vector<void*> cookies_;
  int a_ = 0;
  int b_ = 0;
};

TEST_F(EngineWaiting, GuardConditionsWakeAndStayTriggered) {
  const auto a = cyclone_engine().create_guard_condition();
  const auto b = cyclone_engine().create_guard_condition();
  EXPECT_EQ(wait_set_->attach(*a, &a_), DDS_RETCODE_OK);
  EXPECT_EQ(wait_set_->attach(*a, &a_), DDS_RETCODE_PRECONDITION_NOT_MET);
  EXPECT_EQ(wait_set_->attach(*b, &b_), DDS_RETCODE_OK);
  EXPECT_EQ(wait_set_->wait(0, cookies_), DDS_RETCODE_TIMEOUT);
  b->set_trigger(true);
  EXPECT_TRUE(b->triggered());
  EXPECT_FALSE(a->triggered());
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(wait_set_->wait(never, cookies_), DDS_RETCODE_OK);
    EXPECT_THAT(cookies_, ElementsAre(&b_));
  }
  a->set_trigger(true);
  EXPECT_EQ(wait_set_->wait(never, cookies_), DDS_RETCODE_OK);
  EXPECT_THAT(cookies_, UnorderedElementsAre(&a_, &b_));
  b->set_trigger(false);
  EXPECT_EQ(wait_set_->detach(*a), DDS_RETCODE_OK);
  EXPECT_EQ(wait_set_->detach(*a), DDS_RETCODE_PRECONDITION_NOT_MET);
  EXPECT_EQ(wait_set_->wait(0, cookies_), DDS_RETCODE_TIMEOUT);
  EXPECT_TRUE(cookies_.empty());
}

TEST_F(EngineWaiting, AnEmptyWaitSetWaitsItsTime) {
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(wait_set_->wait(second / 20, cookies_), DDS_RETCODE_TIMEOUT);
  EXPECT_GE(std::chrono::steady_clock::now() - begin, 50ms);
  EXPECT_EQ(wait_set_->wait(-1, cookies_), DDS_RETCODE_BAD_PARAMETER);
}

TEST_F(EngineWaiting, WhatIsAttachedWhileWaitingWakes) {
  auto waiter = std::async(std::launch::async, [this] { return wait_set_->wait(20 * second, cookies_); });
  const auto guard = cyclone_engine().create_guard_condition();
  guard->set_trigger(true);
  EXPECT_EQ(wait_set_->attach(*guard, &a_), DDS_RETCODE_OK);
  EXPECT_EQ(waiter.get(), DDS_RETCODE_OK);
  EXPECT_THAT(cookies_, ElementsAre(&a_));
}

TEST_F(EngineWaiting, AConditionThatEndsIsDetached) {
  auto gone = cyclone_engine().create_guard_condition();
  const auto kept = cyclone_engine().create_guard_condition();
  wait_set_->attach(*gone, &a_);
  wait_set_->attach(*kept, &b_);
  auto waiter = std::async(std::launch::async, [this] { return wait_set_->wait(20 * second, cookies_); });
  gone.reset();
  kept->set_trigger(true);
  EXPECT_EQ(waiter.get(), DDS_RETCODE_OK);
  EXPECT_THAT(cookies_, ElementsAre(&b_));
}

TEST_F(EngineWaiting, ReadConditionsFollowTheirStates) {
  const auto participant = make_participant(participant_config(domain));
  const auto writer = make_writer(*participant, "Test.Waiting", writer_qos());
  const auto reader = make_reader(*participant, "Test.Waiting", reader_qos());
  const auto unread = reader->create_condition(DDS_NOT_READ_SAMPLE_STATE, DDS_ANY_VIEW_STATE, DDS_ALIVE_INSTANCE_STATE);
  const auto ended =
      reader->create_condition(DDS_NOT_READ_SAMPLE_STATE, DDS_ANY_VIEW_STATE, DDS_NOT_ALIVE_INSTANCE_STATE);
  EXPECT_EQ(reader->create_condition(0, DDS_ANY_VIEW_STATE, DDS_ANY_INSTANCE_STATE), nullptr);
  wait_set_->attach(*unread, &a_);
  wait_set_->attach(*ended, &b_);
  std::vector<EngineSlot> slots;

  auto waiter = std::async(std::launch::async, [this] { return wait_set_->wait(20 * second, cookies_); });
  write(*writer, {1, 1});
  EXPECT_EQ(waiter.get(), DDS_RETCODE_OK);
  EXPECT_THAT(cookies_, ElementsAre(&a_));
  EXPECT_EQ(reader->access({}, -1, slots), DDS_RETCODE_OK);
  EXPECT_FALSE(unread->triggered());

  writer->write(encode_key(*writer, 1), WriteKind::dispose, -1);
  EXPECT_EQ(wait_set_->wait(20 * second, cookies_), DDS_RETCODE_OK);
  EXPECT_THAT(cookies_, ElementsAre(&b_));
}

TEST_F(EngineWaiting, ManyConditionsAreReportedAtOnce) {
  std::vector<std::unique_ptr<EngineGuardCondition>> guards;
  for (int i = 0; i < 100; ++i) {
    guards.push_back(cyclone_engine().create_guard_condition());
    wait_set_->attach(*guards.back(), guards.back().get());
    guards.back()->set_trigger(true);
  }
  EXPECT_EQ(wait_set_->wait(never, cookies_), DDS_RETCODE_OK);
  EXPECT_EQ(cookies_.size(), 100u);
}

}  // namespace
}  // namespace engine_test
