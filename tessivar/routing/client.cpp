#include "tessivar/routing/client.h"

#include "tessivar/framework/domain/detail/signature.h"
#include "tessivar/framework/log/logger.h"
#include "tessivar/framework/report/internal/report_book.h"
#include "tessivar/routing/internal/client_private.h"
#include "tessivar/routing/internal/runners.h"

namespace TessivarDDS {

using namespace Tessivar_Routing;

namespace {

constexpr const char* not_subscribed = " No request is possible yet: call subscribe() first.";

}  // namespace

RoutingClient::RoutingClient()
    : book_(std::make_shared<ReportBook>("RoutingClient")), private_(std::make_unique<Private>(book_)) {}

RoutingClient::~RoutingClient() {
  private_->leave();
}

void RoutingClient::attachDomain(DDSDomain* domain) {
  private_->services.attachDomain(domain);
}

void RoutingClient::setUseQosProfiles(bool use) {
  private_->services.setUseQosProfiles(use);
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
  if (private_->inCallback()) {
    logError() << signature << " Cannot subscribe from within a callback.";
    return false;
  }
  if (private_->services.sourcesNode()) return private_->resubscribe(signature, addresses);
  if (!private_->services.createClientReaderServices(addresses)) {
    logError() << signature << "Failed to create the client services during subscription";
    return false;
  }
  if (!private_->attachStateRunners(signature)) return false;
  if (!private_->createProtectService(addresses)) {
    logError() << signature << "Failed to create the client services during subscription";
    return false;
  }
  return true;
}

void RoutingClient::attachListener(RoutingClientListener* listener, bool owned) {
  private_->listeners.attachListener(listener, owned);
}

bool RoutingClient::detachListener(RoutingClientListener* listener) {
  return private_->listeners.detachListener(listener);
}

DDSPtr<RoutingClient::Ticket> RoutingClient::beginSetRoute(DDSPtr<AssociationRoute>& route) {
  constexpr const char* signature =
      "class TessivarDDS::DDSPtr<class TessivarDDS::RequestReplyTicket<"
      "class Tessivar_Routing::AssociationRouteChangeReply> > __cdecl TessivarDDS::RoutingClient::beginSetRoute("
      "class TessivarDDS::DDSPtr<class Tessivar_Routing::AssociationRoute> &)";
  RoutingRequestReplyService* const service = private_->services.routingService();
  if (!service) {
    logError() << signature << not_subscribed;
    return {};
  }
  DDSPtr<AssociationRouteChangeRequest> request = service->createRequest(route.get());
  if (!request) {
    logError() << signature << "Invalid request type returned";
    return {};
  }
  RequestFailure failure;
  const DDSPtr<Ticket> ticket = service->makeRequest(request, failure);
  return private_->ticketOf(signature, request->ticketId, ticket, failure, &RoutingClientListener::ticketChanged);
}

bool RoutingClient::completeSetRoute(DDSPtr<Ticket>& ticket) {
  RoutingRequestReplyService* const service = private_->services.routingService();
  if (!service) return false;
  service->removeTicket(ticket);
  return true;
}

DDSPtr<RoutingClient::ProtectTicket> RoutingClient::beginProtect(DDSPtr<Destination>& destination,
                                                                 const std::vector<bool>& levels) {
  constexpr const char* signature =
      "class TessivarDDS::DDSPtr<class TessivarDDS::RequestReplyTicket<"
      "class Tessivar_Routing::DestinationChangeReply> > __cdecl TessivarDDS::RoutingClient::beginProtect("
      "class TessivarDDS::DDSPtr<class Tessivar_Routing::Destination> &,const class std::vector<bool> &)";
  constexpr std::size_t max_levels = 32;
  ProtectRequestReplyService* const service = private_->protectService;
  if (!service) {
    logError() << signature << not_subscribed;
    return {};
  }
  if (levels.size() > max_levels) {
    logError() << signature << "More than " << max_levels << " levels: " << levels.size();
    return {};
  }
  DDSPtr<DestinationChangeRequest> request = service->createRequest(destination.get());
  std::vector<bool> mask = levels;
  if (request && mask.empty() && destination->level < max_levels) {
    mask.resize(destination->level + 1u);
    mask.back() = true;
  }
  if (!request || !request->level_mask.length(static_cast<DDS_Long>(mask.size()))) {
    logError() << signature << "Invalid request type returned";
    return {};
  }
  for (std::size_t i = 0; i < mask.size(); ++i) request->level_mask[static_cast<DDS_Long>(i)] = mask[i];
  RequestFailure failure;
  const DDSPtr<ProtectTicket> ticket = service->makeRequest(request, failure);
  return private_->ticketOf(signature, request->ticketId, ticket, failure,
                            &RoutingClientListener::protectTicketChanged);
}

bool RoutingClient::completeProtect(DDSPtr<ProtectTicket>& ticket) {
  ProtectRequestReplyService* const service = private_->protectService;
  if (!service) return false;
  service->removeTicket(ticket);
  return true;
}

RoutingServices* RoutingClient::services() const {
  return &private_->services;
}

Report RoutingClient::report() const {
  return book_->report();
}

void RoutingClient::cleanUp() {
  if (private_->inCallback()) {
    logError() << "void __cdecl TessivarDDS::RoutingClient::cleanUp(void)"
               << " Cannot clean up from within a callback.";
    return;
  }
  private_->leave();
  private_ = std::make_unique<Private>(book_);
}

}  // namespace TessivarDDS
