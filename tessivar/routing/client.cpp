#include "tessivar/routing/client.h"

#include "tessivar/framework/domain/signature.h"
#include "tessivar/framework/log/logger.h"
#include "tessivar/routing/client_private.h"
#include "tessivar/routing/runners.h"

namespace TessivarDDS {

using namespace Tessivar_Routing;

RoutingClient::RoutingClient() : private_(std::make_unique<Private>()) {}

RoutingClient::~RoutingClient() {
  private_->leave();
}

void RoutingClient::attachDomain(DDSDomain* domain) {
  private_->services.attachDomain(domain);
}

bool RoutingClient::create() {
  constexpr const char* signature = "bool __cdecl TessivarDDS::RoutingClient::create(void)";
  if (!private_->services.createClientDiscoveryServices()) {
    logError() << signature << "Unable to create services!";
    return false;
  }
  if (!private_->thread.create()) {
    logError() << signature << "Failed to create the RoutingClient's waitset thread.";
    return false;
  }
  RouterDataReader* const reader = private_->services.routerNode()->dataReader();
  if (!private_->attach(signature, std::make_unique<RoutersRunner>(reader, *private_))) return false;
  private_->thread.start();
  TessivarThread::sleep(50);
  return true;
}

bool RoutingClient::subscribe(const std::vector<AddressEx>& addresses) {
  constexpr const char* signature =
      "bool __cdecl TessivarDDS::RoutingClient::subscribe(const " TESSIVAR_SIGNATURE_ADDRESSES " &)";
  if (private_->listeners.isNotifying()) {
    logError() << signature << " Cannot subscribe from within a callback.";
    return false;
  }
  if (private_->services.sourcesNode()) return private_->resubscribe(signature, addresses);
  private_->services.setRoutingListener(private_.get());
  if (!private_->services.createClientReaderServices(addresses)) {
    logError() << signature << "Failed to create the client services during subscription";
    return false;
  }
  return private_->attachStateRunners(signature);
}

void RoutingClient::attachListener(RoutingClientListener* listener, bool owned) {
  private_->listeners.attachListener(listener, owned);
}

void RoutingClient::detachListener(RoutingClientListener* listener) {
  private_->listeners.detachListener(listener);
}

DDSPtr<RoutingClient::Ticket> RoutingClient::beginSetRoute(DDSPtr<AssociationRoute>& route) {
  constexpr const char* signature =
      "class TessivarDDS::DDSPtr<class TessivarDDS::RequestReplyTicket<"
      "class Tessivar_Routing::AssociationRouteChangeReply> > __cdecl TessivarDDS::RoutingClient::beginSetRoute("
      "class TessivarDDS::DDSPtr<class Tessivar_Routing::AssociationRoute> &)";
  RoutingRequestReplyService* const service = private_->services.routingService();
  if (!service) return {};
  DDSPtr<AssociationRouteChangeRequest> request = service->createRequest(route.get());
  if (!request) {
    logError() << signature << "Invalid request type returned";
    return {};
  }
  DDSPtr<Ticket> ticket = service->makeRequest(request);
  if (ticket) return ticket;

  // Nobody will answer, so the answer is made here: the caller has one way to learn the outcome.
  DDSPtr<AssociationRouteChangeReply> reply(AssociationRouteChangeReplyTypeSupport::create_data());
  if (!reply) {
    logError() << signature << "Failed to create data";
    return {};
  }
  reply->ticketId = request->ticketId;
  reply->result = FAILED;
  ticket.reset(new Ticket(request->ticketId));
  ticket->complete(reply, {});
  return ticket;
}

bool RoutingClient::completeSetRoute(DDSPtr<Ticket>& ticket) {
  RoutingRequestReplyService* const service = private_->services.routingService();
  if (!service) return false;
  service->removeTicket(ticket);
  return true;
}

void RoutingClient::cleanUp() {
  if (private_->listeners.isNotifying()) {
    logError() << "void __cdecl TessivarDDS::RoutingClient::cleanUp(void)"
               << " Cannot clean up from within a callback.";
    return;
  }
  private_->leave();
  private_ = std::make_unique<Private>();
}

}  // namespace TessivarDDS
