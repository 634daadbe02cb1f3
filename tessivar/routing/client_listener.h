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
/// Routers, sources, destinations and associations come on one thread of the library, routes and tickets on another,
/// but never two calls of one client at once. The client's listener list is locked during a call, so a call must not
/// attach or detach listeners of the same client; nor may it create, subscribe or clean up. beginSetRoute and
/// completeSetRoute may be called. Be quick: a call that takes longer than a second makes the other thread drop what it
/// has to report. What a call is given is valid until it returns; samples are shared with the listeners after it and
/// not to be changed. An exception is logged, and the next listener is called.
class TESSIVAR_API RoutingClientListener {
 public:
  virtual ~RoutingClientListener() = default;

  /// A router announced itself, or what it says of itself has changed. Every router on the bus, subscribed to or not.
  virtual void routerAdded(const Tessivar_Routing::Router* router) = 0;
  /// A router was taken from the bus or its device is gone; or the client is being cleaned up, and this is the last
  /// that is heard of it. In that case the call comes on the thread that cleans up.
  virtual void routerRemoved(const AddressEx& router) = 0;

  // Of the routers subscribed to: the state when it first arrives, and every change of it.

  virtual void sourceChanged(Tessivar_Routing::Source* source) = 0;
  virtual void destinationChanged(Tessivar_Routing::Destination* destination) = 0;
  virtual void sourceAssociationChanged(Tessivar_Routing::Association* association) = 0;
  virtual void destinationAssociationChanged(Tessivar_Routing::Association* association) = 0;
  /// Whoever changed it.
  virtual void routeChanged(const Tessivar_Routing::AssociationRoute* route) = 0;

  /// A reply has arrived for a request made with beginSetRoute. Null when the ticket was completed in the meantime.
  virtual void ticketChanged(DDSPtr<RequestReplyTicket<Tessivar_Routing::AssociationRouteChangeReply>> ticket) = 0;
};

}  // namespace TessivarDDS
