// SPDX-License-Identifier: Apache-2.0

#include "tessivar/framework/filters/address_content_filter.h"
#include "tessivar/framework/nodes/detail/instances.h"
#include "tessivar/types/command/command.h"
#include "tests/support/log_recorder.h"
#include "tests/support/loopback.h"

namespace {

using namespace TessivarDDS;
using namespace tessivar::testing;
using namespace testing;

TEST(DDSNodeTest, RefusesCallsInTheWrongOrder) {
  const DDSContentFilter* const filter = &AddressContentFilter::instance();
  constexpr const char* filter_name = AddressContentFilter::name;
  LogRecorder log;
  LoopbackDomain domain(64);
  domain.registerContentFilter(filter_name, filter);
  DDSFilteredNode<Tessivar::Command> node;
  const std::string expression = AddressContentFilter::expression("Tessivar::Command");
  const auto filtered = [&](const char* text) { return node.createContentFilteredTopic(filter, filter_name, text); };
  const auto refused = [&](bool done, const char* message) {
    EXPECT_FALSE(done) << message;
    EXPECT_THAT(log.lines(), Contains(EndsWith(message)));
  };
  refused(node.createTopic("t"), "Cannot create the topic as the underlying domain participant does not exist.");
  refused(node.setFilterParameters({}), "Filtered topic does not exist");
  refused(node.writeSample(Tessivar::CommandTypeSupport::create_data(), true), "writer in writeSample!");  // deleted
  node.attachDomain(&domain);
  ASSERT_TRUE(node.createTopic("Node.Test") && node.createDataWriter());
  refused(node.createDataWriter(), "Already created: data writer for topic: Node.Test");
  ASSERT_TRUE(filtered(expression.c_str()) && node.createDataReader());
  refused(filtered(expression.c_str()), "Filtered topic already exists!");
  DDSNode<Tessivar::Unit> other;  // its type differs
  other.attachDomain(&domain);
  refused(other.createTopic("Node.Test"), "Unable to create topic: Node.Test");

  DDSReadCondition* const condition =
      node.dataReader()->create_readcondition(DDS_ANY_SAMPLE_STATE, DDS_ANY_VIEW_STATE, DDS_ANY_INSTANCE_STATE);
  node.cleanUp();
  refused(!node.topic(), "DDSFilteredNode::cleanUp failed to delete data reader for topic. Return code: 4");
  ASSERT_EQ(node.dataReader()->delete_readcondition(condition), DDS_RETCODE_OK);
  node.cleanUp();
}

}  // namespace
