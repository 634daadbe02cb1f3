#include "tessivar/framework/domain/dds_domain.h"
#include "tessivar/framework/domain/topic_qos.h"
#include "tests/control/support/log_recorder.h"
#include "tests/framework/support/bus.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace TessivarDDS;
using namespace tessivar::testing;
using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr int domain_id = 60;

std::vector<std::string> texts(const DDS_StringSeq& sequence) {
  std::vector<std::string> result;
  for (DDS_Long i = 0; i < sequence.length(); ++i) result.push_back(sequence[i]);
  return result;
}

std::string userData(const DDS_DomainParticipantQos& qos) {
  std::string data;
  for (DDS_Long i = 0; i < qos.user_data.value.length(); ++i) data += static_cast<char>(qos.user_data.value[i]);
  return data;
}

std::string property(const DDS_DomainParticipantQos& qos, const char* name) {
  const DDS_Property_t* entry = DDSPropertyQosPolicyHelper::lookup_property(qos.property, name);
  return entry ? entry->value : "(none)";
}

class DomainQos : public testing::Test {
 protected:
  LogRecorder log{LogDebug};
  DDSDomain domain;
  DDS_DomainParticipantQos qos;
};

TEST_F(DomainQos, keeps_discovery_local_without_multicast) {
  domain.addPeerAddress("10.0.0.1");
  domain.addPeerAddress("10.0.0.2");
  DDSPropertyQosPolicyHelper::add_property(qos.property, "dds.transport.UDPv4.builtin.multicast_enabled", "1", 0);
  ASSERT_TRUE(domain.configureQos(qos));
  EXPECT_THAT(texts(qos.discovery.initial_peers),
              ElementsAre("builtin.udpv4://127.0.0.1", "builtin.shmem://", "10.0.0.1", "10.0.0.2"));
  EXPECT_EQ(qos.discovery.multicast_receive_addresses.length(), 0);
  EXPECT_EQ(property(qos, "dds.transport.UDPv4.builtin.multicast_enabled"), "0");
  EXPECT_EQ(qos.resource_limits.participant_user_data_max_length, 128);
  EXPECT_THAT(log.lines(), Contains(EndsWith("&)Adding peer address to domain: 10.0.0.2")));
}

TEST_F(DomainQos, keeps_the_peers_of_the_profile_with_multicast) {
  const std::vector<std::string> peers = texts(qos.discovery.initial_peers);
  domain.enableMulticast(true);
  domain.addPeerAddress("10.0.0.1");
  ASSERT_TRUE(domain.configureQos(qos));
  std::vector<std::string> expected = peers;
  expected.push_back("10.0.0.1");
  EXPECT_EQ(texts(qos.discovery.initial_peers), expected);
  EXPECT_GT(qos.discovery.multicast_receive_addresses.length(), 0);
  EXPECT_EQ(property(qos, "dds.transport.UDPv4.builtin.multicast_enabled"), "(none)");
}

TEST_F(DomainQos, announces_the_type_with_its_terminating_zero) {
  for (const auto& [type, expected] :
       std::vector<std::pair<unsigned short, std::string>>{{0, std::string("type=0\0", 7)},
                                                           {7, std::string("type=7\0", 7)},
                                                           {65535, std::string("type=65535\0", 11)}}) {
    domain.setType(type);
    ASSERT_TRUE(domain.configureQos(qos));
    EXPECT_EQ(userData(qos), expected);
  }
}

TEST_F(DomainQos, names_the_allowed_interfaces) {
  domain.setAllowedInterfaces({"lo", "10.1.*"});
  ASSERT_TRUE(domain.configureQos(qos));
  EXPECT_EQ(property(qos, "dds.transport.UDPv4.builtin.parent.allow_interfaces"), "lo,10.1.*");
  EXPECT_THAT(log.lines(), Contains(EndsWith("Configuring participant Qos to allow interfaces: lo,10.1.*")));
}

TEST_F(DomainQos, reports_what_needs_a_participant) {
  EXPECT_THAT(domain.initialPeerList(), IsEmpty());
  EXPECT_FALSE(domain.removePeerAddress("10.0.0.1"));
  EXPECT_FALSE(domain.registerContentFilter("x", nullptr));
  EXPECT_FALSE(domain.installBuiltInParticipantListener());
  domain.cleanUp();
  constexpr const char* words = "Failed to remove peer as the participant was null.";
  EXPECT_THAT(log.lines(),
              ElementsAre(EndsWith(words), HasSubstr("Removing peer address from domain: 10.0.0.1"), EndsWith(words),
                          EndsWith(words), EndsWith("(void)Participant not yet created")));
}

TEST_F(DomainQos, reports_profiles_that_cannot_be_loaded) {
  DDS_TopicQos topic;
  DDS_DataReaderQos reader;
  DDS_DataWriterQos writer;
  EXPECT_FALSE(domain.participantQosProfile("none", "p", qos));
  EXPECT_FALSE(domain.topicQosProfile("none", "p", topic));
  EXPECT_FALSE(domain.dataReaderQosProfile("none", "p", reader));
  EXPECT_FALSE(domain.dataWriterQosProfile("none", "p", writer));
  EXPECT_THAT(log.lines(),
              ElementsAre(EndsWith("Failed to load participant QoS profile for none profile p return code: 1"),
                          EndsWith("Failed to load topic QoS profile for none profile p return code: 1"),
                          EndsWith("Failed to load data reader QoS profile for none profile p return code: 1"),
                          EndsWith("Failed to load data reader QoS profile for none profile p return code: 1")));
}

TEST_F(DomainQos, makes_state_topics_reliable_and_durable_even_without_a_domain) {
  DDS_TopicQos topic;
  EXPECT_TRUE(createReliableDurableTopicQos(nullptr, "t", topic));
  EXPECT_THAT(log.lines(), ElementsAre(EndsWith("Error at location")));
  EXPECT_EQ(topic.reliability.kind, DDS_RELIABLE_RELIABILITY_QOS);
  EXPECT_EQ(topic.durability.kind, DDS_TRANSIENT_LOCAL_DURABILITY_QOS);
  EXPECT_EQ(topic.history.kind, DDS_KEEP_LAST_HISTORY_QOS);
  EXPECT_EQ(topic.history.depth, 1);
  EXPECT_EQ(topic.history.refilter, DDS_ALL_REFILTER_QOS);
}

// --- the participant
// --------------------------------------------------------------------------------------------------

TEST(Domain, refuses_what_comes_too_late_or_makes_no_sense) {
  LogRecorder log;
  DDSDomain domain;
  domain.setAllowedInterfaces({"lo"});
  EXPECT_FALSE(domain.createDomainParticipant(-1));
  EXPECT_FALSE(domain.createDomainParticipant(233));
  EXPECT_FALSE(domain.createDomainParticipant(domain_id, {}, "none", "p"));
  EXPECT_THAT(log.lines(), ElementsAre(EndsWith(" Domain id -1 is not within 0 to 232"),
                                       EndsWith(" Domain id 233 is not within 0 to 232"),
                                       EndsWith(" Failed to load participant Qos profile: none::p return code: 1")));
  EXPECT_EQ(domain.participant(), nullptr);

  ASSERT_TRUE(domain.createDomainParticipant(domain_id));
  EXPECT_TRUE(domain.created());
  EXPECT_FALSE(domain.createDomainParticipant(domain_id));
  domain.enableMulticast(true);
  domain.setType(9);
  domain.setAllowedInterfaces({});
  EXPECT_THAT(log.lines(), ElementsAre(EndsWith(" Already created on domain 60"),
                                       EndsWith("Cannot set multicast after the participant has been created!"),
                                       EndsWith(" Set type called after participant creation."),
                                       EndsWith("after the participant has been created!")));
  DDS_DomainParticipantQos qos;
  ASSERT_EQ(domain.participant()->get_qos(qos), DDS_RETCODE_OK);
  EXPECT_EQ(userData(qos), std::string("type=0\0", 7));
}

TEST(Domain, can_be_made_again_and_again) {
  LogRecorder log;
  DDSDomain domain;
  domain.setAllowedInterfaces({"lo"});
  domain.addPeerAddress("127.0.0.1");
  std::vector<std::string> first;
  for (int round = 0; round < 3; ++round) {
    ASSERT_TRUE(domain.createDomainParticipant(domain_id));
    if (round == 0) first = domain.initialPeerList();
    EXPECT_EQ(domain.initialPeerList(), first);
    domain.cleanUp();
    EXPECT_FALSE(domain.created());
    EXPECT_EQ(domain.participant(), nullptr);
  }
  EXPECT_THAT(first, ElementsAre("builtin.udpv4://127.0.0.1", "builtin.shmem://", "127.0.0.1"));
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST(Domain, fails_without_the_allowed_interface_and_recovers) {
  LogRecorder log;
  DDSDomain domain;
  domain.setAllowedInterfaces({"nosuchinterface"});
  EXPECT_FALSE(domain.createDomainParticipant(domain_id));
  EXPECT_EQ(domain.participant(), nullptr);
  EXPECT_THAT(log.lines(), ElementsAre(EndsWith("Failed to enable DDS participant.")));
  domain.setAllowedInterfaces({"lo"});
  EXPECT_TRUE(domain.createDomainParticipant(domain_id));
}

TEST(Domain, logs_how_it_comes_about) {
  LogRecorder log(LogDebug);
  const LoopbackDomain domain(domain_id);
  constexpr const char* create =
      "1 bool __cdecl TessivarDDS::DDSDomain::createDomainParticipant(int,const struct DDS_DomainParticipantQos "
      "&,bool)";
  const std::vector<std::string> lines = log.lines();
  EXPECT_THAT(lines, Contains(std::string(create) + "Creating domain participant on domain 60"));
  EXPECT_THAT(lines, Contains("1 void __cdecl TessivarDDS::DDSDomain::applyIgnoreSelf(void)"
                              "Configuring Domain Participant to ignore itself."));
  EXPECT_THAT(lines, Contains(std::string(create) + "Initial peer list: builtin.udpv4://127.0.0.1,builtin.shmem://"));
  EXPECT_THAT(lines,
              Contains(testing::MatchesRegex(".*Participant created with participant_id=[0-9]+ rtps_host_id=[0-9]+ "
                                             "rtps_app_id=[0-9]+ rtps_instance_id=[0-9]+")));
}

// --- content filters
// --------------------------------------------------------------------------------------------------

struct AnyFilter : DDSContentFilter {
  DDS_ReturnCode_t compile(void**, const char*, const DDS_StringSeq&, const DDS_TypeCode*, const char*,
                           void*) override {
    return DDS_RETCODE_OK;
  }
  DDS_Boolean evaluate(void*, const void*, const DDS_FilterSampleInfo*) override { return DDS_BOOLEAN_TRUE; }
  void finalize(void*) override {}
};

TEST(Domain, keeps_its_content_filters) {
  LogRecorder log;
  AnyFilter one, two;
  LoopbackDomain domain(domain_id);
  EXPECT_TRUE(domain.registerContentFilter("one", &one));
  EXPECT_TRUE(domain.registerContentFilter("one", &one));
  EXPECT_TRUE(domain.registerContentFilter("also one", &one));
  EXPECT_THAT(log.lines(), IsEmpty());
  EXPECT_FALSE(domain.registerContentFilter("one", &two));
  EXPECT_THAT(log.lines(), ElementsAre(EndsWith("Failed to register content filter one error code: 4")));
  EXPECT_EQ(domain.contentFilter("one"), &one);
  EXPECT_EQ(domain.contentFilter("two"), nullptr);
  EXPECT_FALSE(domain.unregisterContentFilter(&two));
  EXPECT_TRUE(domain.unregisterContentFilter(&one));
  EXPECT_EQ(domain.contentFilter("one"), nullptr);
  EXPECT_EQ(domain.contentFilter("also one"), nullptr);
  EXPECT_TRUE(domain.registerContentFilter("one", &two));
  EXPECT_TRUE(domain.unregisterContentFilters());
  EXPECT_TRUE(domain.unregisterContentFilters());
  EXPECT_EQ(domain.contentFilter("one"), nullptr);
}

// --- who is admitted
// --------------------------------------------------------------------------------------------------

TEST(ParticipantTypes, are_parsed_from_a_list) {
  LogRecorder log;
  EXPECT_THAT(BuiltinParticipantListener::parseTypes(""), IsEmpty());
  EXPECT_THAT(BuiltinParticipantListener::parseTypes("3, 5,65535,"), ElementsAre(3, 5, 65535));
  EXPECT_THAT(log.lines(), IsEmpty());
  EXPECT_THAT(BuiltinParticipantListener::parseTypes("x,3,-1,65536,4a,5"), ElementsAre(3, 5));
  EXPECT_THAT(log.lines(), ElementsAre(HasSubstr("'x'"), HasSubstr("'-1'"), HasSubstr("'65536'"), HasSubstr("'4a'")));
}

TEST(ParticipantTypes, are_parsed_from_what_was_received) {
  const std::vector<std::pair<std::string, unsigned short>> cases = {{std::string("type=7\0", 7), 7},
                                                                     {"type=7", 7},
                                                                     {"type=65535", 65535},
                                                                     {"type=65536", unknownParticipantType},
                                                                     {"type=-1", unknownParticipantType},
                                                                     {"type=", unknownParticipantType},
                                                                     {"", unknownParticipantType},
                                                                     {"typ=77", unknownParticipantType},
                                                                     {"type=x", unknownParticipantType},
                                                                     {"type=12 and more", 12}};
  for (const auto& [text, expected] : cases) {
    // A copy without anything behind it, so that a sanitizer sees any octet too many.
    const std::vector<DDS_Octet> octets(text.begin(), text.end());
    EXPECT_EQ(BuiltinParticipantListener::parseType(octets.data(), static_cast<DDS_Long>(octets.size())), expected)
        << text;
  }
}

DDS_DomainParticipantQos admitting(const char* types) {
  DDS_DomainParticipantQos qos;
  DDSPropertyQosPolicyHelper::add_property(qos.property, "tessivarddscore.allowed_participant_types", types, 0);
  return qos;
}

TEST(Domain, admits_remote_participants_by_their_type) {
  constexpr int id = domain_id + 1;
  LogRecorder log(LogDebug);
  std::vector<std::string> lines;
  const auto logged = [&](const std::string& words, const std::string& type) {
    for (std::string& line : log.lines()) lines.push_back(std::move(line));
    for (const std::string& line : lines) {
      if (line.find(words) != std::string::npos && line.ends_with(" TypeId=" + type)) return true;
    }
    return false;
  };
  DDSDomain picky;
  picky.setAllowedInterfaces({"lo"});
  picky.setType(100);
  ASSERT_TRUE(picky.createDomainParticipant(id, admitting("3,5"), true));
  EXPECT_THAT(picky.participantListener().allowedTypes(), ElementsAre(3, 5));
  const LoopbackDomain three(id, [](DDSDomain& domain) { domain.setType(3); });
  EXPECT_TRUE(eventually([&] { return logged("Remote participant Allowed: Name=", "3"); }));
  const LoopbackDomain four(id, [](DDSDomain& domain) { domain.setType(4); });
  EXPECT_TRUE(eventually([&] { return logged("Remote participant Denied: Name=", "4"); }));
  const LoopbackDomain five(id, [](DDSDomain& domain) { domain.setType(5); });
  EXPECT_TRUE(eventually([&] { return logged("Remote participant Allowed: Name=", "5"); }));
  EXPECT_THAT(lines, Contains(testing::ContainsRegex("RoleName=.* Ipv4 locators=127\\.0\\.0\\.1@[0-9]+ TypeId=4")));
  EXPECT_TRUE(eventually([&] { return picky.participantListener().admitted() == 2; }));
  // Without a list everybody is admitted, the type 100 as well.
  EXPECT_TRUE(eventually([&] { return logged("Remote participant Allowed: Name=", "100"); }));
}

TEST(Domain, adds_and_removes_peers_while_it_runs) {
  LogRecorder log;
  LoopbackDomain domain(domain_id);
  EXPECT_TRUE(domain.addPeerAddress("127.0.0.1"));
  EXPECT_TRUE(domain.removePeerAddress("127.0.0.1"));
  EXPECT_THAT(log.lines(), IsEmpty());
  EXPECT_FALSE(domain.addPeerAddress(""));
  EXPECT_THAT(log.lines(), ElementsAre(HasSubstr("Failed to add peer  return code: ")));
}

}  // namespace
