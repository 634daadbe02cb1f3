// The controlling side: follows routers and changes their routes.
#pragma once

#include "tessivar/routing/client_listener.h"

#include <memory>
#include <vector>

namespace TessivarDDS {

class DDSDomain;

/// A controller of routers.
///
/// Use: attachDomain, attachListener, create; then subscribe to some of the routers that are reported, beginSetRoute;
/// finally cleanUp.
///
/// Threads: attachDomain, create, subscribe and cleanUp belong to one controlling thread. From a listener's call, which
/// they would wait for, subscribe and cleanUp are refused. Nothing else may run in the client during cleanUp. Listeners
/// may be attached and detached by any other thread at any time. Routes may be set by any thread and from the
/// listeners' calls, once the first subscribe has returned or, from routeChanged and ticketChanged, while it still
/// runs. A failure is one log line and false or null.
class TESSIVAR_API RoutingClient {
 public:
  using Ticket = RequestReplyTicket<Tessivar_Routing::AssociationRouteChangeReply>;

  RoutingClient();
  /// As cleanUp().
  virtual ~RoutingClient();

  /// Before create(). Not owned: release it after cleanUp().
  void attachDomain(DDSDomain* domain);
  /// Joins the bus and begins to report routers; takes some 100 ms. After a failure the way on is cleanUp().
  bool create();
  /// Begins to report what the routers at `addresses` (none: all routers) say; a later call makes it these routers
  /// instead, and reports their present state, also of one that was among those before. Takes some milliseconds, and
  /// waits for a callback that is running. After a failure the way on is cleanUp() and create().
  bool subscribe(const std::vector<AddressEx>& addresses);

  /// Listeners are called in the order in which they were attached; attaching one again only replaces `owned`. Owned
  /// ones, made with `new`, are deleted by cleanUp(); others must stay until they are detached or the client is cleaned
  /// up.
  void attachListener(RoutingClientListener* listener, bool owned);
  /// Waits for a callback that is running; the listener is the caller's afterwards.
  void detachListener(RoutingClientListener* listener);

  /// Asks the router's device for a route, without waiting for the answer. The ticket is filled as replies arrive: see
  /// its `received`. When the request cannot be sent, as no router is there, the ticket is complete already, with the
  /// result FAILED. Null before subscribe(). May block for up to 100 ms when a router does not keep up.
  DDSPtr<Ticket> beginSetRoute(DDSPtr<Tessivar_Routing::AssociationRoute>& route);
  /// Forgets the ticket: later replies to it are dropped. To be called for every ticket of beginSetRoute. False before
  /// subscribe().
  bool completeSetRoute(DDSPtr<Ticket>& ticket);

  /// Leaves the bus and forgets everything: domain, listeners (owned ones are deleted) and subscription. Every router
  /// that was reported is reported as removed first. Afterwards the client is as new. Waits for a callback that is
  /// running.
  void cleanUp();

 private:
  RoutingClient(const RoutingClient&) = delete;
  RoutingClient& operator=(const RoutingClient&) = delete;

  class Private;
  class RoutersRunner;
  template <class Sample>
  class PortsRunner;
  class AssociationsRunner;

  std::unique_ptr<Private> private_;
};

}  // namespace TessivarDDS
