// SPDX-License-Identifier: Apache-2.0

#include "tessivar/routing/services.h"

#include "tessivar/framework/filters/address_content_filter.h"
#include "tests/support/log_recorder.h"
#include "tests/support/loopback.h"
#include "tests/support/profile_override.h"

namespace TessivarDDS {
namespace {

using namespace tessivar::testing;
using namespace ::testing;

constexpr int domain_id = 110;

class RoutingServicesTest : public Test {
 protected:
  LoopbackDomain domain_{domain_id};
  RoutingServices services_;
  LogRecorder log_;
};

TEST_F(RoutingServicesTest, ProtectServiceNeedsTheAddressFilter) {
  ProtectRequestReplyService client(true, {AddressEx(1, 3, 1)});
  EXPECT_FALSE(client.create("Orvel.Routing.DestinationsChanges", &domain_));
  EXPECT_THAT(log_.lines(), Contains(EndsWith("Custom filter not registered!")));
  client.cleanUp();
  EXPECT_FALSE(services_.createClientProtectService({})) << "without a domain";
  services_.attachDomain(&domain_);
  EXPECT_TRUE(services_.createClientProtectService({}));
  EXPECT_FALSE(services_.createClientProtectService({})) << "it exists";
}

TEST_F(RoutingServicesTest, UseQosProfilesIfSetBeforeCreate) {
  const ProfileOverride profiles({"tessivar_Library::tessivar_RouterQos", "tessivar_Library::tessivar_RouterPortQos",
                                  "requestReplyLib::requestNodeQos", "requestReplyLib::replyNodeQos",
                                  "requestReplyLib::valueNodeQos"});
  services_.attachDomain(&domain_);
  services_.setUseQosProfiles(true);
  for (const bool client : {false, true}) {
    services_.cleanUp();
    ASSERT_TRUE(client ? services_.createClientDiscoveryServices() && services_.createClientReaderServices({})
                       : services_.createServerServices());
    RoutingRequestReplyService& routes = *services_.routingService();
    ProfileOverride::expect_for(*services_.routerNode(), *services_.sourcesNode(), *services_.destinationsNode(),
                                *services_.sourceAssociations(), *services_.destinationAssociations(),
                                routes.requestNode(), routes.replyNode(), routes.valueNode());
    if (!client) ProfileOverride::expect_for(services_.protectService()->replyNode());
  }
  EXPECT_THAT(log_.lines(), IsEmpty());
  services_.setUseQosProfiles(false);
  EXPECT_THAT(log_.lines(), ElementsAre(EndsWith("setUseQosProfiles(bool) Cannot be changed after create.")));
}

}  // namespace
}  // namespace TessivarDDS
