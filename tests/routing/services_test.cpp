#include "tessivar/routing/services.h"

#include "tessivar/framework/filters/address_content_filter.h"
#include "tests/support/log_recorder.h"
#include "tests/support/loopback.h"

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

TEST_F(RoutingServicesTest, ProtectServiceOfAClientNeedsTheAddressFilter) {
  ProtectRequestReplyService client(true, {AddressEx(1, 3, 1)});
  EXPECT_FALSE(client.create("Orvel.Routing.DestinationsChanges", &domain_));
  EXPECT_THAT(log_.lines(), Contains(EndsWith("Custom filter not registered!")));
  client.cleanUp();
  EXPECT_FALSE(services_.createClientProtectService({})) << "without a domain";
  services_.attachDomain(&domain_);
  EXPECT_TRUE(services_.createClientProtectService({}));
  EXPECT_FALSE(services_.createClientProtectService({})) << "it exists";
}

}  // namespace
}  // namespace TessivarDDS
