// SPDX-License-Identifier: Apache-2.0

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
  if (private_->refusedInCallback(signature, " Cannot create from within a callback.")) return false;
  const UseGate::Turn turn(private_->gate);
  // If the gate is open, the services exist and refuse to be created again.
  if (!private_->gate.isOpen()) private_->gate.close();
  const bool created = private_->create(signature);
  private_->gate.reset();
  return created;
}

bool RoutingClient::subscribe(const std::vector<AddressEx>& addresses) {
  constexpr const char* signature =
      "bool __cdecl TessivarDDS::RoutingClient::subscribe(const " TESSIVAR_SIGNATURE_ADDRESSES " &)";
  if (private_->refusedInCallback(signature, " Cannot subscribe from within a callback.")) return false;
  const UseGate::Turn turn(private_->gate);
  return private_->subscribe(signature, addresses);
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
  const UseGate::Use use(private_->gate);
  RoutingRequestReplyService* const service = use.open() ? private_->services.routingService() : nullptr;
  if (!service) {
    logError() << signature << (use.closing() ? UseGate::busy : not_subscribed);
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
  const UseGate::Use use(private_->gate);
  RoutingRequestReplyService* const service = use.open() ? private_->services.routingService() : nullptr;
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
  const UseGate::Use use(private_->gate);
  ProtectRequestReplyService* const service = use.open() ? private_->services.protectService() : nullptr;
  if (!service) {
    logError() << signature << (use.closing() ? UseGate::busy : not_subscribed);
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
  const UseGate::Use use(private_->gate);
  ProtectRequestReplyService* const service = use.open() ? private_->services.protectService() : nullptr;
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
  if (private_->refusedInCallback("void __cdecl TessivarDDS::RoutingClient::cleanUp(void)",
                                  " Cannot clean up from within a callback.")) {
    return;
  }
  private_->leave();
}

}  // namespace TessivarDDS
