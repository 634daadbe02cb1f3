// SPDX-License-Identifier: Apache-2.0
// A router that refuses routes to destinations that a controller protects. Usage: protected_router [DOMAIN [ADDRESS]]
#include "tessivar/tessivar.h"

#include <atomic>
#include <iostream>

using namespace TessivarDDS;
using namespace Tessivar_Routing;
using Helper = RoutingMessageHelper;
constexpr DDS_UnsignedShort ports = 4;

struct Hub : RoutingServices,
             RequestReplyServerListener<AssociationRouteChangeRequest, AssociationRouteChangeReply>,
             RequestReplyServerListener<DestinationChangeRequest, DestinationChangeReply> {
  using RequestReplyServerListener<AssociationRouteChangeRequest, AssociationRouteChangeReply>::processRequest;
  using RequestReplyServerListener<DestinationChangeRequest, DestinationChangeReply>::processRequest;
  /// A change that a controller requested is published on both topics.
  bool publish(unsigned index) {
    DDSPtr port(Helper::createDestination(unit, 0, 0, index, "out " + std::to_string(index), guarded[index]));
    return destinationsNode()->writeSample(port) && protectService()->valueNode().writeSample(port);
  }
  DestinationChangeReply* processRequest(const DestinationChangeRequest* request) override {
    const Destination& wanted = request->newValue;
    if (AddressEx(wanted.unitId) != unit) return nullptr;  // another router answers
    // The mask selects levels. This router has only level 0.
    const bool known = wanted.matrix == 0 && wanted.index < ports && request->level_mask.length() == 1;
    if (!known || !request->level_mask[0]) return Helper::createReply(request, FAILED);
    guarded[wanted.index] = wanted.protect;
    return Helper::createReply(request, publish(wanted.index) ? COMPLETE : FAILED);
  }
  AssociationRouteChangeReply* processRequest(const AssociationRouteChangeRequest* request) override {
    const AssociationRoute& wanted = request->newValue;
    if (AddressEx(wanted.unitId) != unit) return nullptr;
    const bool known = wanted.matrix_index == 0 && wanted.source_index < ports && wanted.dest_index < ports;
    if (!known) return Helper::createReply(request, FAILED, "there is no such matrix, source or destination");
    if (guarded[wanted.dest_index]) return Helper::createReply(request, FAILED, "the destination is protected");
    routingService()->valueNode().writeSample(const_cast<AssociationRoute*>(&wanted), false);
    return Helper::createReply(request, COMPLETE, nullptr);
  }
  AddressEx unit{1, 3, 9};
  std::atomic<bool> guarded[ports] = {};  // the two kinds of requests come on two threads
};

int main(int argc, char** argv) {
  ReadableLogger::install();
  const DomainHandle domain = DomainHandle::shared(argc > 1 ? std::atoi(argv[1]) : 0);
  Hub hub;
  if (argc > 2) hub.unit = AddressEx(argv[2]);
  hub.attachDomain(domain.get());
  if (!hub.createServerServices()) return 1;  // the log says why
  DDSPtr router(Helper::createRouter(hub.unit, "protected"));
  Helper::addLevel(Helper::addMatrix(router.get(), "", ports, ports), "video", ports, ports);
  hub.routerNode()->writeSample(router);
  for (unsigned i = 0; i < ports; ++i) hub.publish(i);
  hub.routingService()->setListener(&hub);
  hub.protectService()->setListener(&hub);
  std::cin.get();  // until Enter is pressed
  hub.cleanUp();   // before its members are destroyed
}
