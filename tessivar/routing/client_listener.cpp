// SPDX-License-Identifier: Apache-2.0

#include "tessivar/routing/client_listener.h"

namespace TessivarDDS {

using namespace Tessivar_Routing;

// NOLINTNEXTLINE(performance-unnecessary-value-param): the interface passes the ticket by value
void RoutingClientListener::protectTicketChanged(DDSPtr<RequestReplyTicket<DestinationChangeReply>> /*ticket*/) {}
void RoutingClientListener::sourceRemoved(const Source* /*source*/) {}
void RoutingClientListener::destinationRemoved(const Destination* /*destination*/) {}
void RoutingClientListener::sourceAssociationRemoved(const Association* /*association*/) {}
void RoutingClientListener::destinationAssociationRemoved(const Association* /*association*/) {}
void RoutingClientListener::routeRemoved(const AssociationRoute* /*route*/) {}

}  // namespace TessivarDDS
