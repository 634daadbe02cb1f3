// SPDX-License-Identifier: Apache-2.0

// A routing controller: subscribes to routers, changes their routes and protects their destinations.
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
/// Use: attachDomain, attachListener, create; then subscribe to reported routers, beginSetRoute and beginProtect;
/// finally cleanUp.
///
/// Threads: any thread may call any function at any time, also in a listener's callback, with the exceptions in
/// RoutingClientListener. create(), subscribe() and cleanUp() wait for each other, and are refused in a callback of the
/// client or of the bus. While another thread is in create() or cleanUp(), a call either fails as before subscribe(),
/// or takes effect before or after it. During the destructor no other thread may use the client. Requests are possible
/// after the first subscribe() has returned. Requests for routes are also possible in callbacks during subscribe(). A
/// failure logs one line and returns false or null.
class TESSIVAR_API RoutingClient {
 public:
  using Ticket = RequestReplyTicket<Tessivar_Routing::AssociationRouteChangeReply>;
  using ProtectTicket = RequestReplyTicket<Tessivar_Routing::DestinationChangeReply>;

  RoutingClient();
  /// Calls cleanUp().
  virtual ~RoutingClient();

  /// Call it before create(). The client does not own the domain: release the domain after cleanUp().
  void attachDomain(DDSDomain* domain);
  /// Call it before create(); later it is refused with one log line. Initially false. See
  /// RoutingServices::setUseQosProfiles().
  void setUseQosProfiles(bool use);
  /// Joins the bus and starts to report routers. Takes about 100 ms. After a failure call cleanUp().
  bool create();
  /// Starts to report the state of the routers at `addresses` (an empty list means all routers). Takes some
  /// milliseconds, and waits for a running callback. A later call replaces the list and returns within milliseconds.
  /// The state of new routers in the list is reported soon after. The state of the other routers in the list stays in
  /// the nodes of services() and is not reported again. The state of routers that are no longer in the list is removed
  /// from the nodes without a report. After a failure call cleanUp() and create().
  bool subscribe(const std::vector<AddressEx>& addresses);

  /// Listeners are called in the order in which they were attached. A second attach of the same listener only replaces
  /// `owned`. cleanUp() deletes owned listeners, which must be made with `new`. The caller keeps other listeners alive
  /// until they are detached or the client is cleaned up.
  void attachListener(RoutingClientListener* listener, bool owned);
  /// Waits at most 1 second for running callbacks. Returns true if the listener is detached: the caller owns it, and it
  /// is not called any more. Returns false, after one log line, if the callbacks ran longer, and in a callback: then
  /// the listener stays attached and must stay alive.
  bool detachListener(RoutingClientListener* listener);

  /// Requests a route from the router's device, and does not wait for the reply. Returns a ticket. Each reply is stored
  /// in the ticket (see its `received`) and reported with ticketChanged. If the request cannot be sent, for example
  /// because no router is matched, the ticket is already complete, with the result FAILED and its `failure`; the
  /// listeners are notified soon after. Returns null before subscribe(). Blocks only while 4 megabytes of requests are
  /// unacknowledged by routers. After 5 seconds (the max_blocking_time of the profile "requestNodeQos") the request
  /// fails.
  DDSPtr<Ticket> beginSetRoute(DDSPtr<Tessivar_Routing::AssociationRoute>& route);
  /// Removes the ticket: later replies to it are dropped. Call it for every ticket of beginSetRoute(). Returns false
  /// before subscribe().
  bool completeSetRoute(DDSPtr<Ticket>& ticket);

  /// Requests from the router's device to start or end the protection of the destination (`destination->protect`). The
  /// device decides if it also uses the name. The change concerns the destination on each level i for which `levels[i]`
  /// is true; at most 32 levels. If `levels` is empty, it concerns only the level of `destination`. Replies and
  /// failures are as for beginSetRoute(), with protectTicketChanged. Also returns null if there are too many levels.
  /// The new state is reported with destinationChanged.
  DDSPtr<ProtectTicket> beginProtect(DDSPtr<Tessivar_Routing::Destination>& destination,
                                     const std::vector<bool>& levels = {});
  /// As completeSetRoute(), for every ticket of beginProtect().
  bool completeProtect(DDSPtr<ProtectTicket>& ticket);

  /// The endpoints of the client. Do not create or clean up anything on them. The nodes are valid until cleanUp().
  RoutingServices* services() const;
  /// Counts of samples, requests and replies, and the discovered participants. Empty before create() and after
  /// cleanUp(). Any thread and any callback may call it, also while another thread creates or cleans up. Never blocks.
  Report report() const;

  /// Reports every reported router as removed. Then leaves the bus and releases domain, listeners (owned listeners are
  /// deleted) and subscription. Afterwards the client is as new. Waits for calls of other threads and for a running
  /// callback; at most 5 seconds for a blocked request. Refused in a callback.
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
