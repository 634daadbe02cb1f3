// SPDX-License-Identifier: Apache-2.0
// Subscribes to routers and changes their routes. Standard input: "subscribe ADDRESS", "route ADDRESS SOURCE
// DESTINATION", "end". Usage: routing_controller [DOMAIN]
#include "tessivar/tessivar.h"

#include <iostream>
#include <syncstream>

using namespace TessivarDDS;
using namespace Tessivar_Routing;

struct Monitor : RoutingClientListener {
  void routerAdded(const Router* router) override {
    std::osyncstream line(std::cout);
    line << "router " << router->unitId << " is there, with " << router->matrices.length() << " matrices";
    if (router->matrices.length() > 0) line << ", the first of " << router->matrices[0].levels.length() << " levels";
    line << std::endl;
  }
  void routerRemoved(const AddressEx& router) override {
    std::osyncstream(std::cout) << "router " << router.guid() << " is gone\n";
  }
  void sourceChanged(Source* source) override {
    std::osyncstream(std::cout) << "source " << source->index << " of " << source->unitId << ": " << source->name
                                << std::endl;
  }
  void destinationChanged(Destination* destination) override {
    std::osyncstream(std::cout) << "destination " << destination->index << " of " << destination->unitId << ": "
                                << destination->name << (destination->protect ? ", protected" : "") << std::endl;
  }
  void sourceAssociationChanged(Association*) override {}
  void destinationAssociationChanged(Association*) override {}
  void routeChanged(const AssociationRoute* route) override {
    std::osyncstream(std::cout) << "destination " << route->dest_index << " of " << route->unitId << " gets source "
                                << route->source_index << std::endl;
  }
  void ticketChanged(DDSPtr<RoutingClient::Ticket> ticket) override {
    if (!ticket) return;  // the ticket was completed meanwhile
    const DDSPtr<AssociationRouteChangeReply> reply = ticket->reply;
    std::osyncstream(std::cout) << "route request: result " << reply->result << (reply->ex ? ", " : "")
                                << (reply->ex ? reply->ex->message : "") << std::endl;
  }
};

int main(int argc, char** argv) {
  ReadableLogger::install();
  const DomainHandle domain = DomainHandle::shared(argc > 1 ? std::atoi(argv[1]) : 0);
  Monitor monitor;
  RoutingClient client;  // declared after the domain and the listener, so that it is destroyed before them
  client.attachDomain(domain.get());
  client.attachListener(&monitor, false);
  if (!client.create()) return 1;  // the log says why
  unsigned source = 0, destination = 0;
  for (std::string verb, unit; std::cin >> verb && verb != "end" && std::cin >> unit;) {
    const AddressEx router(unit.c_str());
    if (verb == "subscribe") client.subscribe({router});
    if (verb == "route" && std::cin >> source >> destination) {
      DDSPtr wanted(RoutingMessageHelper::createRoute(router, 0, source, destination));
      DDSPtr ticket = client.beginSetRoute(wanted);
      if (ticket) ticket->wait(5000);
      client.completeSetRoute(ticket);  // the listener prints the reply
    }
  }
}
