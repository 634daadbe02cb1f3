// Follows routers and changes their routes, as it is told on its standard input: "subscribe ADDRESS", "route ADDRESS
// SOURCE DESTINATION"; "end" ends it. Usage: routing_controller [DOMAIN]
#include "example_domain.h"
#include "tessivar/tessivar.h"

using namespace TessivarDDS;
using namespace Tessivar_Routing;

class Monitor : public RoutingClientListener {
 public:
  void routerAdded(const Router* router) override {
    std::cout << "router " << router->unitId << " is there, with " << router->matrices[0].levels.length()
              << " levels of " << router->matrices[0].levels[0].numberOfSources << " sources" << std::endl;
  }
  void routerRemoved(const AddressEx& router) override { std::cout << "router " << router.guid() << " is gone\n"; }
  void sourceChanged(Source* source) override {
    std::cout << "source " << source->index << " of " << source->unitId << ": " << source->name << std::endl;
  }
  void destinationChanged(Destination* destination) override {
    std::cout << "destination " << destination->index << " of " << destination->unitId << ": " << destination->name
              << (destination->protect ? ", protected" : "") << std::endl;
  }
  void sourceAssociationChanged(Association*) override {}
  void destinationAssociationChanged(Association*) override {}
  void routeChanged(const AssociationRoute* route) override {
    std::cout << "destination " << route->dest_index << " of " << route->unitId << " gets source "
              << route->source_index << std::endl;
  }
  void ticketChanged(DDSPtr<RoutingClient::Ticket> ticket) override {
    if (ticket) std::cout << "ticket " << ticket->ticketId << ": result " << ticket->reply->result << std::endl;
    if (ticket && ticket->reply->ex) std::cout << "the reason is: " << ticket->reply->ex->message << std::endl;
  }
};

int main(int argc, char** argv) {
  ExampleDomain domain(argc, argv);
  Monitor monitor;
  RoutingClient client;
  client.attachDomain(domain);
  client.attachListener(&monitor, false);
  if (!client.create()) return 1;
  DDSPtr route(AssociationRouteTypeSupport::create_data());
  for (std::string verb, unit; std::cin >> verb && verb != "end";) {
    if (verb == "subscribe" && std::cin >> unit) client.subscribe({AddressEx(unit.c_str())});
    if (verb == "route" && std::cin >> unit >> route->source_index >> route->dest_index) {
      DDS_String_replace(&route->unitId, unit.c_str());
      DDSPtr ticket = client.beginSetRoute(route);
      while (ticket && !ticket->received) TessivarThread::sleep(10);
      client.completeSetRoute(ticket);
    }
  }
  client.cleanUp();
}
