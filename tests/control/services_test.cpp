// SPDX-License-Identifier: Apache-2.0

#include "tessivar/control/services.h"

#include "tests/support/log_recorder.h"
#include "tests/support/loopback.h"
#include "tests/support/profile_override.h"

namespace TessivarDDS {
namespace {

using namespace ::testing;

class TessivarServicesTest : public Test {
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

TEST_F(TessivarServicesTest, AreVerifiedAfterCreate) {
  EXPECT_FALSE(services_.create(true, {}) || verified());
  EXPECT_THAT(log_.lines(),
              ElementsAre(EndsWith("No domain is attached."), EndsWith("Unit node not created."),
                          EndsWith("Command service not created."), EndsWith("Metadata node not created."),
                          EndsWith("Interests node not created.")));
  services_.attachDomain(&domain_);
  for (const bool client : {false, true}) {
    ASSERT_TRUE(services_.create(client, {"0001:02:03"}) && verified());
    EXPECT_STREQ(services_.interestsNode()->topic()->get_name(), Tessivar::INTERESTS_TOPIC) << "others use the name";
  }
  EXPECT_THAT(log_.lines(), ElementsAre(EndsWith("TessivarServices have already been created.")));
}

TEST_F(TessivarServicesTest, UseQosProfilesIfSetBeforeCreate) {
  typedef tessivar::testing::ProfileOverride Override;
  const Override profiles({"tessivar_Library::tessivar_UnitQos", "tessivar_Library::tessivar_MetadataQos",
                           "tessivar_Library::tessivar_InterestQos", "requestReplyLib::requestNodeQos",
                           "requestReplyLib::replyNodeQos", "requestReplyLib::valueNodeQos"});
  services_.attachDomain(&domain_);
  services_.setUseQosProfiles(true);
  for (const bool client : {false, true}) {
    services_.cleanUp();
    ASSERT_TRUE(services_.create(client, {}));
    TessivarRequestReplyService& commands = *services_.commandService();
    Override::expect_for(*services_.unitNode(), *services_.metadataNode(), *services_.interestsNode(),
                         commands.valueNode(), commands.requestNode(), commands.replyNode());
  }
  EXPECT_THAT(log_.lines(), IsEmpty());
  services_.setUseQosProfiles(false);
  EXPECT_THAT(log_.lines(), ElementsAre(EndsWith("setUseQosProfiles(bool) Cannot be changed after create.")));
}

}  // namespace
}  // namespace TessivarDDS
