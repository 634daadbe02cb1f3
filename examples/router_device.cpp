// A router on the bus, 32 by 32 on two levels: publishes its ports and routes on request. A number on its standard
// input protects that destination, anything else ends it. Usage: router_device [DOMAIN [ADDRESS]]
#include "example_domain.h"
#include "tessivar/tessivar.h"

using namespace TessivarDDS;
using namespace Tessivar_Routing;
constexpr DDS_UnsignedShort ports = 32, levels = 2;

struct Hub : RoutingServices, RequestReplyServerListener<AssociationRouteChangeRequest, AssociationRouteChangeReply> {
  template <class Port>
  void publish(DDSRouterNode<Port>* node, const std::string& name, unsigned index) {
    for (DDS_UnsignedShort level = 0; level < levels; ++level) {
      DDSPtr port(Port::TypeSupport::create_data());
      unit.copyTo(port->unitId);
      port->level = level;
      port->index = index;
      DDS_String_replace(&port->name, name.c_str());
      if constexpr (requires { port->protect; }) port->protect = guarded[index];
      node->writeSample(port);
    }
  }
  void publishPorts(unsigned index) {
    publish(sourcesNode(), "in " + std::to_string(index), index);
    publish(destinationsNode(), "out " + std::to_string(index), index);
  }
  AssociationRouteChangeReply* processRequest(const AssociationRouteChangeRequest* request) override {
    const AssociationRoute& wanted = request->newValue;
    if (unit != AddressEx(wanted.unitId)) return nullptr;  // for another router
    auto* reply = AssociationRouteChangeReplyTypeSupport::create_data();
    reply->result = wanted.dest_index < ports && !guarded[wanted.dest_index] ? COMPLETE : FAILED;
    if (reply->result == COMPLETE) routingService()->valueNode().dataWriter()->write(wanted, DDS_HANDLE_NIL);
    if (reply->result == FAILED) reply->ex = AssociationRouteChangeExceptionInfoPluginSupport_create_data();
    if (reply->ex) DDS_String_replace(&reply->ex->message, "the destination is protected");
    return reply;
  }
  AddressEx unit{1, 3, 1};
  std::atomic<bool> guarded[ports] = {};
};

int main(int argc, char** argv) {
  ExampleDomain domain(argc, argv);
  Hub device;
  if (argc > 2) device.unit = AddressEx(argv[2]);
  device.attachDomain(domain);
  if (!device.createServerServices()) return 1;
  device.routingService()->setListener(&device);
  DDSPtr router(RouterTypeSupport::create_data());
  device.unit.copyTo(router->unitId);
  if (!router->matrices.length(1) || !router->matrices[0].levels.length(levels)) return 1;
  for (int i = 0; i < levels; ++i)
    router->matrices[0].levels[i].numberOfSources = router->matrices[0].levels[i].numberOfDests = ports;
  device.routerNode()->writeSample(router);
  for (unsigned i = 0; i < ports; ++i) device.publishPorts(i);
  for (unsigned i; std::cin >> i && i < ports; device.publishPorts(i)) device.guarded[i] = true;
  device.cleanUp();
}
