// SPDX-License-Identifier: Apache-2.0

#include "tessivar/framework/filters/address_content_filter.h"
#include "tessivar/framework/nodes/detail/instances.h"
#include "tests/framework/support/samples.h"
#include "tests/support/log_recorder.h"
#include "tests/support/loopback.h"

namespace {

using namespace TessivarDDS;
using namespace tessivar::testing;
using namespace testing;

constexpr int domain_id = 64;
typedef DDSNode<Tessivar::Command> Node;
typedef DDSFilteredNode<Tessivar::Command> FilteredNode;
const DDSContentFilter* const filter = &AddressContentFilter::instance();
constexpr const char* filter_name = AddressContentFilter::name;

/// Returns the samples of a reader after it has received `count` samples.
std::vector<std::string> received(Node& node, std::size_t count) {
  std::vector<std::string> texts;
  eventually([&] {
    Tessivar::CommandSeq samples;
    DDS_SampleInfoSeq infos;
    node.dataReader()->take(samples, infos, DDS_LENGTH_UNLIMITED, DDS_ANY_SAMPLE_STATE, DDS_ANY_VIEW_STATE,
                            DDS_ANY_INSTANCE_STATE);
    for (DDS_Long i = 0; i < samples.length(); ++i) texts.push_back(text(samples[i]));
    node.dataReader()->return_loan(samples, infos);
    return texts.size() >= count;
  });
  return texts;
}

class DDSNodeTest : public Test {
 protected:
  DDSNodeTest() {
    for (DDSDomain* domain : {&here, &there}) domain->registerContentFilter(filter_name, filter);
    qos.reliability.kind = DDS_RELIABLE_RELIABILITY_QOS;
    qos.durability.kind = DDS_TRANSIENT_LOCAL_DURABILITY_QOS;
  }
  LogRecorder log;
  LoopbackDomain here{domain_id}, there{domain_id};
  DDS_TopicQos qos;
};

TEST_F(DDSNodeTest, RefusesCallsInTheWrongOrder) {
  FilteredNode node;
  const std::string expression = AddressContentFilter::expression("Tessivar::Command");
  const auto filtered = [&](const char* text) { return node.createContentFilteredTopic(filter, filter_name, text); };
  const auto refused = [&](bool done, const char* message) {
    EXPECT_FALSE(done) << message;
    EXPECT_THAT(log.lines(), Contains(EndsWith(message)));
  };
  refused(node.createTopic("t"), "Cannot create the topic as the underlying domain participant does not exist.");
  refused(node.setFilterParameters({}), "Filtered topic does not exist");
  refused(node.writeSample(Tessivar::CommandTypeSupport::create_data(), true), "writer in writeSample!");  // deleted
  node.attachDomain(&here);
  ASSERT_TRUE(node.createTopic("Node.Test", qos) && node.createDataWriter());
  refused(node.createDataWriter(), "Already created: data writer for topic: Node.Test");
  ASSERT_TRUE(filtered(expression.c_str()) && node.createDataReader());
  refused(filtered(expression.c_str()), "Filtered topic already exists!");
  DDSNode<Tessivar::Unit> other;  // its type differs
  other.attachDomain(&here);
  refused(other.createTopic("Node.Test"), "Unable to create topic: Node.Test");

  DDSReadCondition* const condition =
      node.dataReader()->create_readcondition(DDS_ANY_SAMPLE_STATE, DDS_ANY_VIEW_STATE, DDS_ANY_INSTANCE_STATE);
  node.cleanUp();
  refused(!node.topic(), "DDSFilteredNode::cleanUp failed to delete data reader for topic. Return code: 4");
  ASSERT_EQ(node.dataReader()->delete_readcondition(condition), DDS_RETCODE_OK);
  node.cleanUp();
}

TEST_F(DDSNodeTest, ReadsSamplesThatTheFilterAccepts) {
  const std::unique_ptr<Node> writer(Node::create(&here, "Node.Test", qos, false));
  FilteredNode reader;
  reader.attachDomain(&there);
  ASSERT_TRUE(writer && reader.createTopic("Node.Test", qos));
  ASSERT_TRUE(reader.createContentFilteredTopic(filter, filter_name,
                                                AddressContentFilter::expression(reader.typeName()), {"a"}));
  ASSERT_TRUE(reader.createDataReader());
  for (const char* unit : {"b", "c", "a"}) EXPECT_TRUE(writer->writeSample(command(unit, 1)));
  EXPECT_THAT(received(reader, 1), ElementsAre("a/1=0"));
  EXPECT_TRUE(reader.setFilterParameters({"b", "c"}));
  EXPECT_TRUE(writer->writeSample(command("c", 3)));
  ASSERT_TRUE(reader.cleanUpDataReader() && reader.createDataReader());
  EXPECT_THAT(received(reader, 3), UnorderedElementsAre("b/1=0", "c/1=0", "c/3=0"));
  EXPECT_THAT(log.lines(), IsEmpty());
}

}  // namespace
