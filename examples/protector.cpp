// SPDX-License-Identifier: Apache-2.0
// Protects a destination of a router (1), or ends the protection (0).
// Usage: protector DOMAIN ROUTER DESTINATION 1|0
#include "tessivar/tessivar.h"

#include <iostream>
#include <syncstream>

using namespace TessivarDDS;
using namespace Tessivar_Routing;

struct Monitor : RoutingClientListener {
  void routerAdded(const Router*) override {}
  void routerRemoved(const AddressEx&) override {}
  void sourceChanged(Source*) override {}
  void destinationChanged(Destination* destination) override {
    std::osyncstream(std::cout) << "destination " << destination->index << " is "
                                << (destination->protect ? "protected" : "free") << std::endl;
  }
  void sourceAssociationChanged(Association*) override {}
  void destinationAssociationChanged(Association*) override {}
  void routeChanged(const AssociationRoute*) override {}
  void ticketChanged(DDSPtr<RoutingClient::Ticket>) override {}
};

int main(int argc, char** argv) {
  if (argc != 5) std::cerr << "usage: " << argv[0] << " DOMAIN ROUTER DESTINATION 1|0" << std::endl;
  if (argc != 5) return 2;
  ReadableLogger::install();
  const DomainHandle domain = DomainHandle::shared(std::atoi(argv[1]));
  const AddressEx router(argv[2]);
  const auto index = static_cast<unsigned>(std::atoi(argv[3]));
  Monitor monitor;
  RoutingClient client;  // declared after the domain and the listener, so that it is destroyed before them
  client.attachDomain(domain.get());
  client.attachListener(&monitor, false);
  if (!client.create() || !client.subscribe({router})) return 1;  // the log says why
  if (!client.services()->protectService()->waitForMatch(10000)) return 1;

  DDSPtr wanted(RoutingMessageHelper::createDestination(router, 0, 0, index, "", *argv[4] == '1'));
  DDSPtr ticket = client.beginProtect(wanted);  // on level 0, which is the destination's level
  if (ticket) ticket->wait(5000);
  const bool done = ticket && ticket->received && ticket->reply->result == COMPLETE;
  client.completeProtect(ticket);
  std::osyncstream(std::cout) << (done ? "done" : "refused, or no answer") << std::endl;
  return done ? 0 : 1;
}
