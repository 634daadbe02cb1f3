#include "tessivar/platform/qos.h"

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using Helper = DDSPropertyQosPolicyHelper;
using testing::ElementsAre;

std::vector<std::string> properties(const DDS_PropertyQosPolicy& policy) {
  std::vector<std::string> result;
  for (DDS_Long i = 0; i < policy.value.length(); ++i) {
    const DDS_Property_t& property = policy.value[i];
    result.push_back(std::string(property.name) + "=" + property.value + (property.propagate ? "!" : ""));
  }
  return result;
}

TEST(Property, is_added_asserted_and_removed) {
  DDS_PropertyQosPolicy policy;
  EXPECT_EQ(Helper::lookup_property(policy, "a"), nullptr);
  EXPECT_EQ(Helper::add_property(policy, "a", "1", DDS_BOOLEAN_FALSE), DDS_RETCODE_OK);
  EXPECT_EQ(Helper::add_property(policy, "a", "2", DDS_BOOLEAN_FALSE), DDS_RETCODE_PRECONDITION_NOT_MET);
  for (const char* name : {"b", "c", "d", "e"}) {
    EXPECT_EQ(Helper::assert_property(policy, name, "x", DDS_BOOLEAN_TRUE), DDS_RETCODE_OK);
  }
  const DDS_PropertyQosPolicy copy = policy;
  EXPECT_EQ(Helper::assert_property(policy, "c", "longer than before", DDS_BOOLEAN_FALSE), DDS_RETCODE_OK);
  EXPECT_EQ(Helper::remove_property(policy, "b"), DDS_RETCODE_OK);
  EXPECT_EQ(Helper::remove_property(policy, "e"), DDS_RETCODE_OK);
  EXPECT_EQ(Helper::remove_property(policy, "e"), DDS_RETCODE_PRECONDITION_NOT_MET);
  EXPECT_EQ(Helper::add_property(policy, "b", "again", DDS_BOOLEAN_FALSE), DDS_RETCODE_OK);
  EXPECT_THAT(properties(policy), ElementsAre("a=1", "c=longer than before", "d=x!", "b=again"));
  EXPECT_THAT(properties(copy), ElementsAre("a=1", "b=x!", "c=x!", "d=x!", "e=x!")) << "a copy is independent";
  EXPECT_EQ(Helper::add_property(policy, "n", nullptr, DDS_BOOLEAN_FALSE), DDS_RETCODE_BAD_PARAMETER);
  EXPECT_EQ(Helper::remove_property(policy, nullptr), DDS_RETCODE_BAD_PARAMETER);
}

TEST(Qos, sets_are_values) {
  DDS_DomainParticipantQos a;
  a.participant_name.name = DDS_String_dup("a");
  DDS_DomainParticipantQos b = a;
  DDS_String_replace(&a.participant_name.name, "changed");
  DDS_String_replace(&a.discovery.initial_peers[0], "changed");
  EXPECT_STREQ(b.participant_name.name, "a");
  EXPECT_STREQ(b.discovery.initial_peers[0], "builtin.udpv4://127.0.0.1");
  b = a;
  EXPECT_STREQ(b.participant_name.name, "changed");
  EXPECT_EQ(b.participant_name.role_name, nullptr);
}

TEST(Qos, of_a_topic_is_laid_over_a_writers_and_a_readers) {
  DDS_TopicQos topic;
  topic.durability.kind = DDS_TRANSIENT_LOCAL_DURABILITY_QOS;
  topic.reliability = {DDS_BEST_EFFORT_RELIABILITY_QOS, {7, 0}};
  topic.history = {DDS_KEEP_ALL_HISTORY_QOS, 5, DDS_ALL_REFILTER_QOS};
  topic.liveliness = {DDS_MANUAL_BY_TOPIC_LIVELINESS_QOS, {3, 0}};
  topic.deadline.period = {1, 0};
  topic.latency_budget.duration = {0, 5};
  topic.destination_order.kind = DDS_BY_SOURCE_TIMESTAMP_DESTINATIONORDER_QOS;
  topic.resource_limits.max_samples = 9;
  topic.ownership.kind = DDS_EXCLUSIVE_OWNERSHIP_QOS;
  DDS_DataWriterQos writer;
  writer.batch.enable = DDS_BOOLEAN_TRUE;
  DDS_DataWriterQos_copy_from_topic_qos(writer, topic);
  EXPECT_TRUE(writer.batch.enable) << "what a topic does not state stays";
  EXPECT_EQ(writer.durability.kind, topic.durability.kind);
  EXPECT_EQ(writer.reliability.kind, topic.reliability.kind);
  EXPECT_EQ(writer.history.refilter, topic.history.refilter);
  EXPECT_EQ(writer.liveliness.lease_duration, topic.liveliness.lease_duration);
  EXPECT_EQ(writer.deadline.period, topic.deadline.period);
  EXPECT_EQ(writer.latency_budget.duration, topic.latency_budget.duration);
  EXPECT_EQ(writer.destination_order.kind, topic.destination_order.kind);
  EXPECT_EQ(writer.resource_limits.max_samples, topic.resource_limits.max_samples);
  EXPECT_EQ(writer.ownership.kind, topic.ownership.kind);
  DDS_DataReaderQos reader;
  DDS_DataReaderQos_copy_from_topic_qos(reader, topic);
  EXPECT_EQ(reader.history.refilter, topic.history.refilter);
  EXPECT_EQ(reader.ownership.kind, topic.ownership.kind);
}

}  // namespace
