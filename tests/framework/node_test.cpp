#include "tessivar/framework/filters/address_content_filter.h"
#include "tessivar/framework/nodes/dds_router_node.h"
#include "tessivar/framework/nodes/instances.h"
#include "tessivar/types/logging/logging.h"
#include "tests/control/support/log_recorder.h"
#include "tests/framework/support/bus.h"
#include "tests/framework/support/samples.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace TessivarDDS;
using namespace tessivar::testing;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;
using testing::UnorderedElementsAre;

constexpr int domain_id = 64;
typedef DDSNode<Tessivar::Command> Node;
typedef DDSFilteredNode<Tessivar::Command> FilteredNode;
typedef DDSRouterNode<Tessivar::Command> RouterNode;

DDS_TopicQos stateQos() {
  DDS_TopicQos qos;
  qos.reliability.kind = DDS_RELIABLE_RELIABILITY_QOS;
  qos.durability.kind = DDS_TRANSIENT_LOCAL_DURABILITY_QOS;
  return qos;
}

/// What a reader has got, once it has so many samples.
template <class N>
std::vector<std::string> received(N& node, std::size_t count) {
  std::vector<std::string> texts;
  eventually([&] {
    Tessivar::CommandSeq samples;
    DDS_SampleInfoSeq infos;
    if (node.dataReader()->take(samples, infos, DDS_LENGTH_UNLIMITED, DDS_ANY_SAMPLE_STATE, DDS_ANY_VIEW_STATE,
                                DDS_ANY_INSTANCE_STATE) == DDS_RETCODE_OK) {
      for (DDS_Long i = 0; i < samples.length(); ++i) {
        if (infos[i].valid_data) texts.push_back(text(samples[i]));
      }
      node.dataReader()->return_loan(samples, infos);
    }
    return texts.size() >= count;
  });
  return texts;
}

template <class N>
bool matched(N& writer, DDS_Long readers = 1) {
  return eventually([&] {
    DDS_PublicationMatchedStatus status;
    return writer.dataWriter()->get_publication_matched_status(status) == DDS_RETCODE_OK &&
           status.current_count == readers;
  });
}

TEST(NodeAlone, reports_what_it_cannot_do) {
  LogRecorder log;
  Node node;
  constexpr const char* no_domain =
      "8 class DDSDomainParticipant *__cdecl TessivarDDS::DDSNode<class Tessivar::Command>::participant(void) const"
      "Domain participant is NULL - attachDomain has not been called.";
  EXPECT_EQ(node.participant(), nullptr);
  EXPECT_THAT(log.lines(), ElementsAre(no_domain));
  EXPECT_FALSE(node.createTopic("t"));
  EXPECT_THAT(log.lines(),
              ElementsAre(no_domain, EndsWith("Cannot create the topic as the underlying domain participant "
                                              "does not exist.")));
  EXPECT_FALSE(node.registerTypeSupport());
  EXPECT_THAT(log.lines(), ElementsAre(no_domain,
                                       "8 bool __cdecl TessivarDDS::DDSNode<class Tessivar::Command>::"
                                       "registerTypeSupport(void)Failed to register unit type support."));
  EXPECT_FALSE(node.createDataWriter());
  EXPECT_FALSE(node.createDataReader());
  EXPECT_THAT(log.lines(),
              ElementsAre(no_domain, EndsWith("Participant is null"), no_domain, EndsWith("Participant is null")));
  EXPECT_FALSE(node.createContentFilteredTopic(nullptr, "f", "e"));
  EXPECT_THAT(log.lines(), ElementsAre(EndsWith("Cannot create content filtered topic as the underlying topic does not "
                                                "exist.")));
  EXPECT_FALSE(node.writeSample(command("u", 1)));
  EXPECT_THAT(log.lines(), ElementsAre("8 bool __cdecl TessivarDDS::DDSNode<class Tessivar::Command>::writeSample("
                                       "class Tessivar::Command *,bool)Could not get writer in writeSample!"));
  EXPECT_FALSE(node.writeSample(Tessivar::CommandTypeSupport::create_data(), true));  // and does not leak it
  log.lines();
  node.cleanUp();
  EXPECT_THAT(log.lines(), IsEmpty());

  FilteredNode filtered;
  EXPECT_FALSE(filtered.createContentFilteredTopic(nullptr, "f", "e"));
  EXPECT_FALSE(filtered.setFilterParameters({}));
  EXPECT_THAT(log.lines(), ElementsAre(EndsWith("as the underlying dds node does not exist."),
                                       EndsWith("Filtered topic does not exist")));
}

class Nodes : public testing::Test {
 protected:
  void SetUp() override {
    for (DDSDomain* domain : {&here, &there}) {
      ASSERT_TRUE(domain->registerContentFilter(AddressContentFilter::name, &AddressContentFilter::instance()));
    }
    log.lines();
  }
  LogRecorder log;
  LoopbackDomain here{domain_id};
  LoopbackDomain there{domain_id};
};

TEST_F(Nodes, carry_samples_from_writer_to_reader) {
  const std::unique_ptr<Node> writer(Node::create(&here, "Node.Test", stateQos(), false));
  const std::unique_ptr<Node> reader(Node::create(&there, "Node.Test", stateQos(), true));
  ASSERT_TRUE(writer && reader);
  EXPECT_EQ(writer->dataReader(), nullptr);
  EXPECT_EQ(reader->dataWriter(), nullptr);
  EXPECT_STREQ(reader->dataReader()->get_topicdescription()->get_name(), "Node.Test");
  EXPECT_TRUE(writer->writeSample(command("u", 1, 10)));
  EXPECT_TRUE(writer->writeSample(Tessivar::CommandTypeSupport::create_data(), true));
  EXPECT_THAT(received(*reader, 2), UnorderedElementsAre("u/1=10", "/0=0"));
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(Nodes, carry_types_without_key_that_the_library_has_no_instance_for) {
  typedef DDSNode<Tessivar_Logging::LogMessage2> LogNode;
  const std::unique_ptr<LogNode> writer(LogNode::create(&here, "Node.Log", stateQos(), false));
  DDS_TopicQos qos = stateQos();
  qos.history.kind = DDS_KEEP_ALL_HISTORY_QOS;
  const std::unique_ptr<LogNode> reader(LogNode::create(&there, "Node.Log", qos, true));
  ASSERT_TRUE(writer && reader);
  ASSERT_TRUE(matched(*writer));
  for (int i = 0; i < 3; ++i) {
    EXPECT_TRUE(writer->writeSample(Tessivar_Logging::LogMessage2TypeSupport::create_data(), true));
    ASSERT_EQ(writer->dataWriter()->wait_for_acknowledgments({20, 0}), DDS_RETCODE_OK);
  }
  Tessivar_Logging::LogMessage2Seq samples;
  DDS_SampleInfoSeq infos;
  ASSERT_EQ(reader->dataReader()->take(samples, infos, DDS_LENGTH_UNLIMITED, DDS_ANY_SAMPLE_STATE, DDS_ANY_VIEW_STATE,
                                       DDS_ANY_INSTANCE_STATE),
            DDS_RETCODE_OK);
  EXPECT_EQ(samples.length(), 3);
  reader->dataReader()->return_loan(samples, infos);
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(Nodes, refuse_to_make_anything_twice) {
  Node node;
  node.attachDomain(&here);
  ASSERT_TRUE(node.createTopic("Node.Test") && node.createDataWriter() && node.createDataReader());
  EXPECT_FALSE(node.createTopic("Node.Test"));
  EXPECT_FALSE(node.createDataWriter());
  EXPECT_FALSE(node.createDataReader());
  EXPECT_THAT(log.lines(),
              ElementsAre(EndsWith("Already created: Node.Test"), HasSubstr("Already created: data writer"),
                          HasSubstr("Already created: data reader")));
  Node other;
  other.attachDomain(&here);
  EXPECT_FALSE(other.createTopic("Node.Test"));
  EXPECT_THAT(log.lines(), ElementsAre(EndsWith("Unable to create topic: Node.Test")));
  node.cleanUp();
  EXPECT_EQ(node.topic(), nullptr);
  EXPECT_EQ(node.topicName(), "");
  EXPECT_TRUE(other.createTopic("Node.Test"));
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(Nodes, report_writes_that_fail) {
  const std::unique_ptr<Node> node(Node::create(&here, "Node.Test", stateQos(), false));
  ASSERT_TRUE(node);
  DDSPtr<Tessivar::Command> sample = command("u", 1);
  sample->value._d = static_cast<Tessivar::CommandType>(7);
  EXPECT_FALSE(node->writeSample(sample));
  EXPECT_FALSE(node->writeSample(nullptr, true));
  EXPECT_THAT(log.lines(), ElementsAre(EndsWith("Failed to write instance data in writeSample, errCode 3"),
                                       EndsWith("Failed to write instance data in writeSample, errCode 3")));
}

TEST_F(Nodes, read_the_filtered_topic_once_there_is_one) {
  FilteredNode node;
  node.attachDomain(&there);
  ASSERT_TRUE(node.createTopic("Node.Test", stateQos()));
  struct Unregistered : AddressContentFilter {
  } stranger;
  const std::string expression = AddressContentFilter::expression(node.typeName());
  EXPECT_FALSE(node.createContentFilteredTopic(&stranger, AddressContentFilter::name, expression));
  EXPECT_THAT(log.lines(), ElementsAre(EndsWith("Cannot create content filtered topic Node.Test.Filtered as the filter "
                                                "has not been registered with the domain.")));
  const DDSContentFilter* const filter = &AddressContentFilter::instance();
  EXPECT_FALSE(node.createContentFilteredTopic(filter, AddressContentFilter::name, "nonsense"));
  EXPECT_THAT(log.lines(), testing::Contains(EndsWith("Failed to create filtered topic: Node.Test.Filtered")));

  ASSERT_TRUE(node.createContentFilteredTopic(filter, AddressContentFilter::name, expression, {"a"}));
  EXPECT_FALSE(node.createContentFilteredTopic(filter, AddressContentFilter::name, expression, {"a"}));
  EXPECT_THAT(log.lines(), ElementsAre(EndsWith("Filtered topic already exists!")));
  ASSERT_TRUE(node.createDataReader());
  EXPECT_STREQ(node.dataReader()->get_topicdescription()->get_name(), "Node.Test.Filtered");
  node.cleanUpContentFilteredTopic();
  EXPECT_THAT(log.lines(), ElementsAre(EndsWith("Attempting to clean up content filter before cleaning the reader.")));
  EXPECT_NE(node.contentFilteredTopic(), nullptr);

  const std::unique_ptr<Node> writer(Node::create(&here, "Node.Test", stateQos(), false));
  ASSERT_TRUE(writer);
  for (const char* unit : {"a", "b", "c"}) EXPECT_TRUE(writer->writeSample(command(unit, 1)));
  for (const char* unit : {"b", "a"}) EXPECT_TRUE(writer->writeSample(command(unit, 2)));
  EXPECT_THAT(received(node, 2), UnorderedElementsAre("a/1=0", "a/2=0"));
  EXPECT_TRUE(node.setFilterParameters({"b", "c"}));
  EXPECT_TRUE(writer->writeSample(command("a", 3)));
  EXPECT_TRUE(writer->writeSample(command("c", 3)));
  EXPECT_THAT(received(node, 1), testing::Contains("c/3=0"));
}

TEST_F(Nodes, keep_the_reader_while_something_of_it_is_in_use) {
  FilteredNode node;
  node.attachDomain(&here);
  ASSERT_TRUE(node.createTopic("Node.Test") && node.createDataReader());
  DDSReadCondition* const condition =
      node.dataReader()->create_readcondition(DDS_ANY_SAMPLE_STATE, DDS_ANY_VIEW_STATE, DDS_ANY_INSTANCE_STATE);
  node.cleanUp();
  EXPECT_THAT(log.lines(), testing::Contains(EndsWith("DDSFilteredNode::cleanUp failed to delete data reader for topic"
                                                      ". Return code: 4")));
  EXPECT_NE(node.topic(), nullptr);
  ASSERT_EQ(node.dataReader()->delete_readcondition(condition), DDS_RETCODE_OK);
  node.cleanUp();
  EXPECT_EQ(node.dataReader(), nullptr);
  EXPECT_EQ(node.topic(), nullptr);
}

TEST_F(Nodes, make_readers_again) {
  const std::unique_ptr<Node> writer(Node::create(&here, "Node.Test", stateQos(), false));
  const std::unique_ptr<Node> reader(Node::create(&there, "Node.Test", stateQos(), true));
  ASSERT_TRUE(writer && reader);
  EXPECT_TRUE(writer->writeSample(command("u", 1)));
  for (int round = 0; round < 3; ++round) {
    EXPECT_THAT(received(*reader, 1), ElementsAre("u/1=0"));
    EXPECT_TRUE(reader->cleanUpDataReader());
    EXPECT_EQ(reader->dataReader(), nullptr);
    EXPECT_TRUE(reader->createDataReader());
  }
}

TEST_F(Nodes, go_quietly_after_their_participant) {
  Node node;
  node.attachDomain(&here);
  ASSERT_TRUE(node.createTopic("Node.Test") && node.createDataReader() && node.createDataWriter());
  here.cleanUp();
  node.cleanUp();
  EXPECT_EQ(node.topic(), nullptr);
  EXPECT_THAT(log.lines(), IsEmpty());
}

// --- router nodes
// -----------------------------------------------------------------------------------------------------

TEST_F(Nodes, of_routers_carry_the_samples_of_the_wanted_routers) {
  const std::unique_ptr<RouterNode> all(RouterNode::create(&there, {}, "Node.Routers", true));
  const std::unique_ptr<RouterNode> server(RouterNode::create(&here, {}, "Node.Routers", false));
  LoopbackDomain third(domain_id);
  third.registerContentFilter(AddressContentFilter::name, &AddressContentFilter::instance());
  const std::unique_ptr<RouterNode> some(
      RouterNode::create(&third, {AddressEx(1, 2, 3), AddressEx("x")}, "Node.Routers", true));
  ASSERT_TRUE(all && server && some);
  EXPECT_EQ(server->dataReader(), nullptr);
  EXPECT_EQ(some->dataWriter(), nullptr);
  for (const char* unit : {"0001:02:03", "0001:02:04", "x"}) EXPECT_TRUE(server->writeSample(command(unit, 1)));
  EXPECT_THAT(received(*all, 3), UnorderedElementsAre("0001:02:03/1=0", "0001:02:04/1=0", "x/1=0"));
  EXPECT_THAT(received(*some, 2), UnorderedElementsAre("0001:02:03/1=0", "x/1=0"));
  // What lets more through brings the history.
  EXPECT_TRUE(some->updateAddresses({AddressEx(1, 2, 4)}));
  EXPECT_THAT(received(*some, 1), ElementsAre("0001:02:04/1=0"));
  EXPECT_FALSE(server->updateAddresses({}));
  EXPECT_THAT(log.lines(),
              ElementsAre(EndsWith("Filtered topic does not exist"), EndsWith(" Failed to update filter parameters")));
}

TEST_F(Nodes, of_routers_send_many_samples_together) {
  const std::unique_ptr<RouterNode> server(RouterNode::create(&here, {}, "Node.Routers", false));
  const std::unique_ptr<RouterNode> client(RouterNode::create(&there, {}, "Node.Routers", true));
  ASSERT_TRUE(server && client);
  DDS_DataWriterQos qos;
  ASSERT_EQ(server->dataWriter()->get_qos(qos), DDS_RETCODE_OK);
  EXPECT_TRUE(qos.batch.enable);
  EXPECT_EQ(qos.batch.max_data_bytes, 4096);
  EXPECT_EQ(qos.batch.max_samples, 1000);
  EXPECT_EQ(qos.batch.max_flush_delay, (DDS_Duration_t{0, 50000000}));
  EXPECT_EQ(qos.durability.kind, DDS_TRANSIENT_LOCAL_DURABILITY_QOS);
  DDS_DataReaderQos readerQos;
  ASSERT_EQ(client->dataReader()->get_qos(readerQos), DDS_RETCODE_OK);
  const DDS_Property_t* const redundant = DDSPropertyQosPolicyHelper::lookup_property(
      std::as_const(readerQos.property), "dds.data_reader.state.filter_redundant_samples");
  ASSERT_NE(redundant, nullptr);
  EXPECT_STREQ(redundant->value, "0");

  ASSERT_TRUE(matched(*server));
  for (unsigned i = 0; i < 500; ++i) ASSERT_TRUE(server->writeSample(command("r", i)));
  server->enableBatching(false);  // sends the rest
  EXPECT_TRUE(server->writeSample(command("r", 500)));
  EXPECT_EQ(received(*client, 501).size(), 501u);
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(Nodes, of_routers_need_the_address_filter) {
  LoopbackDomain bare(domain_id);
  EXPECT_EQ(RouterNode::create(&bare, {}, "Node.Routers", true), nullptr);
  EXPECT_THAT(log.lines(),
              ElementsAre(AllOf(StartsWith("8 class TessivarDDS::DDSRouterNode<class Tessivar::Command> *__cdecl "
                                           "TessivarDDS::DDSRouterNode<class Tessivar::Command>::create("),
                                EndsWith("Custom filter not registered!"))));
  EXPECT_EQ(RouterNode::create(nullptr, {}, "Node.Routers", true), nullptr);
}

}  // namespace
