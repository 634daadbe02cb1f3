// SPDX-License-Identifier: Apache-2.0

#include "tessivar/routing/internal/client_private.h"

#include "tessivar/framework/log/logger.h"
#include "tessivar/routing/internal/runners.h"

#define SIGNATURE(function) "void __cdecl TessivarDDS::RoutingClient::Private::" function

namespace TessivarDDS {

using namespace Tessivar_Routing;

RoutingClient::Private::Private(std::shared_ptr<ReportBook> book) : services(std::move(book)) {
  services.setRoutingListener(this);
  services.setProtectListener(&protectListener_);
}

bool RoutingClient::Private::attach(const char* signature, std::unique_ptr<WaitSetThreadRunnerBase> runner) {
  const bool attached = thread.attachRunner(std::move(runner));
  if (!attached) logError() << signature << "Failed to attach runner to thread";
  return attached;
}

bool RoutingClient::Private::attachStateRunners(const char* signature) {
  const auto changed = [this](auto* sample) { processSample(sample); };
  const auto association = [this](bool sourceSide) {
    return [this, sourceSide](Association* sample) { processSample(sample, sourceSide); };
  };
  typedef RoutingClientListener Listener;
  return attachStateRunner<Source>(signature, services.sourcesNode(), changed, &Listener::sourceRemoved) &&
         attachStateRunner<Destination>(signature, services.destinationsNode(), changed,
                                        &Listener::destinationRemoved) &&
         attachStateRunner<Association>(signature, services.sourceAssociations(), association(true),
                                        &Listener::sourceAssociationRemoved) &&
         attachStateRunner<Association>(signature, services.destinationAssociations(), association(false),
                                        &Listener::destinationAssociationRemoved);
}

template <class Sample>
bool RoutingClient::Private::attachStateRunner(const char* signature, DDSRouterNode<Sample>* node,
                                               std::function<void(Sample*)> changed,
                                               void (RoutingClientListener::*removed)(const Sample*)) {
  const auto gone = [this, removed](const Sample* key) {
    notify(SIGNATURE("processRemoval(const void *)"),
           [&](RoutingClientListener& listener) { (listener.*removed)(key); });
  };
  return attach(signature, std::make_unique<StateRunner<Sample>>(node->dataReader(), std::move(changed), gone));
}

bool RoutingClient::Private::create(const char* signature) {
  if (!services.createClientDiscoveryServices()) {
    logError() << signature << "Unable to create services!";
    return false;
  }
  if (!thread.create()) {
    logError() << signature << "Failed to create the RoutingClient's waitset thread.";
    return false;
  }
  RouterDataReader* const reader = services.routerNode()->dataReader();
  if (!attach(signature, std::make_unique<RoutersRunner>(reader, *this))) return false;
  gate.open();  // before the first callback, which may use the client
  thread.start();
  TessivarThread::sleep(50);
  return true;
}

bool RoutingClient::Private::subscribe(const char* signature, const std::vector<AddressEx>& addresses) {
  if (services.sourcesNode()) {
    if (services.protectService() && services.updateClientReaderServices(addresses)) return true;
    logError() << signature << "Cannot change the subscription once it is started. Clean up and re-create.";
    return false;
  }
  if (!services.createClientReaderServices(addresses)) {
    logError() << signature << "Failed to create the client services during subscription";
    return false;
  }
  if (!attachStateRunners(signature)) return false;
  if (!services.createClientProtectService(addresses, &thread)) {
    logError() << signature << "Failed to create the client services during subscription";
    return false;
  }
  return true;
}

bool RoutingClient::Private::refusedInCallback(const char* signature, const char* text) const {
  if (!services.inCallback() && !thread.isCurrent() && !listeners.isNotifying() && !gate.isMyTurn()) return false;
  logError() << signature << text;
  return true;
}

void RoutingClient::Private::leave() {
  const UseGate::Turn turn(gate);
  {
    const ScopedLock lock(knownRoutersLock_);
    leaving_ = true;
    for (const auto& known : knownRouters_) {
      listeners.notify(SIGNATURE("notifyUnitRemoved(const class TessivarDDS::AddressEx &)"),
                       [&](RoutingClientListener& listener) { listener.routerRemoved(known.second); });
    }
    knownRouters_.clear();
  }
  if (services.routingService()) services.routingService()->endCalls();
  if (services.protectService()) services.protectService()->endCalls();
  gate.close();
  thread.stop();  // before services.cleanUp(), because its runners use readers of the services
  services.cleanUp();
  services.attachDomain(nullptr);
  services.setUseQosProfiles(false);
  listeners.clear();
  leaving_ = false;
  gate.reset();
}

template <class Call>
void RoutingClient::Private::notify(const char* signature, Call&& call) {
  listeners.notify(signature, [&](RoutingClientListener& listener) {
    if (!leaving_) call(listener);
  });
}

void RoutingClient::Private::notifyUnitAdded(const DDS_InstanceHandle_t& handle, const Router* router) {
  // Held while the listeners are notified, so that a router is reported as removed if and only if it was reported as
  // added.
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

void RoutingClient::Private::protectTicketChanged(unsigned short ticketId) {
  const DDSPtr<ProtectTicket> ticket = services.protectService()->findTicket(ticketId);
  notify(SIGNATURE("protectTicketChanged(unsigned short)"),
         [&](RoutingClientListener& listener) { listener.protectTicketChanged(ticket); });
}

template <class Rep>
DDSPtr<RequestReplyTicket<Rep>> RoutingClient::Private::ticketOf(
    const char* signature, unsigned short ticketId, DDSPtr<RequestReplyTicket<Rep>> sent, RequestFailure failure,
    void (RoutingClientListener::*changed)(DDSPtr<RequestReplyTicket<Rep>>)) {
  if (sent) return sent;
  // No router will reply, so the reply is made here: the caller gets every result in the same way.
  DDSPtr<Rep> reply(TypeOf<Rep>::TypeSupport::create_data());
  if (!reply) {
    logError() << signature << "Failed to create data";
    return {};
  }
  reply->ticketId = ticketId;
  reply->result = FAILED;
  DDSPtr<RequestReplyTicket<Rep>> failed(new RequestReplyTicket<Rep>(ticketId));
  failed->failure = failure;
  failed->complete(reply, {});
  // The listeners are notified on the thread: the caller may be in a listener's callback, or hold a lock that a
  // listener needs.
  thread.post([this, signature, failed, changed] {
    notify(signature, [&](RoutingClientListener& listener) { (listener.*changed)(failed); });
  });
  return failed;
}

template DDSPtr<RoutingClient::Ticket> RoutingClient::Private::ticketOf(
    const char*, unsigned short, DDSPtr<Ticket>, RequestFailure, void (RoutingClientListener::*)(DDSPtr<Ticket>));
template DDSPtr<RoutingClient::ProtectTicket> RoutingClient::Private::ticketOf(
    const char*, unsigned short, DDSPtr<ProtectTicket>, RequestFailure,
    void (RoutingClientListener::*)(DDSPtr<ProtectTicket>));

void RoutingClient::Private::valueRemoved(const AssociationRoute* route) {
  notify(SIGNATURE("valueRemoved(const class Tessivar_Routing::AssociationRoute *)"),
         [&](RoutingClientListener& listener) { listener.routeRemoved(route); });
}

void RoutingClient::Private::valueChanged(const AssociationRoute* route) {
  notify(SIGNATURE("valueChanged(const class Tessivar_Routing::AssociationRoute *)"),
         [&](RoutingClientListener& listener) { listener.routeChanged(route); });
}

}  // namespace TessivarDDS
