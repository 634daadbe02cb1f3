#include "tessivar/platform/participant.h"

#include "support/face_fixture.h"
#include "support/faulty_engine.h"
#include "tessivar/platform/participant_config.h"

#include <algorithm>
#include <cstring>

namespace face_test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

DDSDomainParticipantFactory& factory() {
  return *DDSDomainParticipantFactory::get_instance();
}

// --- what the QoS says to the engine
// ----------------------------------------------------------------------------------

TEST(Peer, IsReadInAllItsForms) {
  const struct {
    const char* text;
    const char* address;
    int max_index;
  } good[] = {
      {"builtin.udpv4://10.1.2.3", "10.1.2.3", 0},
      {"builtin.udpv4://studio-1:7410", "studio-1:7410", 0},
      {"4@builtin.udpv4://10.1.2.3", "10.1.2.3", 4},
      {"builtin.shmem://", "", 0},
      {"2@builtin.shmem://", "", 2},
      {"10.1.2.3", "10.1.2.3", 0},
      {" router.example ", "router.example", 0},
      {"0@host", "host", 0},
  };
  for (const auto& one : good) {
    std::string error;
    const auto peer = platform::parse_peer(one.text, error);
    ASSERT_TRUE(peer) << one.text << ": " << error;
    EXPECT_EQ(peer->address, one.address) << one.text;
    EXPECT_EQ(peer->max_index, one.max_index) << one.text;
  }
  const struct {
    const char* text;
    const char* reason;
  } bad[] = {
      {"", "address is missing"},
      {"builtin.udpv4://", "address is missing"},
      {"x@10.0.0.1", "number before the @"},
      {"-1@10.0.0.1", "number before the @"},
      {"200@10.0.0.1", "number before the @"},
      {"@10.0.0.1", "number before the @"},
      {"builtin.tcp://10.0.0.1", "transport"},
      {"builtin.shmem://x", "no address"},
      {"10.0.0.1,10.0.0.2", "not an address"},
      {"builtin.udpv4://10.0.0.1/x", "not an address"},
  };
  for (const auto& one : bad) {
    std::string error;
    EXPECT_FALSE(platform::parse_peer(one.text, error)) << one.text;
    EXPECT_THAT(error, HasSubstr('"' + std::string(one.text) + '"'));
    EXPECT_THAT(error, HasSubstr(one.reason));
  }
}

TEST(ParticipantConfig, SaysWhatTheQosSays) {
  DDS_DomainParticipantQos qos;
  const auto property = [&](const char* name, const char* value, DDS_Boolean propagate) {
    DDSPropertyQosPolicyHelper::add_property(qos.property, name, value, propagate);
  };
  property("dds.transport.UDPv4.builtin.parent.allow_interfaces", "eth0, 10.1.* ,", DDS_BOOLEAN_FALSE);
  property("site", "north", DDS_BOOLEAN_TRUE);
  qos.discovery.initial_peers = strings({"builtin.udpv4://127.0.0.1", "builtin.shmem://", "40@10.0.0.9"});
  qos.participant_name.name = DDS_String_dup("camera");
  qos.user_data.value.ensure_length(2, 2);
  qos.user_data.value[0] = 7;
  qos.user_data.value[1] = 8;
  platform::EngineParticipantConfig config;
  std::string error;
  ASSERT_EQ(platform::make_config(5, qos, config, error), DDS_RETCODE_OK) << error;
  EXPECT_EQ(config.domain_id, 5);
  EXPECT_THAT(config.interfaces, ElementsAre("eth0", "10.1.*"));
  EXPECT_THAT(config.peers, ElementsAre("127.0.0.1", "10.0.0.9"));
  EXPECT_EQ(config.max_participant_index, 40);
  EXPECT_THAT(config.user_data, ElementsAre(7, 8));
  EXPECT_EQ(config.name, "camera");
  EXPECT_TRUE(config.multicast);
  ASSERT_EQ(config.properties.size(), 1u);
  EXPECT_EQ(config.properties[0].name, "site");
  EXPECT_TRUE(config.properties[0].propagate);
  EXPECT_EQ(config.lease_duration, 2800000000);

  property("dds.transport.UDPv4.builtin.multicast_enabled", "0", DDS_BOOLEAN_FALSE);
  ASSERT_EQ(platform::make_config(5, qos, config, error), DDS_RETCODE_OK);
  EXPECT_FALSE(config.multicast);
}

TEST(ParticipantConfig, RefusesWhatCannotBe) {
  const struct {
    std::function<void(DDS_DomainParticipantQos&)> spoil;
    const char* reason;
  } cases[] = {
      {[](auto& qos) { qos.resource_limits.participant_user_data_max_length = 3; }, "user_data has 4 octets"},
      {[](auto& qos) { qos.discovery.initial_peers = strings({"builtin.tcp://x"}); }, "builtin.tcp://x"},
      {[](auto& qos) { qos.discovery_config.max_participant_index = 120; }, "0 to 119, not 120"},
      {[](auto& qos) {
         DDSPropertyQosPolicyHelper::add_property(qos.property, "dds.transport.UDPv4.builtin.multicast_enabled", "yes",
                                                  DDS_BOOLEAN_FALSE);
       },
       "multicast_enabled\" must be"},
  };
  for (const auto& one : cases) {
    LogLines log;
    DDS_DomainParticipantQos qos = loopback_qos();
    qos.user_data.value.ensure_length(4, 4);
    one.spoil(qos);
    EXPECT_EQ(factory().create_participant(own_domain(), qos, nullptr, 0), nullptr);
    ASSERT_EQ(log.lines().size(), 1u);
    EXPECT_THAT(log.lines()[0], HasSubstr(one.reason));
  }
}

TEST(Factory, KnowsTheDomainsThereAre) {
  LogLines log;
  for (const DDS_DomainId_t id : {-1, 233}) {
    EXPECT_EQ(factory().create_participant(id, loopback_qos(), nullptr, 0), nullptr);
    EXPECT_THAT(log.lines().back(), HasSubstr("domain " + std::to_string(id) + ": domain ids are 0 to 232"));
  }
}

TEST(Factory, NamesTheProfileThatIsMissing) {
  LogLines log;
  DDS_DataWriterQos qos;
  EXPECT_EQ(factory().get_datawriter_qos_from_profile(qos, "no such library", "p"), DDS_RETCODE_ERROR);
  ASSERT_EQ(log.lines().size(), 1u);
  EXPECT_THAT(log.lines()[0], HasSubstr("no such library"));
  EXPECT_EQ(factory().get_datawriter_qos_from_profile(qos, nullptr, "p"), DDS_RETCODE_BAD_PARAMETER);
}

// --- enabling
// ---------------------------------------------------------------------------------------------------------

/// The factory makes disabled participants meanwhile.
class DisabledTest : public testing::Test {
 protected:
  DisabledTest() { set(DDS_BOOLEAN_FALSE); }
  ~DisabledTest() override { set(DDS_BOOLEAN_TRUE); }
  static void set(DDS_Boolean enable) {
    DDS_DomainParticipantFactoryQos qos;
    factory().get_qos(qos);
    qos.entity_factory.autoenable_created_entities = enable;
    factory().set_qos(qos);
  }
  FaultyEngine engine;
  LogLines log;
};

TEST_F(DisabledTest, EnablingBringsAllThatWasMadeBefore) {
  Side side;
  DDS_DomainParticipantQos qos;
  EXPECT_FALSE(side.participant->get_instance_handle().isValid);
  EXPECT_EQ(side.topic->enable(), DDS_RETCODE_PRECONDITION_NOT_MET);
  NoteWriter* writer = side.writer();
  NoteReader* reader = side.reader();
  ASSERT_NE(writer, nullptr);
  ASSERT_NE(reader, nullptr);
  EXPECT_EQ(writer->enable(), DDS_RETCODE_PRECONDITION_NOT_MET);
  EXPECT_EQ(reader->enable(), DDS_RETCODE_PRECONDITION_NOT_MET);
  EXPECT_EQ(side.participant->add_peer("builtin.udpv4://127.0.0.1"), DDS_RETCODE_OK);
  EXPECT_EQ(side.participant->add_peer("builtin.tcp://x"), DDS_RETCODE_BAD_PARAMETER);
  EXPECT_EQ(side.participant->remove_peer("10.9.9.9"), DDS_RETCODE_BAD_PARAMETER);

  ASSERT_EQ(side.participant->enable(), DDS_RETCODE_OK);
  EXPECT_EQ(side.participant->enable(), DDS_RETCODE_OK);
  EXPECT_TRUE(writer->get_instance_handle().isValid);
  EXPECT_TRUE(reader->get_instance_handle().isValid);
  EXPECT_EQ(side.topic->enable(), DDS_RETCODE_OK);
  writer->write({1, 0, ""});
  EXPECT_EQ(take(*reader, 1).size(), 1u);
  side.participant->get_qos(qos);
  EXPECT_GE(qos.wire_protocol.participant_id, 0);
  EXPECT_EQ(qos.wire_protocol.rtps_host_id >> 24, side.participant->get_instance_handle().keyHash.value[0]);
  const DDS_Long peers = qos.discovery.initial_peers.length();
  EXPECT_STREQ(qos.discovery.initial_peers[peers - 1], "builtin.udpv4://127.0.0.1");
}

TEST_F(DisabledTest, StaysDisabledWhenTheEngineFails) {
  engine.create_participant_hook = [] { return DDS_RETCODE_ERROR; };
  Side side;
  EXPECT_EQ(side.participant->enable(), DDS_RETCODE_ERROR);
  EXPECT_THAT(log.lines().back(), HasSubstr("a fault of the test"));
  engine.create_participant_hook = nullptr;
  EXPECT_EQ(side.participant->enable(), DDS_RETCODE_OK);
}

TEST_F(DisabledTest, QosIsFreeUntilItIsEnabled) {
  Side side;
  DDS_DomainParticipantQos qos = loopback_qos();
  qos.user_data.value.ensure_length(1, 1);
  EXPECT_EQ(side.participant->set_qos(qos), DDS_RETCODE_OK);
  ASSERT_EQ(side.participant->enable(), DDS_RETCODE_OK);
  side.participant->get_qos(qos);
  EXPECT_EQ(qos.user_data.value.length(), 1);
  qos.entity_factory.autoenable_created_entities = DDS_BOOLEAN_FALSE;
  EXPECT_EQ(side.participant->set_qos(qos), DDS_RETCODE_OK);
  qos.user_data.value.length(0);
  EXPECT_EQ(side.participant->set_qos(qos), DDS_RETCODE_IMMUTABLE_POLICY);
}

// --- what it contains
// -------------------------------------------------------------------------------------------------

TEST(Participant, DeletesInTheRightOrderOnly) {
  Side side;
  Side other;
  DDSDomainParticipant* participant = side.participant;
  NoteWriter* writer = side.writer();
  NoteReader* reader = side.reader();
  DDSReadCondition* condition =
      reader->create_readcondition(DDS_ANY_SAMPLE_STATE, DDS_ANY_VIEW_STATE, DDS_ANY_INSTANCE_STATE);
  EXPECT_EQ(factory().delete_participant(participant), DDS_RETCODE_PRECONDITION_NOT_MET);
  EXPECT_EQ(participant->delete_topic(side.topic), DDS_RETCODE_PRECONDITION_NOT_MET);
  EXPECT_EQ(participant->unregister_type("Note"), DDS_RETCODE_PRECONDITION_NOT_MET);
  EXPECT_EQ(participant->delete_datareader(reader), DDS_RETCODE_PRECONDITION_NOT_MET);
  EXPECT_EQ(reader->delete_readcondition(condition), DDS_RETCODE_OK);
  EXPECT_EQ(other.participant->delete_datareader(reader), DDS_RETCODE_PRECONDITION_NOT_MET);
  EXPECT_EQ(participant->delete_datareader(reader), DDS_RETCODE_OK);
  EXPECT_EQ(participant->delete_topic(side.topic), DDS_RETCODE_PRECONDITION_NOT_MET);
  EXPECT_EQ(other.participant->delete_datawriter(writer), DDS_RETCODE_PRECONDITION_NOT_MET);
  EXPECT_EQ(participant->delete_datawriter(writer), DDS_RETCODE_OK);
  EXPECT_EQ(participant->delete_topic(side.topic), DDS_RETCODE_OK);
  EXPECT_EQ(participant->unregister_type("Note"), DDS_RETCODE_OK);
  EXPECT_EQ(participant->delete_topic(nullptr), DDS_RETCODE_BAD_PARAMETER);
  EXPECT_EQ(participant->delete_datareader(nullptr), DDS_RETCODE_BAD_PARAMETER);
  EXPECT_EQ(participant->delete_datawriter(nullptr), DDS_RETCODE_BAD_PARAMETER);
  EXPECT_EQ(factory().delete_participant(nullptr), DDS_RETCODE_BAD_PARAMETER);
}

TEST(Participant, DeletesAllAtOnceLoansOrNot) {
  const int before = live_notes();
  {
    Side side;
    NoteWriter* writer = side.writer();
    NoteReader* reader = side.reader();
    reader->create_readcondition(DDS_ANY_SAMPLE_STATE, DDS_ANY_VIEW_STATE, DDS_ANY_INSTANCE_STATE);
    writer->write({1, 0, ""});
    DDS_SampleBufferI buffer;
    DDS_SampleInfoSeq infos;
    ASSERT_EQ(reader->read_or_take_untypedI(buffer, infos, {}), DDS_RETCODE_OK);
    EXPECT_EQ(side.participant->delete_contained_entities(), DDS_RETCODE_OK);
    infos.unloan();
  }
  EXPECT_EQ(live_notes(), before);
}

TEST(Participant, HasOneTopicOfAName) {
  LogLines log;
  Side side;
  const auto create = [&](const char* name, const char* type) {
    return side.participant->create_topic(name, type, DDS_TOPIC_QOS_DEFAULT, nullptr, 0);
  };
  EXPECT_EQ(side.participant->lookup_topicdescription(side.topic->get_name()), side.topic);
  EXPECT_EQ(side.participant->lookup_topicdescription("unknown"), nullptr);
  EXPECT_EQ(create(side.topic->get_name(), "Note"), nullptr);
  EXPECT_THAT(log.lines().back(), HasSubstr("exists already"));
  EXPECT_EQ(create("Other", "Unknown"), nullptr);
  EXPECT_THAT(log.lines().back(), HasSubstr("type \"Unknown\" is not registered"));
  EXPECT_EQ(create("", "Note"), nullptr);
  EXPECT_EQ(create(nullptr, "Note"), nullptr);
  EXPECT_EQ(side.participant->register_type("Note", note_plugin), DDS_RETCODE_OK);
  EXPECT_EQ(side.participant->register_type("Note", keyless_plugin), DDS_RETCODE_PRECONDITION_NOT_MET);
  EXPECT_TRUE(side.participant->is_type_registered("Note"));
  EXPECT_FALSE(side.participant->is_type_registered(nullptr));
}

TEST(Participant, RecognisesTheDefaultsByTheirAddress) {
  FaultyEngine engine;
  Side side;
  DDS_DataWriterQos writer_qos;
  writer_qos.history.depth = 17;
  ASSERT_EQ(side.participant->set_default_datawriter_qos(writer_qos), DDS_RETCODE_OK);
  DDS_DataReaderQos reader_qos;
  reader_qos.history.depth = 18;
  ASSERT_EQ(side.participant->set_default_datareader_qos(reader_qos), DDS_RETCODE_OK);

  side.writer(DDS_DATAWRITER_QOS_DEFAULT);
  EXPECT_EQ(engine.writer_config.qos.history.depth, 17);
  EXPECT_EQ(engine.writer_config.qos.durability.kind, DDS_VOLATILE_DURABILITY_QOS);
  side.writer(DDS_DATAWRITER_QOS_USE_TOPIC_QOS);
  EXPECT_EQ(engine.writer_config.qos.history.depth, 1);
  EXPECT_EQ(engine.writer_config.qos.durability.kind, DDS_TRANSIENT_LOCAL_DURABILITY_QOS);
  const DDS_DataWriterQos copy = DDS_DATAWRITER_QOS_USE_TOPIC_QOS;
  side.writer(copy);
  EXPECT_EQ(engine.writer_config.qos.durability.kind, DDS_VOLATILE_DURABILITY_QOS);
  side.reader(DDS_DATAREADER_QOS_DEFAULT);
  EXPECT_EQ(engine.reader_config.qos.history.depth, 18);
  side.reader(DDS_DATAREADER_QOS_USE_TOPIC_QOS);
  EXPECT_EQ(engine.reader_config.qos.durability.kind, DDS_TRANSIENT_LOCAL_DURABILITY_QOS);

  DDS_TopicQos topic_qos;
  topic_qos.history.depth = 19;
  side.participant->set_default_topic_qos(topic_qos);
  DDSTopic* topic = side.participant->create_topic("Defaults", "Note", DDS_TOPIC_QOS_DEFAULT, nullptr, 0);
  topic->get_qos(topic_qos);
  EXPECT_EQ(topic_qos.history.depth, 19);
}

// --- the built-in reader
// ----------------------------------------------------------------------------------------------

DDS_DomainParticipantQos named(const std::string& name) {
  DDS_DomainParticipantQos qos = loopback_qos();
  qos.participant_name.name = DDS_String_dup(name.c_str());
  return qos;
}

struct Seen {
  std::string name;
  DDS_SampleInfo info;
};

std::vector<Seen> take_seen(DDSDataReader* reader) {
  auto* builtin = DDSParticipantBuiltinTopicDataDataReader::narrow(reader);
  DDS_ParticipantBuiltinTopicDataSeq samples;
  DDS_SampleInfoSeq infos;
  std::vector<Seen> seen;
  if (builtin->take(samples, infos, DDS_LENGTH_UNLIMITED, DDS_ANY_SAMPLE_STATE, DDS_ANY_VIEW_STATE,
                    DDS_ANY_INSTANCE_STATE) != DDS_RETCODE_OK) {
    return seen;
  }
  for (DDS_Long i = 0; i < samples.length(); ++i) {
    const char* name = samples[i].participant_name.name;
    seen.push_back({name ? name : "", infos[i]});
  }
  EXPECT_EQ(builtin->return_loan(samples, infos), DDS_RETCODE_OK);
  return seen;
}

/// Ignores who has a certain name, as it is discovered.
struct Gatekeeper : DDSDataReaderListener {
  explicit Gatekeeper(DDSDomainParticipant& its) : participant(its) {}
  void on_data_available(DDSDataReader* reader) override {
    for (const Seen& one : take_seen(reader)) {
      const std::lock_guard lock(mutex);
      (one.info.valid_data ? arrived : gone).push_back(one.info.valid_data ? one.name : "");
      if (one.info.valid_data && one.name == "unwanted") {
        EXPECT_EQ(participant.ignore_participant(one.info.instance_handle), DDS_RETCODE_OK);
      }
    }
  }
  bool has_arrived(const std::string& name) {
    const std::lock_guard lock(mutex);
    return std::count(arrived.begin(), arrived.end(), name) > 0;
  }
  DDSDomainParticipant& participant;
  std::mutex mutex;
  std::vector<std::string> arrived;
  std::vector<std::string> gone;
};

class BuiltinTest : public DisabledTest {
 protected:
  Side side{named("keeper")};
  DDSDataReader* builtin = side.participant->get_builtin_subscriber()->lookup_datareader(DDS_PARTICIPANT_TOPIC_NAME);
};

TEST_F(BuiltinTest, IsFoundUnderItsName) {
  ASSERT_NE(builtin, nullptr);
  EXPECT_EQ(DDSParticipantBuiltinTopicDataDataReader::narrow(builtin), builtin);
  EXPECT_EQ(side.participant->get_builtin_subscriber()->lookup_datareader("DCPSTopic"), nullptr);
  EXPECT_EQ(side.participant->get_implicit_subscriber()->lookup_datareader(DDS_PARTICIPANT_TOPIC_NAME), nullptr);
  EXPECT_EQ(side.participant->get_builtin_subscriber()->get_participant(), side.participant);
  EXPECT_EQ(builtin->create_readcondition(1, 1, 1), nullptr);
  DDS_SampleBufferI buffer;
  DDS_SampleInfoSeq infos;
  EXPECT_EQ(builtin->read_or_take_untypedI(buffer, infos, {}), DDS_RETCODE_ILLEGAL_OPERATION);
}

TEST_F(BuiltinTest, WhoIsIgnoredWhenItIsFoundNeverMatches) {
  Gatekeeper keeper(*side.participant);
  builtin->set_listener(&keeper, DDS_DATA_AVAILABLE_STATUS);
  struct Counts : DDSDataReaderListener {
    void on_subscription_matched(DDSDataReader*, const DDS_SubscriptionMatchedStatus& status) override {
      if (status.current_count > most) most = status.current_count;
    }
    std::atomic<int> most = 0;
  } counts;
  NoteReader* reader = side.reader(state_reader_qos(), &counts);
  ASSERT_EQ(side.participant->enable(), DDS_RETCODE_OK);
  set(DDS_BOOLEAN_TRUE);
  {
    Side unwanted(named("unwanted"));
    NoteWriter* loud = unwanted.writer();
    loud->write({1, 0, "unwanted"});
    ASSERT_TRUE(eventually([&] { return keeper.has_arrived("unwanted"); }));
    Side welcome(named("welcome"));
    NoteWriter* writer = welcome.writer();
    writer->write({2, 0, "welcome"});
    ASSERT_TRUE(matched(*reader));
    EXPECT_THAT(ids(take(*reader, 1)), ElementsAre(2));
    loud->write({3, 0, "unwanted"});
    writer->write({4, 0, "welcome"});
    EXPECT_THAT(ids(take(*reader, 1)), ElementsAre(4));
    EXPECT_EQ(counts.most, 1);
    EXPECT_FALSE(keeper.has_arrived("keeper"));
  }
  EXPECT_TRUE(eventually([&] {
    const std::lock_guard lock(keeper.mutex);
    return !keeper.gone.empty();
  }));
  builtin->set_listener(nullptr, DDS_STATUS_MASK_NONE);
  EXPECT_EQ(side.participant->delete_datareader(reader), DDS_RETCODE_OK);
}

TEST_F(BuiltinTest, KeepsAnnouncementsAndDeparturesUntilTheyAreTaken) {
  DDS_ParticipantBuiltinTopicData data;
  data.participant_name.name = DDS_String_dup("guest");
  DDS_InstanceHandle_t handle = handle_of({1, 0, ""});
  ASSERT_EQ(side.participant->enable(), DDS_RETCODE_OK);
  take_seen(builtin);
  const auto seen = [&](bool alive) { engine.participant_events->participant_seen(data, handle, alive); };
  const auto ours = [&] {
    std::vector<Seen> result = take_seen(builtin);
    std::erase_if(result,
                  [&](const Seen& one) { return !DDS_InstanceHandle_equals(&one.info.instance_handle, &handle); });
    return result;
  };
  seen(false);  // never announced
  EXPECT_THAT(ours(), IsEmpty());
  seen(true);
  seen(true);  // changed: only the latest is kept
  auto taken = ours();
  ASSERT_EQ(taken.size(), 1u);
  EXPECT_EQ(taken[0].name, "guest");
  EXPECT_TRUE(taken[0].info.valid_data);
  EXPECT_EQ(taken[0].info.view_state, DDS_NEW_VIEW_STATE);
  seen(true);
  seen(false);
  taken = ours();
  ASSERT_EQ(taken.size(), 2u);
  EXPECT_TRUE(taken[0].info.valid_data);
  EXPECT_EQ(taken[0].info.view_state, DDS_NOT_NEW_VIEW_STATE);
  EXPECT_FALSE(taken[1].info.valid_data);
  EXPECT_EQ(taken[1].info.instance_state, DDS_NOT_ALIVE_DISPOSED_INSTANCE_STATE);
  EXPECT_THAT(ours(), IsEmpty());
}

TEST_F(BuiltinTest, AParticipantThatIgnoresItselfDoesNotMatchItself) {
  EXPECT_EQ(side.participant->ignore_participant(DDS_HANDLE_NIL), DDS_RETCODE_BAD_PARAMETER);
  EXPECT_EQ(side.participant->ignore_participant(handle_of({1, 0, ""})), DDS_RETCODE_NOT_ENABLED);
  ASSERT_EQ(side.participant->enable(), DDS_RETCODE_OK);
  set(DDS_BOOLEAN_TRUE);
  ASSERT_EQ(side.participant->ignore_participant(side.participant->get_instance_handle()), DDS_RETCODE_OK);
  EXPECT_THAT(engine.ignored, IsEmpty());
  NoteWriter* writer = side.writer();
  NoteReader* reader = side.reader();
  Side peer;
  NoteReader* remote = peer.reader();
  writer->write({1, 0, ""});
  EXPECT_EQ(take(*remote, 1).size(), 1u);
  EXPECT_THAT(reader->take(), IsEmpty());
  DDS_SubscriptionMatchedStatus status;
  reader->get_subscription_matched_status(status);
  EXPECT_EQ(status.total_count, 0);
}

TEST_F(BuiltinTest, PeersOfAnEnabledParticipantGoToTheEngine) {
  ASSERT_EQ(side.participant->enable(), DDS_RETCODE_OK);
  EXPECT_EQ(side.participant->add_peer("3@builtin.udpv4://127.0.0.1"), DDS_RETCODE_OK);
  EXPECT_EQ(side.participant->add_peer("builtin.shmem://"), DDS_RETCODE_OK);
  EXPECT_EQ(side.participant->add_peer(nullptr), DDS_RETCODE_BAD_PARAMETER);
  EXPECT_THAT(engine.peers, ElementsAre("127.0.0.1"));
}

}  // namespace
}  // namespace face_test
