// SPDX-License-Identifier: Apache-2.0

#include "support/bus.h"
#include "tessivar/platform/qos/profiles.h"
#include "tests/support/source_file.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace platform_test {
namespace {

using testing::AllOf;
using testing::FieldsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StrEq;

/// Runs in an empty working directory.
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
  static void write(const std::string& file, const std::string& text) { std::ofstream(file) << text; }
  bool load() { return profiles.load(policy, error); }
  /// Loads library "l" with these profiles, from a string.
  bool load(const std::string& text) {
    policy = DDS_ProfileQosPolicy();
    policy.string_profile = strings({"<dds><qos_library name='l'>" + text + "</qos_library></dds>"});
    return load();
  }
  /// Returns the depth of a topic's history in profile "l::p", or -1 if there is none.
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

/// Returns profile "l::p". Its topic depth identifies the source.
std::string with_depth(int depth) {
  return "<dds><qos_library name='l'><qos_profile name='p'><topic_qos><history><depth>" + std::to_string(depth) +
         "</depth></history></topic_qos></qos_profile></qos_library></dds>";
}

TEST_F(QosProfilesTest, ReadsEveryPolicy) {
  policy.url_profile = strings({tessivar::testing::source_file("tests/platform/data/every_policy.xml")});
  ASSERT_TRUE(load()) << error;
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
    EXPECT_THAT(qos.liveliness, FieldsAre(DDS_MANUAL_BY_TOPIC_LIVELINESS_QOS, DDS_Duration_t{2, 500000000}));
    EXPECT_THAT(qos.reliability, FieldsAre(DDS_BEST_EFFORT_RELIABILITY_QOS, DDS_DURATION_INFINITE));
    EXPECT_EQ(qos.destination_order.kind, DDS_BY_SOURCE_TIMESTAMP_DESTINATIONORDER_QOS);
    EXPECT_THAT(qos.history, FieldsAre(DDS_KEEP_ALL_HISTORY_QOS, 7, DDS_ON_DEMAND_REFILTER_QOS));
    EXPECT_THAT(qos.resource_limits, FieldsAre(8, DDS_LENGTH_UNLIMITED, DDS_LENGTH_UNLIMITED));
    EXPECT_EQ(qos.ownership.kind, DDS_EXCLUSIVE_OWNERSHIP_QOS);
    if constexpr (requires { qos.lifespan; }) {
      EXPECT_EQ(qos.lifespan.duration, (DDS_Duration_t{6, 0}));
    }
    if constexpr (requires { qos.user_data; }) {
      ASSERT_EQ(qos.user_data.value.length(), 3);
      for (const DDS_Long i : {0, 1, 2}) EXPECT_EQ(qos.user_data.value[i], "ty\xff"[i] & 0xff);
      ASSERT_EQ(qos.property.value.length(), 2);
      EXPECT_THAT(qos.property.value[0], FieldsAre(StrEq("n"), StrEq("v w"), DDS_BOOLEAN_TRUE));
      EXPECT_STREQ(qos.property.value[1].value, "");
    }
  };
  check(topic);
  check(writer);
  check(reader);
  EXPECT_EQ(writer.durability_service.history_depth, 3);
  EXPECT_FALSE(writer.writer_data_lifecycle.autodispose_unregistered_instances);
  EXPECT_THAT(writer.batch, FieldsAre(DDS_BOOLEAN_TRUE, 4096, 1000, DDS_Duration_t{0, 50000000}, DDS_DURATION_ZERO));

  DDS_DomainParticipantQos qos;
  ASSERT_TRUE(profiles.default_participant(qos, error)) << error;
  EXPECT_FALSE(qos.entity_factory.autoenable_created_entities);
  EXPECT_EQ(qos.wire_protocol.rtps_host_id, 0xffffffffu);
  EXPECT_EQ(qos.resource_limits.participant_user_data_max_length, 128);
  ASSERT_EQ(qos.discovery.initial_peers.length(), 3) << "in place of the default ones";
  EXPECT_STREQ(qos.discovery.initial_peers[2], "c");
  EXPECT_EQ(qos.discovery.multicast_receive_addresses.length(), 0);
  EXPECT_THAT(qos.discovery_config, FieldsAre(DDS_Duration_t{4, 0}, DDS_Duration_t{1, 0}, 9));
  EXPECT_THAT(qos.participant_name, FieldsAre(StrEq("n"), StrEq("r")));
}

TEST_F(QosProfilesTest, LaterSourcesOverrideEarlierOnes) {
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
  policy.url_profile = strings({"file://third.xml"});
  EXPECT_EQ(loaded(), 40);
  policy.string_profile = strings({with_depth(50)});
  EXPECT_EQ(loaded(), 50);
  policy = DDS_ProfileQosPolicy();
  policy.ignore_user_profile = DDS_BOOLEAN_TRUE;
  EXPECT_EQ(loaded(), 20);
  policy.ignore_environment_profile = DDS_BOOLEAN_TRUE;
  EXPECT_EQ(loaded(), -1);
}

TEST_F(QosProfilesTest, InheritsFromBasesAndSelectsByTopicName) {
  policy.url_profile = strings({tessivar::testing::source_file("tests/platform/data/every_policy.xml")});
  ASSERT_TRUE(load()) << error;
  DDS_TopicQos topic;
  ASSERT_TRUE(profiles.topic("l", "derived", topic, error)) << error;
  EXPECT_EQ(topic.history.depth, 4);
  EXPECT_EQ(topic.history.kind, DDS_KEEP_ALL_HISTORY_QOS);
  const std::pair<const char*, DDS_Long> cases[] = {
      {"Orvel.Routing.Sources", 2}, {"Orvel.Routing.X.Requests", 3}, {"Orvel.Tessivar.Units", 7}, {"", 7}};
  for (const auto& [name, depth] : cases) {
    topic = DDS_TopicQos();
    EXPECT_TRUE(profiles.default_for(name, topic, error)) << name << error;
    EXPECT_EQ(topic.history.depth, depth) << name;
  }
}

TEST_F(QosProfilesTest, ReportsTheLineOfAMistakeAndKeepsOthers) {
  const std::string good =
      "<qos_profile name='good'><topic_qos><history><depth>9</depth></history></topic_qos></qos_profile>";
  const std::pair<const char*, const char*> cases[] = {
      // in topics; the mistake is in the second line
      {"<topic_qos>\n<histroy/></topic_qos>", "unknown element <histroy> in <topic_qos>"},
      {"<topic_qos><history>\n<kind>KEEP\n&#13;ALL</kind></history></topic_qos>",
       "\"KEEP  ALL\" is no value of <kind>, which takes KEEP_LAST_HISTORY_QOS, KEEP_ALL_HISTORY_QOS"},
      {"<topic_qos><history><depth>1</depth>\n<depth>2</depth></history></topic_qos>", "second element <depth>"},
      {"<topic_qos><resource_limits>\n<max_samples>99999999999</max_samples></resource_limits></topic_qos>",
       "takes -1 to 2147483647 (-1: LENGTH_UNLIMITED)"},
      {"\n</qos_profile><qos_profile name='bad' base_name='bad'>", "profile \"l::bad\" is based on itself"},
      {"\n</qos_profile><qos_profile name='bad' base_name='x::p'>", "based on unknown QoS library \"x\""},
  };
  for (const auto& [profile, message] : cases) {
    const char* begin = profile[0] == '\n' ? "<qos_profile name='before'>" : "<qos_profile name='bad'>";
    ASSERT_TRUE(load(good + begin + profile + "</qos_profile>")) << error;
    EXPECT_EQ(depth("bad"), -1) << profile;
    EXPECT_THAT(error, AllOf(HasSubstr("string_profile[0]:2: "), HasSubstr(message), Not(HasSubstr("\n"))));
    EXPECT_EQ(depth("good"), 9);
  }
  depth("x");
  EXPECT_EQ(error, "unknown QoS profile \"l::x\"");
}

TEST_F(QosProfilesTest, WarnsOnceOfMisspelledProfileNames) {
  LogRecorder log;
  const std::string topic = "<topic_qos/></qos_profile>";
  policy.string_profile = strings({"<dds><qos_library name='tessivar_Library'><qos_profile name='tessivar_UnitsQos'>" +
                                   topic + "<qos_profile name='State'>" + topic + "<qos_profile name='base'>" + topic +
                                   "<qos_profile name='tessivar_UnitQos' base_name='base'/></qos_library>\n"
                                   "<qos_library name='requestRepLib'><qos_profile name='replyNodeQos'>" +
                                   topic + "</qos_library></dds>"});
  for (int twice = 0; twice < 2; ++twice) ASSERT_TRUE(load()) << error;
  EXPECT_THAT(log.lines(), testing::ElementsAre(
                               AllOf(HasSubstr("string_profile[0]:2: "), HasSubstr("\"requestRepLib::replyNodeQos\""),
                                     HasSubstr("asks for requestReplyLib::replyNodeQos")),
                               AllOf(HasSubstr("\"tessivar_Library::tessivar_UnitsQos\""),
                                     HasSubstr("tessivar_Library::tessivar_UnitQos"))));
}

TEST_F(QosProfilesTest, ReportsAndSkipsUnusableSources) {
  write("good.xml", with_depth(6));
  policy.url_profile = strings({"good.xml", "bad.xml"});
  EXPECT_FALSE(load());
  EXPECT_EQ(error, "bad.xml: No such file or directory");
  const std::string profile = "<qos_library name='l'>\n<qos_profile name='p'/></qos_library>";
  const std::pair<std::string, const char*> cases[] = {
      {"<dds>\n<qos_library name='l'>\n</dds>", "bad.xml:3: Start-end tags mismatch"},
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

/// Restores the factory's profile sources at the end.
class DefaultProfileTest : public QosProfilesTest {
 protected:
  DefaultProfileTest() { factory().get_qos(before); }
  ~DefaultProfileTest() override { factory().set_qos(before); }
  void set(const DDS_ProfileQosPolicy& sources) {
    DDS_DomainParticipantFactoryQos qos = before;
    qos.profile = sources;
    factory().set_qos(qos);
  }

  DDS_DomainParticipantFactoryQos before;
  LogRecorder log;
};

TEST_F(DefaultProfileTest, AppliesToWritersAndReadersByTopic) {
  policy.string_profile =
      strings({"<dds><qos_library name='l'><qos_profile name='p' is_default_qos='true'>"
               "<datawriter_qos><history><depth>4</depth></history></datawriter_qos>"
               "<datawriter_qos topic_filter='*special'><batch><enable>1</enable></batch></datawriter_qos>"
               "<datareader_qos><history><depth>5</depth></history></datareader_qos>"
               "</qos_profile></qos_library></dds>"});
  set(policy);
  for (const std::string name : {"plain", "special"}) {
    Side side(loopback_qos(), own_topic(name));
    DDS_DataWriterQos writer;
    DDS_DataReaderQos reader;
    side.writer(DDS_DATAWRITER_QOS_DEFAULT)->get_qos(writer);
    side.reader(DDS_DATAREADER_QOS_DEFAULT)->get_qos(reader);
    EXPECT_EQ(writer.history.depth, 4);
    EXPECT_EQ(writer.batch.enable, name == "special");
    EXPECT_EQ(reader.history.depth, 5);
    DDS_DataWriterQos own;
    own.history.depth = 6;
    side.participant->set_default_datawriter_qos(own);
    side.writer(DDS_DATAWRITER_QOS_DEFAULT)->get_qos(writer);
    EXPECT_EQ(writer.history.depth, 6) << "what the application sets goes before the profile";
  }
}

TEST_F(DefaultProfileTest, IsTheBuiltInProfileIfAFileIsBad) {
  write("bad.xml", "<dds>\n<qos_library name='l'>\n</dds>");
  policy.url_profile = strings({"bad.xml"});
  set(policy);
  DDS_DomainParticipantQos qos;
  for (int i = 0; i < 2; ++i) EXPECT_EQ(factory().get_default_participant_qos(qos), DDS_RETCODE_OK);
  { Side side; }
  EXPECT_THAT(log.lines(), testing::ElementsAre(HasSubstr("bad.xml:3: Start-end tags mismatch")));
  EXPECT_EQ(factory().get_participant_qos_from_profile(qos, "tessivar_Library", "State"), DDS_RETCODE_ERROR)
      << "a profile that is asked for by name might be in the bad file";

  policy.url_profile.length(0);
  policy.string_profile =
      strings({"<dds><qos_library name='l'><qos_profile name='p' is_default_qos='1'><participant_qos>\n"
               "<x/></participant_qos></qos_profile></qos_library></dds>"});
  set(policy);
  log.lines();
  for (int i = 0; i < 2; ++i) EXPECT_EQ(factory().get_default_participant_qos(qos), DDS_RETCODE_OK);
  EXPECT_THAT(log.lines(), testing::ElementsAre(HasSubstr("string_profile[0]:2: unknown element <x>")));
}

}  // namespace
}  // namespace platform_test
