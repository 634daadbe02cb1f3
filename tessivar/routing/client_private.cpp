#include "tessivar/routing/client_private.h"

#include "tessivar/framework/log/logger.h"
#include "tessivar/routing/runners.h"

#define SIGNATURE(function) "void __cdecl TessivarDDS::RoutingClient::Private::" function

namespace TessivarDDS {

using namespace Tessivar_Routing;

bool RoutingClient::Private::attach(const char* signature, std::unique_ptr<WaitSetThreadRunnerBase> runner) {
  const bool attached = thread.attachRunner(std::move(runner));
  if (!attached) logError() << signature << "Failed to attach runner to thread";
  return attached;
}

bool RoutingClient::Private::attachStateRunners(const char* signature) {
  const auto sources = services.sourcesNode()->dataReader();
  const auto destinations = services.destinationsNode()->dataReader();
  const auto sourceAssociations = services.sourceAssociations()->dataReader();
  const auto destinationAssociations = services.destinationAssociations()->dataReader();
  return attach(signature, std::make_unique<PortsRunner<Source>>(sources, *this)) &&
         attach(signature, std::make_unique<PortsRunner<Destination>>(destinations, *this)) &&
         attach(signature, std::make_unique<AssociationsRunner>(sourceAssociations, *this, true)) &&
         attach(signature, std::make_unique<AssociationsRunner>(destinationAssociations, *this, false));
}

bool RoutingClient::Private::resubscribe(const char* signature, const std::vector<AddressEx>& addresses) {
  const auto drop = [this](auto* node) {
    if (!node || !node->dataReader()) return;
    thread.detachRunner(node->dataReader());
    node->cleanUpDataReader();
  };
  const auto renew = [](auto* node) {
    DDS_DataReaderQos qos;
    return node->stateReaderQos(qos) && node->createDataReader(nullptr, DDS_STATUS_MASK_NONE, qos);
  };
  // New readers rather than new filters alone: nothing of the routers before stays in them, and they get the present
  // state like one that has just joined.
  drop(services.sourcesNode());
  drop(services.destinationsNode());
  drop(services.sourceAssociations());
  drop(services.destinationAssociations());
  if (services.routingService()) services.routingService()->dropValueReader();
  if (!services.updateClientReaderServices(addresses)) {
    logError() << signature << "Cannot change the subscription once it is started. Clean up and re-create.";
    return false;
  }
  return renew(services.sourcesNode()) && renew(services.destinationsNode()) && renew(services.sourceAssociations()) &&
         renew(services.destinationAssociations()) && attachStateRunners(signature) &&
         services.routingService()->renewValueReader();
}

void RoutingClient::Private::leave() {
  {
    const ScopedLock lock(knownRoutersLock_);
    leaving_ = true;
    for (const auto& known : knownRouters_) {
      listeners.notify(SIGNATURE("notifyUnitRemoved(const class TessivarDDS::AddressEx &)"),
                       [&](RoutingClientListener& listener) { listener.routerRemoved(known.second); });
    }
  }
  thread.stop();  // its runners use readers of the services
  services.cleanUp();
}

template <class Call>
void RoutingClient::Private::notify(const char* signature, Call&& call) {
  listeners.notify(signature, [&](RoutingClientListener& listener) {
    if (!leaving_) call(listener);
  });
}

void RoutingClient::Private::notifyUnitAdded(const DDS_InstanceHandle_t& handle, const Router* router) {
  // Held until the listeners know, so that each router is reported as removed exactly when it was as added.
  const ScopedLock lock(knownRoutersLock_);
  if (leaving_) return;
  knownRouters_.insert_or_assign(handle, AddressEx(router->unitId));
  notify(SIGNATURE("notifyUnitAdded(const class Tessivar_Routing::Router *)"),
         [&](RoutingClientListener& listener) { listener.routerAdded(router); });
}

void RoutingClient::Private::notifyUnitRemoved(const DDS_InstanceHandle_t& handle, const AddressEx& router) {
  const ScopedLock lock(knownRoutersLock_);
  if (leaving_) return;
  knownRouters_.erase(handle);
  notify(SIGNATURE("notifyUnitRemoved(const class TessivarDDS::AddressEx &)"),
         [&](RoutingClientListener& listener) { listener.routerRemoved(router); });
}

void RoutingClient::Private::processSample(Source* source) {
  notify(SIGNATURE("processSample(class Tessivar_Routing::Source *)"),
         [&](RoutingClientListener& listener) { listener.sourceChanged(source); });
}

void RoutingClient::Private::processSample(Destination* destination) {
  notify(SIGNATURE("processSample(class Tessivar_Routing::Destination *)"),
         [&](RoutingClientListener& listener) { listener.destinationChanged(destination); });
}

void RoutingClient::Private::processSample(Association* association, bool sourceSide) {
  notify(SIGNATURE("processSample(class Tessivar_Routing::Association *,bool)"), [&](RoutingClientListener& listener) {
    if (sourceSide) {
      listener.sourceAssociationChanged(association);
    } else {
      listener.destinationAssociationChanged(association);
    }
  });
}

void RoutingClient::Private::ticketChanged(unsigned short ticketId) {
  const DDSPtr<Ticket> ticket = services.routingService()->findTicket(ticketId);
  notify(SIGNATURE("ticketChanged(unsigned short)"),
         [&](RoutingClientListener& listener) { listener.ticketChanged(ticket); });
}

void RoutingClient::Private::valueChanged(const AssociationRoute* route) {
  notify(SIGNATURE("valueChanged(const class Tessivar_Routing::AssociationRoute *)"),
         [&](RoutingClientListener& listener) { listener.routeChanged(route); });
}

}  // namespace TessivarDDS
