#include "tessivar/platform/qos.h"

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using Helper = DDSPropertyQosPolicyHelper;
using testing::ElementsAre;

std::vector<std::string> texts(const DDS_StringSeq& sequence) {
  std::vector<std::string> result;
  for (DDS_Long i = 0; i < sequence.length(); ++i) result.push_back(sequence[i]);
  return result;
}

std::vector<std::string> properties(const DDS_PropertyQosPolicy& policy) {
  std::vector<std::string> result;
  for (DDS_Long i = 0; i < policy.value.length(); ++i) {
    const DDS_Property_t& property = policy.value[i];
    result.push_back(std::string(property.name) + "=" + property.value + (property.propagate ? "!" : ""));
  }
  return result;
}

TEST(Property, is_added_asserted_looked_up_and_removed) {
  DDS_PropertyQosPolicy policy;
  EXPECT_EQ(Helper::lookup_property(policy, "a"), nullptr);
  EXPECT_EQ(Helper::add_property(policy, "a", "1", DDS_BOOLEAN_FALSE), DDS_RETCODE_OK);
  EXPECT_EQ(Helper::add_property(policy, "a", "2", DDS_BOOLEAN_FALSE), DDS_RETCODE_PRECONDITION_NOT_MET);
  for (const char* name : {"b", "c", "d", "e", "f"}) {
    EXPECT_EQ(Helper::assert_property(policy, name, "x", DDS_BOOLEAN_TRUE), DDS_RETCODE_OK);
  }
  EXPECT_EQ(Helper::assert_property(policy, "c", "longer than before", DDS_BOOLEAN_FALSE), DDS_RETCODE_OK);
  EXPECT_THAT(properties(policy), ElementsAre("a=1", "b=x!", "c=longer than before", "d=x!", "e=x!", "f=x!"));

  const DDS_PropertyQosPolicy copy = policy;
  EXPECT_EQ(Helper::remove_property(policy, "b"), DDS_RETCODE_OK);
  EXPECT_EQ(Helper::remove_property(policy, "f"), DDS_RETCODE_OK);
  EXPECT_EQ(Helper::remove_property(policy, "f"), DDS_RETCODE_PRECONDITION_NOT_MET);
  EXPECT_THAT(properties(policy), ElementsAre("a=1", "c=longer than before", "d=x!", "e=x!"));
  EXPECT_EQ(Helper::add_property(policy, "b", "again", DDS_BOOLEAN_FALSE), DDS_RETCODE_OK);
  EXPECT_STREQ(Helper::lookup_property(policy, "b")->value, "again");
  EXPECT_STREQ(Helper::lookup_property(copy, "b")->value, "x") << "a copy is independent";

  EXPECT_EQ(Helper::add_property(policy, nullptr, "1", DDS_BOOLEAN_FALSE), DDS_RETCODE_BAD_PARAMETER);
  EXPECT_EQ(Helper::add_property(policy, "n", nullptr, DDS_BOOLEAN_FALSE), DDS_RETCODE_BAD_PARAMETER);
  EXPECT_EQ(Helper::assert_property(policy, "a", nullptr, DDS_BOOLEAN_FALSE), DDS_RETCODE_BAD_PARAMETER);
  EXPECT_EQ(Helper::remove_property(policy, nullptr), DDS_RETCODE_BAD_PARAMETER);
}

TEST(Qos, defaults_are_the_standards) {
  EXPECT_EQ(DDS_DATAWRITER_QOS_DEFAULT.reliability.kind, DDS_RELIABLE_RELIABILITY_QOS);
  EXPECT_EQ(DDS_DATAREADER_QOS_DEFAULT.reliability.kind, DDS_BEST_EFFORT_RELIABILITY_QOS);
  EXPECT_EQ(DDS_TOPIC_QOS_DEFAULT.durability.kind, DDS_VOLATILE_DURABILITY_QOS);
  EXPECT_EQ(DDS_TOPIC_QOS_DEFAULT.liveliness.lease_duration, DDS_DURATION_INFINITE);
  const DDS_DomainParticipantQos participant;
  EXPECT_THAT(texts(participant.discovery.initial_peers), ElementsAre("builtin.udpv4://127.0.0.1", "builtin.shmem://"));
  EXPECT_THAT(texts(participant.discovery.multicast_receive_addresses), ElementsAre("239.255.0.1"));
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
  topic.reliability = {DDS_RELIABLE_RELIABILITY_QOS, {7, 0}};
  topic.history = {DDS_KEEP_ALL_HISTORY_QOS, 5, DDS_ALL_REFILTER_QOS};
  topic.liveliness = {DDS_MANUAL_BY_TOPIC_LIVELINESS_QOS, {3, 0}};
  topic.deadline.period = {1, 0};
  topic.latency_budget.duration = {0, 5};
  topic.destination_order.kind = DDS_BY_SOURCE_TIMESTAMP_DESTINATIONORDER_QOS;
  topic.resource_limits.max_samples = 9;
  topic.ownership.kind = DDS_EXCLUSIVE_OWNERSHIP_QOS;
  const auto check = [&](const auto& qos) {
    EXPECT_EQ(qos.durability.kind, topic.durability.kind);
    EXPECT_EQ(qos.reliability.kind, topic.reliability.kind);
    EXPECT_EQ(qos.reliability.max_blocking_time, topic.reliability.max_blocking_time);
    EXPECT_EQ(qos.history.kind, topic.history.kind);
    EXPECT_EQ(qos.history.depth, topic.history.depth);
    EXPECT_EQ(qos.history.refilter, topic.history.refilter);
    EXPECT_EQ(qos.liveliness.kind, topic.liveliness.kind);
    EXPECT_EQ(qos.liveliness.lease_duration, topic.liveliness.lease_duration);
    EXPECT_EQ(qos.deadline.period, topic.deadline.period);
    EXPECT_EQ(qos.latency_budget.duration, topic.latency_budget.duration);
    EXPECT_EQ(qos.destination_order.kind, topic.destination_order.kind);
    EXPECT_EQ(qos.resource_limits.max_samples, topic.resource_limits.max_samples);
    EXPECT_EQ(qos.ownership.kind, topic.ownership.kind);
  };
  DDS_DataWriterQos writer;
  writer.batch.enable = DDS_BOOLEAN_TRUE;
  DDS_DataWriterQos_copy_from_topic_qos(writer, topic);
  check(writer);
  EXPECT_TRUE(writer.batch.enable) << "what a topic does not state stays";
  DDS_DataReaderQos reader;
  DDS_DataReaderQos_copy_from_topic_qos(reader, topic);
  check(reader);
}

}  // namespace
