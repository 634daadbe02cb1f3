#include "support/face_fixture.h"

#include <future>

namespace face_test {
namespace {

std::vector<DDSCondition*> all(const DDSConditionSeq& conditions) {
  std::vector<DDSCondition*> result;
  for (DDS_Long i = 0; i < conditions.length(); ++i) result.push_back(conditions[i]);
  return result;
}

constexpr DDS_Duration_t at_once = {0, 0};

TEST(WaitSet, YieldsTheTriggeredConditionsInTheOrderOfTheirAttachment) {
  DDSGuardCondition guards[4];
  DDSWaitSet wait_set;
  DDSConditionSeq active;
  EXPECT_EQ(wait_set.attach_condition(nullptr), DDS_RETCODE_BAD_PARAMETER);
  for (const int i : {2, 0, 3, 1, 0}) ASSERT_EQ(wait_set.attach_condition(&guards[i]), DDS_RETCODE_OK);
  EXPECT_EQ(wait_set.wait(active, {-1, 0}), DDS_RETCODE_BAD_PARAMETER);
  EXPECT_EQ(wait_set.wait(active, at_once), DDS_RETCODE_TIMEOUT);
  for (DDSGuardCondition& guard : guards) guard.set_trigger_value(DDS_BOOLEAN_TRUE);
  ASSERT_EQ(wait_set.wait(active, deadline_duration), DDS_RETCODE_OK);
  EXPECT_THAT(all(active), testing::ElementsAre(&guards[2], &guards[0], &guards[3], &guards[1]));
  guards[2].set_trigger_value(DDS_BOOLEAN_FALSE);
  EXPECT_EQ(wait_set.detach_condition(&guards[0]), DDS_RETCODE_OK);
  EXPECT_EQ(wait_set.detach_condition(&guards[0]), DDS_RETCODE_PRECONDITION_NOT_MET);
  ASSERT_EQ(wait_set.wait(active, at_once), DDS_RETCODE_OK);
  EXPECT_THAT(all(active), testing::ElementsAre(&guards[3], &guards[1]));
}

TEST(WaitSet, WakesForAConditionThatIsAttachedWhileItWaits) {
  DDSGuardCondition guard;
  guard.set_trigger_value(DDS_BOOLEAN_TRUE);
  DDSWaitSet wait_set;
  DDSConditionSeq active;
  auto waiting = std::async(std::launch::async, [&] { return wait_set.wait(active, deadline_duration); });
  ASSERT_EQ(wait_set.attach_condition(&guard), DDS_RETCODE_OK);
  EXPECT_EQ(waiting.get(), DDS_RETCODE_OK);
  EXPECT_THAT(all(active), testing::ElementsAre(&guard));
}

TEST(WaitSet, TakesOneWaitingThreadOnly) {
  DDSGuardCondition guard;
  DDSWaitSet wait_set;
  wait_set.attach_condition(&guard);
  DDSConditionSeq first;
  DDSConditionSeq second;
  auto waiting = std::async(std::launch::async, [&] {
    DDS_ReturnCode_t result = DDS_RETCODE_PRECONDITION_NOT_MET;
    while (result == DDS_RETCODE_PRECONDITION_NOT_MET) result = wait_set.wait(first, deadline_duration);
    return result;
  });
  // Times out until the other thread has begun to wait.
  EXPECT_TRUE(eventually([&] { return wait_set.wait(second, at_once) == DDS_RETCODE_PRECONDITION_NOT_MET; }));
  guard.set_trigger_value(DDS_BOOLEAN_TRUE);
  EXPECT_EQ(waiting.get(), DDS_RETCODE_OK);
}

TEST(WaitSet, ForgetsConditionsThatAreDeletedAndOutlivesNobody) {
  DDSGuardCondition survivor;
  {
    DDSWaitSet wait_set;
    {
      DDSGuardCondition guard;
      guard.set_trigger_value(DDS_BOOLEAN_TRUE);
      wait_set.attach_condition(&guard);
      wait_set.attach_condition(&survivor);
    }
    DDSConditionSeq attached;
    wait_set.get_conditions(attached);
    EXPECT_THAT(all(attached), testing::ElementsAre(&survivor));
    EXPECT_EQ(wait_set.wait(attached, at_once), DDS_RETCODE_TIMEOUT);
  }
  EXPECT_EQ(survivor.set_trigger_value(DDS_BOOLEAN_TRUE), DDS_RETCODE_OK);
}

TEST(ReadCondition, TriggersForItsStatesOnceItsReaderIsEnabled) {
  DDS_DomainParticipantQos qos = loopback_qos();
  qos.entity_factory.autoenable_created_entities = DDS_BOOLEAN_FALSE;
  Side side(qos);
  NoteWriter* writer = side.writer();
  NoteReader* reader = side.reader();
  const auto create = [&](DDS_InstanceStateMask states) {
    return reader->create_readcondition(DDS_NOT_READ_SAMPLE_STATE, DDS_ANY_VIEW_STATE, states);
  };
  DDSReadCondition* fresh = create(DDS_ALIVE_INSTANCE_STATE);
  DDSReadCondition* gone = create(DDS_NOT_ALIVE_INSTANCE_STATE);
  DDSWaitSet wait_set;
  DDSConditionSeq active;
  for (DDSReadCondition* each : {fresh, gone}) ASSERT_EQ(wait_set.attach_condition(each), DDS_RETCODE_OK);
  EXPECT_EQ(wait_set.wait(active, at_once), DDS_RETCODE_TIMEOUT);
  ASSERT_EQ(writer->enable(), DDS_RETCODE_OK);
  ASSERT_EQ(reader->enable(), DDS_RETCODE_OK);
  writer->write({1, 10, "one"});
  ASSERT_EQ(wait_set.wait(active, deadline_duration), DDS_RETCODE_OK);
  EXPECT_THAT(all(active), testing::ElementsAre(fresh));
  reader->take();
  EXPECT_FALSE(fresh->get_trigger_value());
  writer->dispose({1, 0, ""});
  ASSERT_EQ(wait_set.wait(active, deadline_duration), DDS_RETCODE_OK);
  EXPECT_THAT(all(active), testing::ElementsAre(gone));

  EXPECT_EQ(side.reader()->delete_readcondition(gone), DDS_RETCODE_PRECONDITION_NOT_MET) << "another reader's";
  EXPECT_EQ(reader->delete_readcondition(gone), DDS_RETCODE_OK);
  EXPECT_EQ(reader->delete_contained_entities(), DDS_RETCODE_OK);
  wait_set.get_conditions(active);
  EXPECT_EQ(active.length(), 0);
}

}  // namespace
}  // namespace face_test
