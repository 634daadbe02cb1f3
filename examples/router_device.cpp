// A router on the bus, 32 by 32 on two levels: publishes its ports and routes on request. A number on its standard
// input protects that destination, an empty line ends it. Usage: router_device [DOMAIN [ADDRESS]]
#include "tessivar/tessivar.h"

#include <iostream>

using namespace TessivarDDS;
using namespace Tessivar_Routing;

constexpr DDS_UnsignedShort ports = 32, levels = 2;

struct Device : RequestReplyServerListener<AssociationRouteChangeRequest, AssociationRouteChangeReply> {
  template <class Port>
  void publishPort(DDSRouterNode<Port>* node, const std::string& name, unsigned index) {
    for (DDS_UnsignedShort level = 0; level < levels; ++level) {
      DDSPtr port(TypeOf<Port>::TypeSupport::create_data());
      unit.copyTo(port->unitId);
      port->level = level;
      port->index = index;
      DDS_String_replace(&port->name, name.c_str());
      if constexpr (requires { port->protect; }) port->protect = guarded[index];
      node->writeSample(port);
    }
  }
  void publishSource(unsigned index) { publishPort(services.sourcesNode(), "in " + std::to_string(index), index); }
  void publishDestination(unsigned index) {
    publishPort(services.destinationsNode(), "out " + std::to_string(index), index);
  }
  AssociationRouteChangeReply* processRequest(const AssociationRouteChangeRequest* request) override {
    DDSPtr route(AssociationRouteTypeSupport::create_data());
    AssociationRouteTypeSupport::copy_data(route.get(), &request->newValue);
    if (unit != AddressEx(route->unitId)) return nullptr;  // for another router
    auto* reply = AssociationRouteChangeReplyTypeSupport::create_data();
    reply->result = route->dest_index < ports && !guarded[route->dest_index] ? COMPLETE : FAILED;
    if (reply->result == COMPLETE) services.routingService()->valueNode().writeSample(route);
    if (reply->result == FAILED) reply->ex = AssociationRouteChangeExceptionInfoPluginSupport_create_data();
    if (reply->ex) DDS_String_replace(&reply->ex->message, "the destination is protected");
    return reply;
  }
  AddressEx unit{1, 3, 1};
  RoutingServices services;
  std::atomic<bool> guarded[ports] = {};
};

int main(int argc, char** argv) {
  setLogThreshold(LogWarning);
  DDSDomain* domain = DomainManager::instance().sharedDomain(argc > 1 ? std::stoi(argv[1]) : 0, "", "", nullptr);
  Device device;
  if (argc > 2) device.unit = AddressEx(argv[2]);
  device.services.attachDomain(domain);
  if (!device.services.createServerServices()) return 1;
  device.services.routingService()->setListener(&device);
  DDSPtr router(RouterTypeSupport::create_data());
  device.unit.copyTo(router->unitId);
  router->matrices.length(1);
  router->matrices[0].levels.length(levels);
  for (DDS_UnsignedShort i = 0; i < levels; ++i)
    router->matrices[0].levels[i].numberOfSources = router->matrices[0].levels[i].numberOfDests = ports;
  device.services.routerNode()->writeSample(router);
  for (unsigned i = 0; i < ports; ++i) device.publishSource(i), device.publishDestination(i);
  for (std::string line; std::getline(std::cin, line) && !line.empty();) {
    device.guarded[std::stoul(line) % ports] = true;
    device.publishDestination(std::stoul(line) % ports);
  }
  device.services.cleanUp();
  DomainManager::instance().releaseSharedDomain(domain, nullptr);
}
