// SPDX-License-Identifier: Apache-2.0

// What a controller hears of the routers on the bus.
#pragma once

#include "tessivar/framework/address/address_ex.h"
#include "tessivar/framework/pointers/dds_ptr.h"
#include "tessivar/framework/requestreply/request_reply_ticket.h"
#include "tessivar/platform/export.h"
#include "tessivar/types/routing/routing.h"

namespace TessivarDDS {

/// Implemented by a controlling application and attached to its RoutingClient.
///
/// Routes and the replies to beginSetRoute come on one thread of the library, everything else on another, but never two
/// calls of one client at once. The client's listener list is locked during a call, so a call must not attach or detach
/// listeners of the same client; nor may it create, subscribe or clean up. Requests may be made and completed. Be
/// quick: a call that takes longer than a second makes the other thread drop what it has to report. What a call is
/// given is valid until it returns; samples are shared with the listeners after it and not to be changed. An exception
/// is logged, and the next listener is called.
///
/// Samples come from other programs, and nothing relates them but what these programs publish: a router may have no
/// matrices, a matrix no levels, ports may come before their router or without one, and indexes may exceed its counts.
class TESSIVAR_API RoutingClientListener {
 public:
  virtual ~RoutingClientListener() = default;

  /// A router announced itself, or what it says of itself has changed. Every router on the bus, subscribed to or not.
  virtual void routerAdded(const Tessivar_Routing::Router* router) = 0;
  /// A router was taken from the bus or its device is gone; or the client is being cleaned up, and this is the last
  /// that is heard of it. In that case the call comes on the thread that cleans up.
  virtual void routerRemoved(const AddressEx& router) = 0;

  // Of the routers subscribed to: the state when it first arrives, and every change, by any controller. State that a
  // new subscription keeps is not reported again.

  virtual void sourceChanged(Tessivar_Routing::Source* source) = 0;
  virtual void destinationChanged(Tessivar_Routing::Destination* destination) = 0;
  virtual void sourceAssociationChanged(Tessivar_Routing::Association* association) = 0;
  virtual void destinationAssociationChanged(Tessivar_Routing::Association* association) = 0;
  virtual void routeChanged(const Tessivar_Routing::AssociationRoute* route) = 0;

  /// A reply has arrived for a request made with beginSetRoute, or the request could not be sent (result FAILED). Null
  /// when the ticket was completed in the meantime.
  virtual void ticketChanged(DDSPtr<RequestReplyTicket<Tessivar_Routing::AssociationRouteChangeReply>> ticket) = 0;

  // All that follows does nothing unless it is overridden.

  /// The same for a request made with beginProtect.
  virtual void protectTicketChanged(DDSPtr<RequestReplyTicket<Tessivar_Routing::DestinationChangeReply>> ticket);

  // Of the routers subscribed to: the router has withdrawn it, or its program is gone. Only the key members of the
  // sample are set: unitId and the indexes of matrix, level and port, of a route those of matrix and destination. Not
  // called for what a new subscription leaves out, nor during cleanUp.

  virtual void sourceRemoved(const Tessivar_Routing::Source* source);
  virtual void destinationRemoved(const Tessivar_Routing::Destination* destination);
  virtual void sourceAssociationRemoved(const Tessivar_Routing::Association* association);
  virtual void destinationAssociationRemoved(const Tessivar_Routing::Association* association);
  virtual void routeRemoved(const Tessivar_Routing::AssociationRoute* route);
};

}  // namespace TessivarDDS
