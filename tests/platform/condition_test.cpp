// SPDX-License-Identifier: Apache-2.0

#include "support/bus.h"

#include <future>

namespace platform_test {
namespace {

using testing::ElementsAre;
using testing::SizeIs;

class WaitSetTest : public testing::Test {
 protected:
  static std::vector<DDSCondition*> all(const DDSConditionSeq& conditions) {
    std::vector<DDSCondition*> result;
    for (DDS_Long i = 0; i < conditions.length(); ++i) result.push_back(conditions[i]);
    return result;
  }
  /// Returns the triggered conditions; nothing after a timeout.
  std::vector<DDSCondition*> wait(const DDS_Duration_t& timeout = patience) {
    DDSConditionSeq active;
    const DDS_ReturnCode_t result = wait_set.wait(active, timeout);
    EXPECT_EQ(result, active.length() ? DDS_RETCODE_OK : DDS_RETCODE_TIMEOUT);
    return all(active);
  }
  DDSWaitSet wait_set;
};

TEST_F(WaitSetTest, ReturnsTriggeredConditionsInOrderOfAttachment) {
  DDSGuardCondition guards[4];
  for (const int i : {2, 0, 3, 1, 0}) EXPECT_EQ(wait_set.attach_condition(&guards[i]), DDS_RETCODE_OK);
  EXPECT_THAT(wait(at_once), SizeIs(0));
  for (DDSGuardCondition& guard : guards) guard.set_trigger_value(DDS_BOOLEAN_TRUE);
  EXPECT_THAT(wait(), ElementsAre(&guards[2], &guards[0], &guards[3], &guards[1]));
  guards[2].set_trigger_value(DDS_BOOLEAN_FALSE);
  EXPECT_EQ(wait_set.detach_condition(&guards[0]), DDS_RETCODE_OK);
  EXPECT_EQ(wait_set.detach_condition(&guards[0]), DDS_RETCODE_PRECONDITION_NOT_MET);
  EXPECT_THAT(wait(), ElementsAre(&guards[3], &guards[1]));
}

TEST_F(WaitSetTest, TimesOutAndWakesForConditionsAttachedMeanwhile) {
  DDSConditionSeq active, woken;
  EXPECT_EQ(wait_set.wait(active, {-1, 0}), DDS_RETCODE_BAD_PARAMETER);
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_THAT(wait({0, 50000000}), SizeIs(0));
  EXPECT_GE(std::chrono::steady_clock::now() - begin, 50ms);
  DDSGuardCondition guard;
  // Only one thread may wait at a time. This loop ends when the other thread has started to wait.
  auto waiting = std::async(std::launch::async, [&] {
    while (wait_set.wait(woken, patience) == DDS_RETCODE_PRECONDITION_NOT_MET) continue;
  });
  EXPECT_TRUE(eventually([&] { return wait_set.wait(active, at_once) == DDS_RETCODE_PRECONDITION_NOT_MET; }));
  guard.set_trigger_value(DDS_BOOLEAN_TRUE);
  EXPECT_EQ(wait_set.attach_condition(&guard), DDS_RETCODE_OK);
  waiting.get();
  EXPECT_THAT(all(woken), ElementsAre(&guard));
}

TEST_F(WaitSetTest, GathersSamplesThatArriveOften) {
  Side side;
  CommandDataWriter* const writer = side.writer();
  CommandDataReader* const reader = side.reader();
  DDSReadCondition* const changes =
      reader->create_change_conditionI(DDS_NOT_READ_SAMPLE_STATE, DDS_ANY_VIEW_STATE, DDS_ANY_INSTANCE_STATE);
  DDSGuardCondition guard;
  wait_set.attach_condition(&guard);
  wait_set.attach_condition(changes);
  std::vector<Received> received;
  DDS_ReadSelectionI selection;
  selection.condition = changes;
  for (int round = 0; round < 3; ++round) {
    write(writer, 1);  // arrives before the wait
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_THAT(wait(), ElementsAre(changes));
    if (round > 0) {
      EXPECT_GE(std::chrono::steady_clock::now() - begin, 1ms) << "the wait before had samples at once";
    }
    EXPECT_EQ(access(reader, selection, received), DDS_RETCODE_OK);
  }
  write(writer, 1);
  EXPECT_THAT(wait(at_once), ElementsAre(changes)) << "no longer than the time limit";
  guard.set_trigger_value(DDS_BOOLEAN_TRUE);
  EXPECT_THAT(wait(), ElementsAre(&guard, changes));
  guard.set_trigger_value(DDS_BOOLEAN_FALSE);
  EXPECT_EQ(access(reader, selection, received), DDS_RETCODE_OK);
  EXPECT_THAT(wait({0, 5000000}), SizeIs(0));
  auto waiting = std::async(std::launch::async, [&] { return wait(); });
  EXPECT_EQ(waiting.wait_for(5ms), std::future_status::timeout);
  write(writer, 1);
  EXPECT_THAT(waiting.get(), ElementsAre(changes)) << "woken by a sample after a quiet time";
}

TEST_F(WaitSetTest, ForgetsDeletedConditions) {
  DDSGuardCondition survivor;
  {
    DDSGuardCondition guard;
    DDSWaitSet short_lived;
    for (DDSGuardCondition* each : {&guard, &survivor}) {
      each->set_trigger_value(DDS_BOOLEAN_TRUE);
      wait_set.attach_condition(each);
      short_lived.attach_condition(each);
    }
  }
  EXPECT_THAT(wait(), ElementsAre(&survivor));
}

}  // namespace
}  // namespace platform_test
