// SPDX-License-Identifier: Apache-2.0

// The controlling side: follows routers, changes their routes and protects their destinations.
#pragma once

#include "tessivar/framework/report/report.h"
#include "tessivar/routing/client_listener.h"

#include <memory>
#include <vector>

namespace TessivarDDS {

class DDSDomain;
class ReportBook;
class RoutingServices;

/// A controller of routers.
///
/// Use: attachDomain, attachListener, create; then subscribe to some of the routers that are reported, beginSetRoute
/// and beginProtect; finally cleanUp.
///
/// Threads: any thread may call anything at any time, also from the listeners' callbacks, except as
/// RoutingClientListener says. create(), subscribe() and cleanUp() wait for each other, and are refused within a
/// callback of the client or of the bus. While another thread is in create() or cleanUp(), a call fails as it does
/// before subscribe(), or it has its effect before or after. Only the destructor needs the client alone. Requests are
/// possible once the first subscribe() has returned, and of routes in the callbacks that come while it still runs. A
/// failure is one log line and false or null.
class TESSIVAR_API RoutingClient {
 public:
  using Ticket = RequestReplyTicket<Tessivar_Routing::AssociationRouteChangeReply>;
  using ProtectTicket = RequestReplyTicket<Tessivar_Routing::DestinationChangeReply>;

  RoutingClient();
  /// As cleanUp().
  virtual ~RoutingClient();

  /// Before create(). Not owned: release it after cleanUp().
  void attachDomain(DDSDomain* domain);
  /// Before create(), later refused with one line; initially false. See RoutingServices::setUseQosProfiles().
  void setUseQosProfiles(bool use);
  /// Joins the bus and begins to report routers; takes some 100 ms. After a failure the way on is cleanUp().
  bool create();
  /// Begins to report what the routers at `addresses` (none: all routers) say; takes some milliseconds, and waits for a
  /// callback that is running. A later call makes it these routers instead, and returns within milliseconds: the
  /// present state of routers that are new among them is reported soon after; that of the others stays in the nodes of
  /// services() and is not reported again; that of routers that are no longer among them leaves the nodes without a
  /// report. After a failure the way on is cleanUp() and create().
  bool subscribe(const std::vector<AddressEx>& addresses);

  /// Listeners are called in the order in which they were attached; attaching one again only replaces `owned`. Owned
  /// ones, made with `new`, are deleted by cleanUp(); others must stay until they are detached or the client is cleaned
  /// up.
  void attachListener(RoutingClientListener* listener, bool owned);
  /// Waits at most a second for callbacks that are running. Returns true if the listener is detached: it is the
  /// caller's and not called any more. Returns false, after one log line, if callbacks went on for longer, and within a
  /// callback: then the listener stays attached and must stay alive.
  bool detachListener(RoutingClientListener* listener);

  /// Asks the router's device for a route, without waiting for the answer. The ticket is filled as replies arrive: see
  /// its `received`; ticketChanged of the listeners reports each. When the request cannot be sent, as no router is
  /// there, the ticket is complete already, with the result FAILED and its `failure`, which the listeners are told soon
  /// after. Null before subscribe(). Blocks only while 4 megabytes of requests are not acknowledged by the routers, at
  /// most for 5 seconds (the max_blocking_time of the profile "requestNodeQos"), and then fails.
  DDSPtr<Ticket> beginSetRoute(DDSPtr<Tessivar_Routing::AssociationRoute>& route);
  /// Forgets the ticket: later replies to it are dropped. To be called for every ticket of beginSetRoute. False before
  /// subscribe().
  bool completeSetRoute(DDSPtr<Ticket>& ticket);

  /// Asks the router's device to protect the destination or to stop protecting it, as `destination->protect` says; the
  /// device decides whether it takes over the name as well. `levels`: `levels[i]` says whether the change concerns the
  /// destination on level i, at most 32; without any, the level of `destination` alone. Answers and failures as for
  /// beginSetRoute, with the listeners' protectTicketChanged; null also with too many levels. The new state comes with
  /// destinationChanged.
  DDSPtr<ProtectTicket> beginProtect(DDSPtr<Tessivar_Routing::Destination>& destination,
                                     const std::vector<bool>& levels = {});
  /// As completeSetRoute(), for every ticket of beginProtect.
  bool completeProtect(DDSPtr<ProtectTicket>& ticket);

  /// The endpoints underneath. Do not create or clean up anything on them. The nodes are valid until cleanUp().
  RoutingServices* services() const;
  /// What has passed through the endpoints, requests and replies, and which participants were discovered. Empty before
  /// create() and after cleanUp(). Any thread and callback, also while another thread creates or cleans up; never
  /// blocks.
  Report report() const;

  /// Leaves the bus and forgets everything: domain, listeners (owned ones are deleted) and subscription. Every router
  /// that was reported is reported as removed first. Afterwards the client is as new. Waits for calls of other threads
  /// and for a callback that is running; at most 5 seconds for a request that is blocked. Refused within a callback.
  void cleanUp();

 private:
  RoutingClient(const RoutingClient&) = delete;
  RoutingClient& operator=(const RoutingClient&) = delete;

  class TESSIVAR_INTERNAL Private;
  class TESSIVAR_INTERNAL RoutersRunner;
  template <class Sample>
  class TESSIVAR_INTERNAL StateRunner;

  const std::shared_ptr<ReportBook> book_;
  const std::unique_ptr<Private> private_;
};

}  // namespace TessivarDDS
