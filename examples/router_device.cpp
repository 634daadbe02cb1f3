// SPDX-License-Identifier: Apache-2.0
// A router, 32 by 32 on two levels: publishes its ports and routes, and carries out or refuses requests for routes.
// Usage: router_device [DOMAIN [ADDRESS]]
#include "tessivar/tessivar.h"

#include <iostream>

using namespace TessivarDDS;
using namespace Tessivar_Routing;
using Helper = RoutingMessageHelper;

constexpr DDS_UnsignedShort ports = 32;
const char* const levels[] = {"video", "audio"};

struct Hub : RoutingServices, RequestReplyServerListener<AssociationRouteChangeRequest, AssociationRouteChangeReply> {
  bool route(unsigned source, unsigned destination) {
    return routingService()->valueNode().writeSample(Helper::createRoute(unit, 0, source, destination), true);
  }
  void publish() {
    DDSPtr router(Helper::createRouter(unit, "hub"));
    Matrix* const matrix = Helper::addMatrix(router.get(), "", ports, ports);
    for (const char* level : levels) Helper::addLevel(matrix, level, ports, ports);
    routerNode()->writeSample(router);
    for (unsigned i = 0; i < ports; ++i) {
      const std::string number = ' ' + std::to_string(i);
      for (DDS_UnsignedShort level = 0; level < DDS_UnsignedShort{std::size(levels)}; ++level) {
        sourcesNode()->writeSample(Helper::createSource(unit, 0, level, i, "in" + number), true);
        destinationsNode()->writeSample(Helper::createDestination(unit, 0, level, i, "out" + number, false), true);
      }
      // A route connects two associations. An association names one port of each level.
      sourceAssociations()->writeSample(Helper::createAssociation(unit, 0, i, {i, i}, "camera" + number), true);
      destinationAssociations()->writeSample(Helper::createAssociation(unit, 0, i, {i, i}, "monitor" + number), true);
      route(i, i);
    }
  }
  AssociationRouteChangeReply* processRequest(const AssociationRouteChangeRequest* request) override {
    const AssociationRoute& wanted = request->newValue;
    if (AddressEx(wanted.unitId) != unit) return nullptr;  // another router answers
    const char* refusal = nullptr;
    if (wanted.matrix_index != 0) refusal = "there is no such matrix";
    if (wanted.source_index >= ports) refusal = "there is no such source";
    if (wanted.dest_index >= ports) refusal = "there is no such destination";
    if (!refusal && !route(wanted.source_index, wanted.dest_index)) refusal = "the route cannot be published";
    return Helper::createReply(request, refusal ? FAILED : COMPLETE, refusal);
  }
  AddressEx unit{1, 3, 1};
};

int main(int argc, char** argv) {
  ReadableLogger::install();
  const DomainHandle domain = DomainHandle::shared(argc > 1 ? std::atoi(argv[1]) : 0);
  Hub hub;
  if (argc > 2) hub.unit = AddressEx(argv[2]);
  hub.attachDomain(domain.get());
  if (!hub.createServerServices()) return 1;  // the log says why
  hub.publish();
  hub.routingService()->setListener(&hub);
  std::cin.get();  // until Enter is pressed
  hub.cleanUp();   // before its members are destroyed
}
