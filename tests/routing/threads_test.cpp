// SPDX-License-Identifier: Apache-2.0

// Tests that other threads call every public function while clients and services are created and cleaned up.
#include "tessivar/routing/services.h"
#include "tests/routing/support/listener.h"
#include "tests/support/storm.h"

#include <atomic>

namespace TessivarDDS {
namespace {

using namespace Tessivar_Routing;
using namespace tessivar::testing;

constexpr int domain_id = 112;
const AddressEx router(1, 3, 1);

TEST(RoutingThreadSafetyTest, CallsMayRunDuringCreateAndCleanUp) {
  LoopbackDomain near(domain_id), far(domain_id);
  RoutingServices device, other;
  RoutingClient client;
  Events events;
  RoutingListener listener(events), passing(events);
  std::atomic<int> made{0}, subscribed{0}, asked{0};
  const auto ask = [&] {
    DDSPtr route = make<AssociationRoute>("");
    DDSPtr<RoutingClient::Ticket> ticket = client.beginSetRoute(route);
    asked += client.completeSetRoute(ticket);
    DDSPtr destination = make<Destination>("");
    DDSPtr<RoutingClient::ProtectTicket> protect = client.beginProtect(destination);
    client.completeProtect(protect);
  };
  listener.during = [&](const std::string&) { ask(), client.cleanUp(), client.create(), client.subscribe({}); };
  other.attachDomain(&far);
  ASSERT_TRUE(other.createServerServices());
  const auto createDevice = [&] {
    device.attachDomain(&far);
    if (!device.createServerServices()) return;
    ++made;
  };
  const auto createClient = [&] {
    client.attachListener(&listener, false);
    client.attachDomain(&near);
    if (client.create() && client.subscribe({router})) ++subscribed;
  };
  const Calls changing = {[&] { createDevice(), device.updateClientReaderServices({router}), device.cleanUp(); },
                          [&] { createClient(), client.subscribe({}), client.cleanUp(); }};
  storm(300, changing,
        {
            ask,
            [&] { other.sourcesNode()->writeSample(make<Source>(router.guid(), 1)); },
            [&] { other.routingService()->valueNode().writeSample(make<AssociationRoute>(router.guid(), 1)); },
            [&] { client.attachListener(&passing, false), client.detachListener(&passing); },
            [&] { client.setUseQosProfiles(false), client.report(); },
            [&] {
              client.services()->sourcesNode(), client.services()->inCallback(),
                  client.services()->enableBatching(true);
            },
            [&] {
              device.setUseQosProfiles(false), device.setRoutingListener(nullptr), device.setProtectListener(nullptr);
            },
            [&] { device.enableBatching(false), device.inCallback(), device.domain(), device.report(); },
            [&] { device.routerNode(), device.destinationsNode(), device.sourceAssociations(); },
            [&] { device.destinationAssociations(), device.routingService(), device.protectService(); },
        },
        {&made, &subscribed, &asked});
  device.cleanUp();
  client.cleanUp();
  createDevice();
  createClient();
  EXPECT_TRUE(eventually([&] {
    DDSPtr route = make<AssociationRoute>("");
    DDSPtr<RoutingClient::Ticket> ticket = client.beginSetRoute(route);
    client.completeSetRoute(ticket);
    return ticket && ticket->failure == RequestFailure::None;
  })) << "all of it still works";
  client.cleanUp();
}

}  // namespace
}  // namespace TessivarDDS
