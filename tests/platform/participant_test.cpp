// SPDX-License-Identifier: Apache-2.0

// Tests participants: the creation and deletion of the entities in them.
#include "support/bus.h"

namespace platform_test {
namespace {

using namespace tessivar::platform;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;

TEST(FactoryTest, RefusesInvalidSettingsWithOneLogLine) {
  typedef DDS_DomainParticipantQos Qos;
  DDS_DomainId_t domain = own_domain();
  const std::pair<std::function<void(Qos&)>, const char*> cases[] = {
      {[](Qos& qos) { qos.user_data.value.ensure_length(999, 999); }, "user_data has 999 octets"},
      {[](Qos& qos) { qos.discovery.initial_peers = strings({"builtin.tcp://x"}); }, "builtin.tcp://x"},
      {[](Qos& qos) { qos.discovery_config.max_participant_index = 120; }, "0 to 119, not 120"},
      {[](Qos& qos) { qos.discovery_config.participant_liveliness_lease_duration.sec = 3601; }, "lease"},
      {[](Qos& qos) { DDS_String_replace(&qos.property.value[0].value, "none0"); }, "lo (127.0.0.1)"},
      {[&](Qos&) { domain = 233; }, "domain 233: domain ids are 0 to 232"},
  };
  LogRecorder log;
  for (const auto& [spoil, reason] : cases) {
    Qos qos = loopback_qos();
    spoil(qos);
    EXPECT_EQ(factory().create_participant(domain, qos, nullptr, 0), nullptr) << reason;
    EXPECT_THAT(log.lines(), ElementsAre(HasSubstr(reason)));
  }
}

TEST(ParticipantTest, EnableAlsoEnablesItsEntities) {
  LogRecorder log;
  DDS_DomainParticipantFactoryQos disabled;
  disabled.entity_factory.autoenable_created_entities = DDS_BOOLEAN_FALSE;
  factory().set_qos(disabled);
  DDS_DomainParticipantQos qos = loopback_qos();
  Side side(qos);
  factory().set_qos(DDS_DomainParticipantFactoryQos());
  DDSDomainParticipant* participant = side.participant;
  qos.discovery_config.max_participant_index = 1;
  EXPECT_EQ(participant->set_qos(qos), DDS_RETCODE_OK) << "free until it is enabled";
  CommandDataWriter* writer = side.writer();
  struct : DDSDataReaderListener {
    void on_subscription_matched(DDSDataReader* from, const DDS_SubscriptionMatchedStatus&) override {
      result = from->get_subscriber()->get_participant()->enable();
    }
    std::atomic<DDS_ReturnCode_t> result = DDS_RETCODE_ERROR;
  } enabling;
  CommandDataReader* reader = side.reader(DDS_DATAREADER_QOS_USE_TOPIC_QOS, &enabling);
  CommandDataReader* other = side.reader();
  std::vector<Received> received;
  EXPECT_EQ(writer->enable(), DDS_RETCODE_PRECONDITION_NOT_MET) << "its participant first";
  EXPECT_EQ(write(writer, 1), DDS_RETCODE_NOT_ENABLED);
  EXPECT_EQ(access(reader, {}, received), DDS_RETCODE_NOT_ENABLED);
  EXPECT_EQ(factory().delete_participant(participant), DDS_RETCODE_PRECONDITION_NOT_MET) << "it contains something";
  EXPECT_EQ(Side(qos, "T").participant->delete_datareader(reader), DDS_RETCODE_PRECONDITION_NOT_MET);
  EXPECT_EQ(participant->add_peer("builtin.tcp://x"), DDS_RETCODE_BAD_PARAMETER);
  {
    Side others[] = {Side(qos), Side(qos)};
    others[1].participant->get_qos(qos);
    EXPECT_EQ(qos.wire_protocol.participant_id, 1);
    log.lines();
    EXPECT_EQ(participant->enable(), DDS_RETCODE_OUT_OF_RESOURCES);
    EXPECT_THAT(log.lines(),
                ElementsAre(AllOf(HasSubstr("domain " + std::to_string(own_domain())), HasSubstr("2 participants"))));
  }
  std::thread meanwhile([&] { EXPECT_TRUE(eventually([&] { return other->enable() == DDS_RETCODE_OK; })); });
  for (int twice = 0; twice < 2; ++twice) EXPECT_EQ(participant->enable(), DDS_RETCODE_OK);
  meanwhile.join();
  EXPECT_TRUE(eventually([&] { return enabling.result == DDS_RETCODE_OK; })) << "in the callback";
  reader->set_listener(nullptr, DDS_STATUS_MASK_NONE);
  EXPECT_EQ(write(writer, 1), DDS_RETCODE_OK);
  EXPECT_EQ(take(reader, 1).size(), 1u);
  EXPECT_EQ(participant->add_peer("a.invalid"), DDS_RETCODE_BAD_PARAMETER);
  EXPECT_EQ(participant->set_qos(loopback_qos()), DDS_RETCODE_IMMUTABLE_POLICY);
}

TEST(ParticipantTest, LogsMismatchedQosOnceOnBothSides) {
  LogRecorder log;
  Side one(loopback_qos("the writing one")), other(loopback_qos("the reading one"));
  DDS_DataReaderQos requested = reliable<DDS_DataReaderQos>();
  requested.liveliness.lease_duration = {2, 0};
  other.reader(requested);
  one.writer(reliable<DDS_DataWriterQos>(false));
  one.writer();  // only the lease does not match
  const auto line = [](const char* side, const char* peer, const std::string& policy) {
    return AllOf(HasSubstr(std::string(side) + ": topic \"" + own_topic() + "\""), HasSubstr(peer),
                 HasSubstr("; " + policy));
  };
  const std::string durability = "durability: VOLATILE is offered, TRANSIENT_LOCAL is requested; ";
  const std::string lease = "liveliness lease: infinite is offered, 2000 ms is requested";
  EXPECT_THAT(log.lines(3), testing::UnorderedElementsAre(line("Reader", "a writer of participant", durability + lease),
                                                          line("Reader", "the writing one", lease),
                                                          line("Writer", "the reading one", "")));
}

TEST(ParticipantTest, RefusesDuplicateTopicNamesAndUnknownTypes) {
  LogRecorder log;
  Side side;
  DDSDomainParticipant* participant = side.participant;
  const auto create = [&](const char* name, const char* type) {
    return participant->create_topic(name, type, reliable<DDS_TopicQos>(), nullptr, 0);
  };
  for (const char* name : {side.topic->get_name(), "", static_cast<const char*>(nullptr)})
    EXPECT_EQ(create(name, "Command"), nullptr);
  EXPECT_EQ(create("Other", "Unknown"), nullptr);
  EXPECT_EQ(log.lines().size(), 4u);
  EXPECT_EQ(Tessivar::UnitTypeSupport::register_type(participant, "Command"), DDS_RETCODE_PRECONDITION_NOT_MET);
  DDS_DataWriterQos contradictory;
  contradictory.history.depth = 10;
  contradictory.resource_limits.max_samples_per_instance = 2;
  log.lines();
  EXPECT_EQ(participant->create_datawriter(side.topic, contradictory, nullptr, 0), nullptr);
  EXPECT_THAT(log.lines(), ElementsAre(AllOf(HasSubstr(side.topic->get_name()), HasSubstr("Inconsistent Policy"))));
}

}  // namespace
}  // namespace platform_test
