// SPDX-License-Identifier: Apache-2.0

// The callbacks of a routing controller.
#pragma once

#include "tessivar/framework/address/address_ex.h"
#include "tessivar/framework/pointers/dds_ptr.h"
#include "tessivar/framework/requestreply/request_reply_ticket.h"
#include "tessivar/platform/export.h"
#include "tessivar/types/routing/routing.h"

namespace TessivarDDS {

/// A controlling application implements this class and attaches it to its RoutingClient.
///
/// Routes and the replies to beginSetRoute are reported on one thread of the library, everything else on another
/// thread. A client never makes two calls at the same time. The client's listener list is locked during a call, so a
/// call must not attach or detach listeners of the same client. It must not create, subscribe or clean up. It may make
/// and complete requests. Be quick: if a call takes longer than 1 second, the other thread drops its notifications.
/// Arguments are valid until the call returns. All listeners share the samples: do not change them. An exception is
/// logged, and the next listener is called.
///
/// Samples come from other programs, and the library does not check that they fit together. A router may have no
/// matrices, and a matrix no levels. Ports may arrive before their router or without a router, and indexes may exceed
/// its counts.
class TESSIVAR_API RoutingClientListener {
 public:
  virtual ~RoutingClientListener() = default;

  /// A router was announced, or its announcement has changed. This is called for every router on the bus, also without
  /// subscription.
  virtual void routerAdded(const Tessivar_Routing::Router* router) = 0;
  /// A router was removed, or its device was lost. It is also the last call for each router when the client is cleaned
  /// up; then it comes on the thread that cleans up.
  virtual void routerRemoved(const AddressEx& router) = 0;

  // For routers in the subscription: the state when it first arrives, and every change by any controller. State that a
  // new subscription keeps is not reported again.

  virtual void sourceChanged(Tessivar_Routing::Source* source) = 0;
  virtual void destinationChanged(Tessivar_Routing::Destination* destination) = 0;
  virtual void sourceAssociationChanged(Tessivar_Routing::Association* association) = 0;
  virtual void destinationAssociationChanged(Tessivar_Routing::Association* association) = 0;
  virtual void routeChanged(const Tessivar_Routing::AssociationRoute* route) = 0;

  /// A reply has arrived for a request of beginSetRoute, or the request could not be sent (result FAILED). `ticket` is
  /// null if the ticket was completed meanwhile.
  virtual void ticketChanged(DDSPtr<RequestReplyTicket<Tessivar_Routing::AssociationRouteChangeReply>> ticket) = 0;

  // The following functions do nothing by default.

  /// The same for a request of beginProtect.
  virtual void protectTicketChanged(DDSPtr<RequestReplyTicket<Tessivar_Routing::DestinationChangeReply>> ticket);

  // For routers in the subscription: the router has withdrawn the object, or its program was lost. Only the key members
  // of the sample are set: unitId and the indexes of matrix, level and port; for a route unitId and the indexes of
  // matrix and destination. Not called for routers that a new subscription omits, and not during cleanUp.

  virtual void sourceRemoved(const Tessivar_Routing::Source* source);
  virtual void destinationRemoved(const Tessivar_Routing::Destination* destination);
  virtual void sourceAssociationRemoved(const Tessivar_Routing::Association* association);
  virtual void destinationAssociationRemoved(const Tessivar_Routing::Association* association);
  virtual void routeRemoved(const Tessivar_Routing::AssociationRoute* route);
};

}  // namespace TessivarDDS
