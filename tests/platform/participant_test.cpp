#include "tessivar/platform/participant.h"

#include "support/face_fixture.h"
#include "support/faulty_engine.h"
#include "tessivar/platform/participant_config.h"

#include <atomic>

namespace face_test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

DDSDomainParticipantFactory& factory() {
  return *DDSDomainParticipantFactory::get_instance();
}

TEST(Peer, IsReadInAllItsForms) {
  const struct {
    const char* text;
    const char* address;  // null: refused
    int max_index;
    const char* reason;
  } cases[] = {
      {"builtin.udpv4://10.1.2.3", "10.1.2.3", 0, ""},
      {"builtin.udpv4://studio-1:7410", "studio-1:7410", 0, ""},
      {"4@builtin.udpv4://10.1.2.3", "10.1.2.3", 4, ""},
      {"2@builtin.shmem://", "", 2, ""},
      {" router.example ", "router.example", 0, ""},
      {"0@host", "host", 0, ""},
      {"", nullptr, 0, "address is missing"},
      {"builtin.udpv4://", nullptr, 0, "address is missing"},
      {"-1@10.0.0.1", nullptr, 0, "number before the @"},
      {"200@10.0.0.1", nullptr, 0, "number before the @"},
      {"@10.0.0.1", nullptr, 0, "number before the @"},
      {"builtin.tcp://10.0.0.1", nullptr, 0, "transport"},
      {"builtin.shmem://x", nullptr, 0, "no address"},
      {"10.0.0.1,10.0.0.2", nullptr, 0, "not an address"},
  };
  for (const auto& one : cases) {
    std::string error;
    const auto peer = platform::parse_peer(one.text, error);
    ASSERT_EQ(peer.has_value(), one.address != nullptr) << one.text << ": " << error;
    EXPECT_THAT(error, HasSubstr(one.reason));
    if (!peer) continue;
    EXPECT_EQ(peer->address, one.address) << one.text;
    EXPECT_EQ(peer->max_index, one.max_index) << one.text;
  }
}

TEST(ParticipantConfig, SaysWhatTheQosSays) {
  DDS_DomainParticipantQos qos;
  const auto property = [&](const char* name, const char* value, DDS_Boolean propagate) {
    DDSPropertyQosPolicyHelper::add_property(qos.property, name, value, propagate);
  };
  property("dds.transport.UDPv4.builtin.parent.allow_interfaces", "eth0, 10.1.* ,", DDS_BOOLEAN_FALSE);
  property("dds.transport.UDPv4.builtin.multicast_enabled", "0", DDS_BOOLEAN_FALSE);
  property("site", "north", DDS_BOOLEAN_TRUE);
  qos.discovery.initial_peers = strings({"builtin.udpv4://127.0.0.1", "builtin.shmem://", "40@10.0.0.9"});
  platform::EngineParticipantConfig config;
  std::string error;
  ASSERT_EQ(platform::make_config(5, qos, config, error), DDS_RETCODE_OK) << error;
  EXPECT_THAT(config.interfaces, ElementsAre("eth0", "10.1.*"));
  EXPECT_THAT(config.peers, ElementsAre("127.0.0.1", "10.0.0.9"));
  EXPECT_EQ(config.max_participant_index, 40);
  EXPECT_FALSE(config.multicast);
  ASSERT_EQ(config.properties.size(), 1u);
  EXPECT_EQ(config.properties[0].name, "site");
  EXPECT_EQ(config.lease_duration, 2800000000);
}

TEST(Factory, RefusesWhatCannotBe) {
  const DDS_DomainId_t id = own_domain();
  const auto nothing = [](DDS_DomainParticipantQos&) {};
  const struct {
    DDS_DomainId_t id;
    std::function<void(DDS_DomainParticipantQos&)> spoil;
    const char* reason;
  } cases[] = {
      {-1, nothing, "domain -1: domain ids are 0 to 232"},
      {233, nothing, "domain 233: domain ids are 0 to 232"},
      {id, [](auto& qos) { qos.user_data.value.ensure_length(999, 999); }, "user_data has 999 octets"},
      {id, [](auto& qos) { qos.discovery.initial_peers = strings({"builtin.tcp://x"}); }, "builtin.tcp://x"},
      {id, [](auto& qos) { qos.discovery_config.max_participant_index = 120; }, "0 to 119, not 120"},
      {id,
       [](auto& qos) {
         DDSPropertyQosPolicyHelper::add_property(qos.property, "dds.transport.UDPv4.builtin.multicast_enabled", "yes",
                                                  DDS_BOOLEAN_FALSE);
       },
       "multicast_enabled\" must be"},
  };
  LogLines log;
  for (const auto& one : cases) {
    DDS_DomainParticipantQos qos = loopback_qos();
    one.spoil(qos);
    EXPECT_EQ(factory().create_participant(one.id, qos, nullptr, 0), nullptr);
    EXPECT_THAT(log.lines(), ElementsAre(HasSubstr(one.reason)));
  }
  DDS_DataWriterQos writer;
  EXPECT_EQ(factory().get_datawriter_qos_from_profile(writer, "no such library", "p"), DDS_RETCODE_ERROR);
  EXPECT_THAT(log.lines(), ElementsAre(HasSubstr("no such library")));
}

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
  DDSDomainParticipant* participant = side.participant;
  DDS_DomainParticipantQos qos = loopback_qos();
  qos.user_data.value.ensure_length(1, 1);
  EXPECT_EQ(participant->set_qos(qos), DDS_RETCODE_OK) << "free until it is enabled";
  EXPECT_FALSE(participant->get_instance_handle().isValid);
  NoteWriter* writer = side.writer();
  NoteReader* reader = side.reader();
  EXPECT_EQ(side.topic->enable(), DDS_RETCODE_PRECONDITION_NOT_MET);
  EXPECT_EQ(writer->enable(), DDS_RETCODE_PRECONDITION_NOT_MET);
  EXPECT_EQ(reader->enable(), DDS_RETCODE_PRECONDITION_NOT_MET);
  EXPECT_EQ(participant->add_peer("builtin.tcp://x"), DDS_RETCODE_BAD_PARAMETER);
  EXPECT_EQ(participant->remove_peer("10.9.9.9"), DDS_RETCODE_BAD_PARAMETER);
  engine.create_participant_hook = [] { return DDS_RETCODE_ERROR; };
  EXPECT_EQ(participant->enable(), DDS_RETCODE_ERROR);
  EXPECT_THAT(log.lines().back(), HasSubstr("a fault of the test"));
  engine.create_participant_hook = nullptr;
  for (int twice = 0; twice < 2; ++twice) ASSERT_EQ(participant->enable(), DDS_RETCODE_OK);

  writer->write({1, 0, ""});
  EXPECT_EQ(take(*reader, 1).size(), 1u);
  EXPECT_EQ(participant->add_peer("3@builtin.udpv4://127.0.0.1"), DDS_RETCODE_OK);
  EXPECT_THAT(engine.peers, ElementsAre("127.0.0.1"));
  participant->get_qos(qos);
  EXPECT_EQ(qos.user_data.value.length(), 1);
  EXPECT_GE(qos.wire_protocol.participant_id, 0);
  EXPECT_EQ(qos.wire_protocol.rtps_host_id >> 24, participant->get_instance_handle().keyHash.value[0]);
  qos.user_data.value.length(0);
  EXPECT_EQ(participant->set_qos(qos), DDS_RETCODE_IMMUTABLE_POLICY);
}

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
  const struct {
    const char* name;
    const char* type;
    const char* line;
  } cases[] = {{side.topic->get_name(), "Note", "exists already"},
               {"Other", "Unknown", "type \"Unknown\" is not registered"},
               {"", "Note", ""},
               {nullptr, "Note", ""}};
  for (const auto& c : cases) {
    EXPECT_EQ(side.participant->create_topic(c.name, c.type, DDS_TOPIC_QOS_DEFAULT, nullptr, 0), nullptr);
    EXPECT_THAT(log.lines(), ElementsAre(HasSubstr(c.line)));
  }
  EXPECT_EQ(side.participant->register_type("Note", note_plugin), DDS_RETCODE_OK);
  EXPECT_EQ(side.participant->register_type("Note", keyless_plugin), DDS_RETCODE_PRECONDITION_NOT_MET);
}

TEST(Participant, RecognisesTheDefaultsByTheirAddress) {
  FaultyEngine engine;
  Side side;
  DDS_DataWriterQos defaults;
  defaults.history.depth = 17;
  ASSERT_EQ(side.participant->set_default_datawriter_qos(defaults), DDS_RETCODE_OK);
  const DDS_DataWriterQos copy = DDS_DATAWRITER_QOS_USE_TOPIC_QOS;
  const struct {
    const DDS_DataWriterQos& qos;
    DDS_Long depth;
    DDS_DurabilityQosPolicyKind durability;
  } cases[] = {{DDS_DATAWRITER_QOS_DEFAULT, 17, DDS_VOLATILE_DURABILITY_QOS},
               {DDS_DATAWRITER_QOS_USE_TOPIC_QOS, 1, DDS_TRANSIENT_LOCAL_DURABILITY_QOS},
               {copy, 1, DDS_VOLATILE_DURABILITY_QOS}};
  for (const auto& c : cases) {
    side.writer(c.qos);
    EXPECT_EQ(engine.writer_config.qos.history.depth, c.depth);
    EXPECT_EQ(engine.writer_config.qos.durability.kind, c.durability);
  }
  side.reader(DDS_DATAREADER_QOS_DEFAULT);
  EXPECT_EQ(engine.reader_config.qos.durability.kind, DDS_VOLATILE_DURABILITY_QOS);
  side.reader(DDS_DATAREADER_QOS_USE_TOPIC_QOS);
  EXPECT_EQ(engine.reader_config.qos.durability.kind, DDS_TRANSIENT_LOCAL_DURABILITY_QOS);
}

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
      if (!one.info.valid_data) {
        ++gone;
      } else if (one.name == "unwanted") {
        EXPECT_EQ(participant.ignore_participant(one.info.instance_handle), DDS_RETCODE_OK);
        ++ignored;
      }
    }
  }
  DDSDomainParticipant& participant;
  std::atomic<int> ignored = 0;
  std::atomic<int> gone = 0;
};

class BuiltinTest : public DisabledTest {
 protected:
  Side side{named("keeper")};
  DDSDataReader* builtin = side.participant->get_builtin_subscriber()->lookup_datareader(DDS_PARTICIPANT_TOPIC_NAME);
};

TEST_F(BuiltinTest, WhoIsIgnoredWhenItIsFoundNeverMatches) {
  Gatekeeper keeper(*side.participant);
  builtin->set_listener(&keeper, DDS_DATA_AVAILABLE_STATUS);
  NoteReader* reader = side.reader();
  ASSERT_EQ(side.participant->enable(), DDS_RETCODE_OK);
  set(DDS_BOOLEAN_TRUE);
  {
    Side unwanted(named("unwanted"));
    NoteWriter* loud = unwanted.writer();
    loud->write({1, 0, "unwanted"});
    ASSERT_TRUE(eventually([&] { return keeper.ignored > 0; }));
    Side welcome(named("welcome"));
    NoteWriter* writer = welcome.writer();
    writer->write({2, 0, "welcome"});
    ASSERT_TRUE(matched(*reader));
    EXPECT_THAT(ids(take(*reader, 1)), ElementsAre(2));
    loud->write({3, 0, "unwanted"});
    writer->write({4, 0, "welcome"});
    EXPECT_THAT(ids(take(*reader, 1)), ElementsAre(4));
    DDS_SubscriptionMatchedStatus status;
    reader->get_subscription_matched_status(status);
    EXPECT_EQ(status.total_count, 1);
  }
  EXPECT_TRUE(eventually([&] { return keeper.gone > 0; }));
  builtin->set_listener(nullptr, DDS_STATUS_MASK_NONE);
}

TEST_F(BuiltinTest, KeepsAnnouncementsAndDeparturesUntilTheyAreTaken) {
  EXPECT_EQ(builtin->create_readcondition(1, 1, 1), nullptr) << "it is no reader of the engine";
  DDS_ParticipantBuiltinTopicData data;
  data.participant_name.name = DDS_String_dup("guest");
  DDS_InstanceHandle_t handle = handle_of({1, 0, ""});
  ASSERT_EQ(side.participant->enable(), DDS_RETCODE_OK);
  const struct {
    std::vector<bool> seen;  // whether it was alive
    std::vector<bool> valid;
    DDS_ViewStateKind view;
  } cases[] = {{{false}, {}, DDS_NEW_VIEW_STATE},  // never announced
               {{true, true}, {true}, DDS_NEW_VIEW_STATE},
               {{true, false}, {true, false}, DDS_NOT_NEW_VIEW_STATE},
               {{}, {}, DDS_NEW_VIEW_STATE}};
  for (const auto& c : cases) {
    for (const bool alive : c.seen) engine.participant_events->participant_seen(data, handle, alive);
    std::vector<bool> valid;
    for (const Seen& one : take_seen(builtin)) {
      if (!DDS_InstanceHandle_equals(&one.info.instance_handle, &handle)) continue;
      valid.push_back(one.info.valid_data != DDS_BOOLEAN_FALSE);
      if (valid.back()) {
        EXPECT_EQ(one.info.view_state, c.view);
      }
    }
    EXPECT_EQ(valid, c.valid);
  }
}

TEST_F(BuiltinTest, AParticipantThatIgnoresItselfDoesNotMatchItself) {
  EXPECT_EQ(side.participant->ignore_participant(DDS_HANDLE_NIL), DDS_RETCODE_BAD_PARAMETER);
  EXPECT_EQ(side.participant->ignore_participant(handle_of({1, 0, ""})), DDS_RETCODE_NOT_ENABLED);
  ASSERT_EQ(side.participant->enable(), DDS_RETCODE_OK);
  set(DDS_BOOLEAN_TRUE);
  ASSERT_EQ(side.participant->ignore_participant(side.participant->get_instance_handle()), DDS_RETCODE_OK);
  NoteWriter* writer = side.writer();
  NoteReader* reader = side.reader();
  Side peer;
  NoteReader* remote = peer.reader();
  writer->write({1, 0, ""});
  EXPECT_EQ(take(*remote, 1).size(), 1u);
  EXPECT_THAT(reader->take(), IsEmpty());
}

}  // namespace
}  // namespace face_test
