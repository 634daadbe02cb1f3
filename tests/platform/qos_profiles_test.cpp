#include "tessivar/platform/qos_profiles.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

/// In an empty working directory.
class QosProfilesTest : public testing::Test {
 protected:
  QosProfilesTest() {
    std::string pattern = (std::filesystem::temp_directory_path() / "qos_profiles_XXXXXX").string();
    directory = mkdtemp(pattern.data());
    std::filesystem::current_path(directory);
  }
  ~QosProfilesTest() override {
    unsetenv("NDDS_QOS_PROFILES");
    std::filesystem::current_path(before);
    std::filesystem::remove_all(directory);
  }
  static void append(DDS_StringSeq& sequence, const std::string& text) {
    sequence.ensure_length(sequence.length() + 1, sequence.length() + 1);
    DDS_String_replace(&sequence[sequence.length() - 1], text.c_str());
  }
  static void write(const std::string& file, const std::string& text) { std::ofstream(file) << text; }
  bool load() { return profiles.load(policy, error); }
  /// Library "l" with these profiles, from a string.
  bool load(const std::string& text) {
    policy = DDS_ProfileQosPolicy();
    append(policy.string_profile, "<dds><qos_library name='l'>" + text + "</qos_library></dds>");
    return load();
  }
  /// The depth of a topic's history in profile "l::p"; -1 when there is none.
  DDS_Long depth(const char* profile = "p") {
    DDS_TopicQos qos;
    return profiles.topic("l", profile, qos, error) ? qos.history.depth : -1;
  }

  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::path directory;
  DDS_ProfileQosPolicy policy;
  tessivar::platform::QosProfiles profiles;
  std::string error;
};

/// Profile "l::p", whose topic depth tells where it came from, in a document that names a schema.
std::string with_depth(int depth) {
  return R"(<?xml version='1.0'?>
    <dds xmlns:xsi='http://www.w3.org/2001/XMLSchema-instance' xsi:noNamespaceSchemaLocation='qos.xsd'>
    <qos_library name='l'><qos_profile name='p'><topic_qos><history><depth>)" +
         std::to_string(depth) + "</depth></history></topic_qos></qos_profile></qos_library></dds>";
}

TEST_F(QosProfilesTest, EveryPolicyOfTopicsWritersAndReadersIsRead) {
  const std::string common = R"(
    <durability><kind>TRANSIENT_LOCAL_DURABILITY_QOS</kind></durability>
    <deadline><period><sec>1</sec></period></deadline>
    <latency_budget><duration><nanosec>5000</nanosec></duration></latency_budget>
    <liveliness><kind>DDS_MANUAL_BY_TOPIC_LIVELINESS_QOS</kind>
      <lease_duration><sec>2</sec><nanosec>500000000</nanosec></lease_duration></liveliness>
    <reliability><kind> BEST_EFFORT_RELIABILITY_QOS </kind>
      <max_blocking_time><sec>DURATION_INFINITE_SEC</sec><nanosec>DURATION_INFINITE_NSEC</nanosec></max_blocking_time>
    </reliability>
    <destination_order><kind>BY_SOURCE_TIMESTAMP_DESTINATIONORDER_QOS</kind></destination_order>
    <history><kind>KEEP_ALL_HISTORY_QOS</kind><depth>7</depth><refilter>ON_DEMAND_REFILTER_QOS</refilter></history>
    <resource_limits><max_samples>8</max_samples><max_instances>DDS_LENGTH_UNLIMITED</max_instances>
      <max_samples_per_instance>-1</max_samples_per_instance></resource_limits>
    <ownership><kind>EXCLUSIVE_OWNERSHIP_QOS</kind></ownership>)";
  const std::string endpoint = common + R"(
    <user_data><value>116, 0x79,255</value></user_data>
    <property><value><element><name>n</name><value>v <!-- no part of it -->w</value><propagate>true</propagate></element>
      <element><name>m</name><value/></element></value></property>)";
  ASSERT_TRUE(load("<qos_profile name='p'><topic_qos>" + common + "</topic_qos><datawriter_qos>" + endpoint + R"(
    <writer_data_lifecycle><autodispose_unregistered_instances>false</autodispose_unregistered_instances>
    </writer_data_lifecycle>
    <batch><enable>DDS_BOOLEAN_TRUE</enable><max_data_bytes>4096</max_data_bytes><max_samples>1000</max_samples>
      <max_flush_delay><sec>0</sec><nanosec>50000000</nanosec></max_flush_delay>
      <source_timestamp_resolution>DURATION_ZERO</source_timestamp_resolution></batch>
    </datawriter_qos><datareader_qos>)" +
                   endpoint + "</datareader_qos></qos_profile>"))
      << error;
  DDS_TopicQos topic;
  DDS_DataWriterQos writer;
  DDS_DataReaderQos reader;
  ASSERT_TRUE(profiles.topic("l", "p", topic, error)) << error;
  ASSERT_TRUE(profiles.datawriter("l", "p", writer, error)) << error;
  ASSERT_TRUE(profiles.datareader("l", "p", reader, error)) << error;
  const auto check = [](const auto& qos) {
    EXPECT_EQ(qos.durability.kind, DDS_TRANSIENT_LOCAL_DURABILITY_QOS);
    EXPECT_EQ(qos.deadline.period, (DDS_Duration_t{1, 0}));
    EXPECT_EQ(qos.latency_budget.duration, (DDS_Duration_t{0, 5000}));
    EXPECT_EQ(qos.liveliness.kind, DDS_MANUAL_BY_TOPIC_LIVELINESS_QOS);
    EXPECT_EQ(qos.liveliness.lease_duration, (DDS_Duration_t{2, 500000000}));
    EXPECT_EQ(qos.reliability.kind, DDS_BEST_EFFORT_RELIABILITY_QOS);
    EXPECT_EQ(qos.reliability.max_blocking_time, DDS_DURATION_INFINITE);
    EXPECT_EQ(qos.destination_order.kind, DDS_BY_SOURCE_TIMESTAMP_DESTINATIONORDER_QOS);
    EXPECT_EQ(qos.history.kind, DDS_KEEP_ALL_HISTORY_QOS);
    EXPECT_EQ(qos.history.depth, 7);
    EXPECT_EQ(qos.history.refilter, DDS_ON_DEMAND_REFILTER_QOS);
    EXPECT_EQ(qos.resource_limits.max_samples, 8);
    EXPECT_EQ(qos.resource_limits.max_instances, DDS_LENGTH_UNLIMITED);
    EXPECT_EQ(qos.resource_limits.max_samples_per_instance, DDS_LENGTH_UNLIMITED);
    EXPECT_EQ(qos.ownership.kind, DDS_EXCLUSIVE_OWNERSHIP_QOS);
    if constexpr (requires { qos.user_data; }) {
      ASSERT_EQ(qos.user_data.value.length(), 3);
      for (const DDS_Long i : {0, 1, 2}) EXPECT_EQ(qos.user_data.value[i], "ty\xff"[i] & 0xff);
      ASSERT_EQ(qos.property.value.length(), 2);
      EXPECT_STREQ(qos.property.value[0].name, "n");
      EXPECT_STREQ(qos.property.value[0].value, "v w");
      EXPECT_TRUE(qos.property.value[0].propagate);
      EXPECT_STREQ(qos.property.value[1].value, "");
    }
  };
  check(topic);
  check(writer);
  check(reader);
  EXPECT_FALSE(writer.writer_data_lifecycle.autodispose_unregistered_instances);
  EXPECT_TRUE(writer.batch.enable);
  EXPECT_EQ(writer.batch.max_data_bytes, 4096);
  EXPECT_EQ(writer.batch.max_samples, 1000);
  EXPECT_EQ(writer.batch.max_flush_delay, (DDS_Duration_t{0, 50000000}));
  EXPECT_EQ(writer.batch.source_timestamp_resolution, DDS_DURATION_ZERO);
}

TEST_F(QosProfilesTest, EveryPolicyOfAParticipantIsRead) {
  ASSERT_TRUE(load(R"(<qos_profile name='p' is_default_qos='true'><participant_qos>
    <entity_factory><autoenable_created_entities>0</autoenable_created_entities></entity_factory>
    <wire_protocol><participant_id>-1</participant_id><rtps_host_id>0xffffffff</rtps_host_id>
      <rtps_app_id>2</rtps_app_id><rtps_instance_id>3</rtps_instance_id></wire_protocol>
    <resource_limits><participant_user_data_max_length>128</participant_user_data_max_length></resource_limits>
    <discovery><initial_peers><element>a</element><element>b</element><element>c</element>
      </initial_peers><multicast_receive_addresses/></discovery>
    <discovery_config><max_participant_index>9</max_participant_index>
      <participant_liveliness_lease_duration><sec>4</sec></participant_liveliness_lease_duration>
      <participant_liveliness_assert_period><sec>1</sec></participant_liveliness_assert_period></discovery_config>
    <participant_name><name>n</name><role_name><![CDATA[r]]></role_name></participant_name>
  </participant_qos></qos_profile>)"))
      << error;
  DDS_DomainParticipantQos qos;
  ASSERT_TRUE(profiles.default_participant(qos, error)) << error;
  EXPECT_FALSE(qos.entity_factory.autoenable_created_entities);
  EXPECT_EQ(qos.wire_protocol.rtps_host_id, 0xffffffffu);
  EXPECT_EQ(qos.resource_limits.participant_user_data_max_length, 128);
  ASSERT_EQ(qos.discovery.initial_peers.length(), 3) << "in place of the default ones";
  EXPECT_STREQ(qos.discovery.initial_peers[2], "c");
  EXPECT_EQ(qos.discovery.multicast_receive_addresses.length(), 0);
  EXPECT_EQ(qos.discovery_config.max_participant_index, 9);
  EXPECT_EQ(qos.discovery_config.participant_liveliness_lease_duration, (DDS_Duration_t{4, 0}));
  EXPECT_EQ(qos.discovery_config.participant_liveliness_assert_period, (DDS_Duration_t{1, 0}));
  EXPECT_STREQ(qos.participant_name.name, "n");
  EXPECT_STREQ(qos.participant_name.role_name, "r");
}

TEST_F(QosProfilesTest, EmbeddedOnesNeedNoConfiguration) {
  ASSERT_TRUE(load()) << error;
  const std::tuple<const char*, const char*, DDS_Long> cases[] = {{"tessivar_Library", "tessivar_UnitQos", 1},
                                                                  {"tessivar_Library", "tessivar_MetadataQos", 1},
                                                                  {"requestReplyLib", "requestNodeQos", 1},
                                                                  {"requestReplyLib", "replyNodeQos", 1024},
                                                                  {"requestReplyLib", "valueNodeQos", 1}};
  for (const auto& [library, profile, depth] : cases) {
    DDS_DataReaderQos qos;
    EXPECT_TRUE(profiles.datareader(library, profile, qos, error)) << error;
    EXPECT_EQ(qos.reliability.kind, DDS_RELIABLE_RELIABILITY_QOS) << profile;
    EXPECT_EQ(qos.history.depth, depth) << profile;
  }
}

TEST_F(QosProfilesTest, LaterSourcesOverrideProfileByProfile) {
  const auto loaded = [&] {
    EXPECT_TRUE(load()) << error;
    return depth();
  };
  write("first.xml", with_depth(10));
  write("second.xml", with_depth(20));
  write("third.xml", with_depth(40));
  setenv("NDDS_QOS_PROFILES", ("first.xml;;file://" + (directory / "second.xml").string() + ";").c_str(), 1);
  EXPECT_EQ(loaded(), 20);
  write("USER_QOS_PROFILES.xml", with_depth(30));
  EXPECT_EQ(loaded(), 30);
  append(policy.url_profile, "file://third.xml");
  EXPECT_EQ(loaded(), 40);
  append(policy.string_profile, with_depth(50));
  EXPECT_EQ(loaded(), 50);
  DDS_TopicQos qos;
  EXPECT_TRUE(profiles.topic("tessivar_Library", "tessivar_UnitQos", qos, error)) << "others stay";
  policy = DDS_ProfileQosPolicy();
  policy.ignore_user_profile = DDS_BOOLEAN_TRUE;
  EXPECT_EQ(loaded(), 20);
  policy.ignore_environment_profile = DDS_BOOLEAN_TRUE;
  EXPECT_EQ(loaded(), -1);
}

TEST_F(QosProfilesTest, ProfilesAreBasedOnOthersAndGiveTopicsTheirQosByName) {
  ASSERT_TRUE(load(R"(
    <qos_profile name='derived' base_name='l::middle'><topic_qos><history><kind>KEEP_ALL_HISTORY_QOS</kind></history>
    </topic_qos></qos_profile><qos_profile name='middle' base_name='p'/>
    <qos_profile name='p' is_default_qos='true'>
    <topic_qos><history><depth>9</depth></history></topic_qos>
    <topic_qos topic_filter='Orvel.Routing.*'><history><depth>2</depth></history></topic_qos>
    <topic_qos topic_filter='*.Requests'><history><depth>3</depth></history></topic_qos></qos_profile>)"))
      << error;
  EXPECT_EQ(depth("derived"), 9);
  const std::pair<const char*, DDS_Long> cases[] = {
      {"Orvel.Routing.Sources", 2}, {"Orvel.Routing.X.Requests", 3}, {"Orvel.Tessivar.Units", 9}, {"", 9}};
  for (const auto& [name, expected] : cases) {
    DDS_TopicQos topic;
    EXPECT_TRUE(profiles.topic_for(name, topic, error)) << name << error;
    EXPECT_EQ(topic.history.depth, expected) << name;
  }
  DDS_DomainParticipantQos participant;
  EXPECT_FALSE(profiles.default_participant(participant, error)) << "it has no participant_qos";
  EXPECT_EQ(error, "") << "which is no failure";
}

TEST_F(QosProfilesTest, AMistakeIsToldWithItsLineAndLeavesTheOthersUsable) {
  const std::string good =
      "<qos_profile name='good'><topic_qos><history><depth>9</depth></history></topic_qos></qos_profile>";
  const std::pair<const char*, const char*> cases[] = {
      // in topics; the second line is wrong
      {"<topic_qos>\n<histroy/></topic_qos>", "unknown element <histroy> in <topic_qos>"},
      {"<topic_qos><history>\n<kind>KEEP_SOME</kind></history></topic_qos>",
       "\"KEEP_SOME\" is no value of <kind>, which takes KEEP_LAST_HISTORY_QOS, KEEP_ALL_HISTORY_QOS"},
      {"<topic_qos><history>\n<depth>1x</depth></history></topic_qos>", "\"1x\" is no value of <depth>"},
      {"<topic_qos><history><depth>1</depth>\n<depth>2</depth></history></topic_qos>", "second element <depth>"},
      {"<topic_qos><resource_limits>\n<max_samples>99999999999</max_samples></resource_limits></topic_qos>",
       "takes -1 to 2147483647 (-1: LENGTH_UNLIMITED)"},
      {"<topic_qos>\n<history depth='1'/></topic_qos>", "unknown attribute depth of <history>"},
      {"<topic_qos><deadline>\n<period><nanosec>1000000000</nanosec></period></deadline></topic_qos>",
       "<nanosec> of <period> is more than 999999999"},
      {"<datawriter_qos><user_data>\n<value>1,256</value></user_data></datawriter_qos>", "octets parted by commas"},
      {"<datawriter_qos><property><value>\n<element><name>n</name></element></value></property></datawriter_qos>",
       "a property without"},
      {"\n</qos_profile><qos_profile name='bad' base_name='bad'>", "profile \"l::bad\" is based on itself"},
      {"\n</qos_profile><qos_profile name='bad' base_name='x::p'>", "based on unknown QoS library \"x\""},
  };
  for (const auto& [profile, message] : cases) {
    const char* begin = profile[0] == '\n' ? "<qos_profile name='before'>" : "<qos_profile name='bad'>";
    ASSERT_TRUE(load(good + begin + profile + "</qos_profile>")) << error;
    DDS_DataWriterQos writer;
    EXPECT_TRUE(depth("bad") == -1 || !profiles.datawriter("l", "bad", writer, error)) << profile;
    EXPECT_THAT(error, AllOf(HasSubstr("string_profile[0]:2: "), HasSubstr(message), Not(HasSubstr("\n"))));
    EXPECT_EQ(depth("good"), 9);
  }
  depth("x");
  EXPECT_EQ(error, "unknown QoS profile \"l::x\"");
  depth(nullptr);
  EXPECT_EQ(error, "QoS library or profile is null");
}

TEST_F(QosProfilesTest, ASourceThatCannotBeUsedIsLeftOutAndTold) {
  write("good.xml", with_depth(6));
  append(policy.url_profile, "good.xml");
  append(policy.url_profile, "bad.xml");
  EXPECT_FALSE(load());
  EXPECT_EQ(error, "bad.xml: No such file or directory");
  const std::string profile = "<qos_library name='l'>\n<qos_profile name='p'/></qos_library>";
  const std::pair<std::string, const char*> cases[] = {
      {"<dds>\n<qos_library name='l'>\n</dds>", "bad.xml:3: Start-end tags mismatch"},
      {"", "bad.xml:1: No document element found"},
      {"\n<xml/>", "bad.xml:2: <dds> expected"},
      {"<dds>" + profile + profile + "</dds>", "bad.xml:3: second profile \"l::p\""},
  };
  for (const auto& [text, message] : cases) {
    write("bad.xml", text);
    EXPECT_FALSE(load()) << text;
    EXPECT_EQ(error, message);
    EXPECT_EQ(depth(), 6);
  }
}

}  // namespace
