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

TEST_F(RoutingServicesTest, ChangeDestinationsOnRequest) {
  using namespace Tessivar_Routing;
  struct Guard : RequestReplyServerListener<DestinationChangeRequest, DestinationChangeReply> {
    DestinationChangeReply* processRequest(const DestinationChangeRequest* request) override {
      auto* reply = DestinationChangeReplyTypeSupport::create_data();
      reply->result = request->level_mask[0] && request->newValue.protect ? COMPLETE : FAILED;
      return reply;
    }
  } guard;
  services_.attachDomain(&domain_);
  ASSERT_TRUE(services_.createServerServices());
  services_.protectService()->setListener(&guard);
  LoopbackDomain other(domain_id);
  ProtectRequestReplyService client(true, {AddressEx(1, 3, 1)});
  EXPECT_FALSE(client.create("Orvel.Routing.DestinationsChanges", &other));
  EXPECT_THAT(log_.lines(), Contains(EndsWith("Custom filter not registered!")));
  client.cleanUp();
  other.registerContentFilter(AddressContentFilter::name, &AddressContentFilter::instance());
  ASSERT_TRUE(client.create("Orvel.Routing.DestinationsChanges", &other) && client.waitForMatch(20000));
  const DDSPtr destination(DestinationTypeSupport::create_data());
  destination->protect = DDS_BOOLEAN_TRUE;
  for (const bool allowed : {false, true}) {
    DDSPtr<DestinationChangeRequest> request = client.createRequest(destination.get());
    ASSERT_TRUE(request && request->level_mask.length(1));
    request->level_mask[0] = allowed;
    const auto ticket = client.makeRequest(request);
    ASSERT_TRUE(ticket && eventually([&] { return ticket->received.load(); }));
    EXPECT_EQ(ticket->reply->result, allowed ? COMPLETE : FAILED);
  }
  client.cleanUp();
}

}  // namespace
}  // namespace TessivarDDS
