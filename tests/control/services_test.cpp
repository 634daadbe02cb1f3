#include "tessivar/control/services.h"

#include "tests/support/log_recorder.h"
#include "tests/support/loopback.h"

namespace TessivarDDS {
namespace {

using namespace ::testing;

class Services : public Test {
 protected:
  bool verified() {
    const bool all[] = {services_.verifyUnitNode(), services_.verifyCommandNode(), services_.verifyMetadataNode(),
                        services_.verifyInterestsNode()};
    EXPECT_THAT(all, Each(all[0]));
    return all[0];
  }

  tessivar::testing::LogRecorder log_;
  tessivar::testing::LoopbackDomain domain_{91};
  TessivarServices services_;
};

TEST_F(Services, GiveEachSideItsEndpointsAndAreBuiltAnewByASecondCreate) {
  EXPECT_FALSE(services_.create(true, {}) || verified());
  EXPECT_THAT(log_.lines(),
              ElementsAre(EndsWith("No domain is attached."), EndsWith("Unit node not created."),
                          EndsWith("Command service not created."), EndsWith("Metadata node not created."),
                          EndsWith("Interests node not created.")));
  services_.attachDomain(&domain_);
  for (const bool client : {false, true}) {
    ASSERT_TRUE(services_.create(client, {"0001:02:03"}) && verified());
    const auto has = [](const auto& node, bool reader, const char* topic) {
      EXPECT_EQ(node.dataReader() != nullptr, reader) << topic;
      EXPECT_EQ(node.dataWriter() != nullptr, !reader) << topic;
      EXPECT_STREQ(node.topic()->get_name(), topic);
    };
    TessivarRequestReplyService& commands = *services_.commandService();
    has(*services_.unitNode(), client, "Orvel.Tessivar.Units");
    has(*services_.metadataNode(), client, "Orvel.Tessivar.Metadata");
    has(*services_.interestsNode(), !client, "Orvel.Tessivar.Interests");
    has(commands.valueNode(), client, "Orvel.Tessivar.Commands");
    has(commands.requestNode(), !client, "Orvel.Tessivar.Commands.Requests");
    has(commands.replyNode(), client, "Orvel.Tessivar.Commands.Reply");
  }
  EXPECT_THAT(log_.lines(), ElementsAre(EndsWith("TessivarServices have already been created.")));
}

}  // namespace
}  // namespace TessivarDDS
