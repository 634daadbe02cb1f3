#include "tessivar/control/services.h"

#include "tests/control/support/bus.h"
#include "tests/control/support/log_recorder.h"

namespace TessivarDDS {
namespace {

using tessivar::testing::LogRecorder;
using tessivar::testing::Participant;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::IsEmpty;

class Services : public ::testing::Test {
 protected:
  void expect_all_verified(bool verified) {
    EXPECT_EQ(services_.verifyUnitNode(), verified);
    EXPECT_EQ(services_.verifyCommandNode(), verified);
    EXPECT_EQ(services_.verifyMetadataNode(), verified);
    EXPECT_EQ(services_.verifyInterestsNode(), verified);
  }

  LogRecorder log_;
  Participant participant_;
  TessivarServices services_;
};

TEST_F(Services, NeedADomain) {
  EXPECT_FALSE(services_.create(true, {}));
  EXPECT_EQ(services_.commandService(), nullptr);
  EXPECT_EQ(services_.unitNode(), nullptr);
  EXPECT_THAT(log_.lines(), ElementsAre(EndsWith("No domain is attached.")));
}

TEST_F(Services, SayWhatIsNotCreated) {
  expect_all_verified(false);
  const std::string signature = "8 bool __cdecl TessivarDDS::TessivarServices::";
  EXPECT_THAT(log_.lines(), ElementsAre(signature + "verifyUnitNode(void)Unit node not created.",
                                        signature + "verifyCommandNode(void)Command service not created.",
                                        signature + "verifyMetadataNode(void)Metadata node not created.",
                                        signature + "verifyInterestsNode(void)Interests node not created."));
}

TEST_F(Services, GiveEachSideItsEndpoints) {
  services_.attachDomain(&participant_);
  for (const bool isClient : {false, true}) {
    ASSERT_TRUE(services_.create(isClient, {"0001:02:03"}));
    expect_all_verified(true);
    EXPECT_EQ(services_.unitNode()->dataReader() != nullptr, isClient);
    EXPECT_EQ(services_.unitNode()->dataWriter() != nullptr, !isClient);
    EXPECT_EQ(services_.metadataNode()->dataReader() != nullptr, isClient);
    EXPECT_EQ(services_.metadataNode()->dataWriter() != nullptr, !isClient);
    EXPECT_EQ(services_.interestsNode()->dataReader() != nullptr, !isClient);
    EXPECT_EQ(services_.interestsNode()->dataWriter() != nullptr, isClient);
    TessivarRequestReplyService& commands = *services_.commandService();
    EXPECT_EQ(commands.valueNode().dataReader() != nullptr, isClient);
    EXPECT_EQ(commands.valueNode().dataWriter() != nullptr, !isClient);
    EXPECT_EQ(commands.replyNode().dataReader() != nullptr, isClient);
    EXPECT_EQ(commands.replyNode().dataWriter() != nullptr, !isClient);
    EXPECT_EQ(commands.requestNode().dataReader() != nullptr, !isClient);
    EXPECT_EQ(commands.requestNode().dataWriter() != nullptr, isClient);
    EXPECT_STREQ(services_.unitNode()->topic()->get_name(), "Orvel.Tessivar.Units");
    EXPECT_STREQ(services_.metadataNode()->topic()->get_name(), "Orvel.Tessivar.Metadata");
    EXPECT_STREQ(services_.interestsNode()->topic()->get_name(), "Orvel.Tessivar.Interests");
    EXPECT_STREQ(commands.valueNode().topic()->get_name(), "Orvel.Tessivar.Commands");
    EXPECT_STREQ(commands.requestNode().topic()->get_name(), "Orvel.Tessivar.Commands.Requests");
    EXPECT_STREQ(commands.replyNode().topic()->get_name(), "Orvel.Tessivar.Commands.Reply");
    services_.cleanUp();
    EXPECT_EQ(services_.commandService(), nullptr);
    EXPECT_EQ(services_.domain(), &participant_);
  }
  EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(Services, KeepInterestsForDevicesThatComeLater) {
  services_.attachDomain(&participant_);
  ASSERT_TRUE(services_.create(true, {}));
  DDS_TopicQos qos;
  ASSERT_EQ(services_.interestsNode()->topic()->get_qos(qos), DDS_RETCODE_OK);
  EXPECT_EQ(qos.durability.kind, DDS_TRANSIENT_LOCAL_DURABILITY_QOS);
  EXPECT_EQ(qos.reliability.kind, DDS_RELIABLE_RELIABILITY_QOS);
  EXPECT_EQ(qos.history.kind, DDS_KEEP_LAST_HISTORY_QOS);
  EXPECT_EQ(qos.history.depth, 1);
  EXPECT_EQ(qos.liveliness.lease_duration, (DDS_Duration_t{60, 0}));
  ASSERT_EQ(services_.commandService()->replyNode().topic()->get_qos(qos), DDS_RETCODE_OK);
  EXPECT_EQ(qos.liveliness.lease_duration, (DDS_Duration_t{3, 0}));
}

TEST_F(Services, AreBuiltAnewByASecondCreate) {
  services_.attachDomain(&participant_);
  ASSERT_TRUE(services_.create(true, {}));
  EXPECT_TRUE(services_.create(false, {}));
  EXPECT_THAT(log_.lines(), ElementsAre(EndsWith("TessivarServices have already been created.")));
  expect_all_verified(true);
  EXPECT_NE(services_.unitNode()->dataWriter(), nullptr);
}

TEST_F(Services, StepsRefuseToRunTwice) {
  struct Steps : TessivarServices {
    using TessivarServices::createCommandService, TessivarServices::createInterestsNode;
    using TessivarServices::createMetadataNode, TessivarServices::createUnitNode;
  } steps;
  steps.attachDomain(&participant_);
  ASSERT_TRUE(steps.create(true, {}));
  const auto* unitNode = steps.unitNode();
  EXPECT_FALSE(steps.createUnitNode());
  EXPECT_FALSE(steps.createCommandService({}));
  EXPECT_FALSE(steps.createMetadataNode({}));
  EXPECT_FALSE(steps.createInterestsNode());
  EXPECT_EQ(steps.unitNode(), unitNode);
  const auto lines = log_.lines();
  EXPECT_EQ(lines.size(), 4u);
  EXPECT_THAT(lines, ::testing::Each(::testing::AllOf(::testing::StartsWith("4 "), EndsWith("Already created"))));
}

// A topic that somebody else has already taken on the participant makes one step fail after the other.
TEST_F(Services, WhatIsHalfBuiltCanBeCleanedUpAndBuiltAgain) {
  const struct {
    const char* topic;
    const char* message;
  } cases[] = {
      {"Orvel.Tessivar.Units", "Failed to create the unit node"},
      {"Orvel.Tessivar.Commands.Reply", "Failed to create command service."},
      {"Orvel.Tessivar.Metadata", "Failed to create the menu node."},
      {"Orvel.Tessivar.Interests", "Failed to create interests node."},
  };
  services_.attachDomain(&participant_);
  for (const bool cleaned : {true, false}) {
    for (const auto& [topic, message] : cases) {
      {
        DDSNode<Tessivar::Unit> other;
        other.attachDomain(&participant_);
        ASSERT_TRUE(other.createTopic(topic));
        EXPECT_FALSE(services_.create(false, {})) << topic;
        EXPECT_THAT(log_.lines(), Contains(EndsWith(message)));
      }
      if (cleaned) services_.cleanUp();
      EXPECT_TRUE(services_.create(false, {})) << topic;
      expect_all_verified(true);
      services_.cleanUp();
      log_.lines();
    }
  }
}

}  // namespace
}  // namespace TessivarDDS
