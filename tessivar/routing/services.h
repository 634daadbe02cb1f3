// SPDX-License-Identifier: Apache-2.0

// The endpoints through which routers and their controllers meet.
#pragma once

#include "tessivar/framework/nodes/detail/instances.h"
#include "tessivar/framework/report/report.h"
#include "tessivar/routing/request_reply_services.h"

#include <memory>
#include <vector>

namespace TessivarDDS {

class DDSDomain;
class ReportBook;
class WaitSetThread;

/// Makes and owns the nodes of routers, sources, destinations and associations and the services that change routes and
/// destinations, for one side of the bus.
///
/// A router device attaches a domain, calls createServerServices(), sets itself as the listener of the two services
/// (setListener), and publishes with the nodes' writeSample(): the routes with that of routingService()->valueNode(),
/// the destinations a controller changed both with that of protectService()->valueNode() and with destinationsNode().
/// A controller uses RoutingClient.
///
/// Any thread may call any operation at any time, and the nodes' readers and writers are thread-safe. Creating,
/// updating and cleaning up wait for each other, and are refused within a callback of the bus or of the services. The
/// nodes themselves are not to be used any more while another thread is in cleanUp(). Creating and cleaning up block
/// for some milliseconds, cleaning up on a bus that does not acknowledge for longer. Every failure is one log line and
/// false; what was made before it stays until cleanUp(). A creator whose node exists refuses.
///
/// Copies are one and the same set: cleanUp() of one takes it down for all.
class TESSIVAR_API RoutingServices {
 public:
  RoutingServices();
  /// Keeps the figures for report() in `book`, for an owner whose report outlives the services.
  explicit RoutingServices(std::shared_ptr<ReportBook> book);
  RoutingServices(const RoutingServices&) = default;
  RoutingServices& operator=(const RoutingServices&) = default;
  /// As cleanUp().
  ~RoutingServices();

  /// Before the creators. Not owned: it must outlive the nodes, that is, be released after cleanUp(). Refused with one
  /// line while another thread creates or cleans up.
  void attachDomain(DDSDomain* domain);
  DDSDomain* domain() const;

  /// Whether every topic, reader and writer gets its QoS from the profiles of "tessivar_Library" and "requestReplyLib",
  /// where a file of the user may override them. Initially false: built-in QoS. Before the creators; refused with one
  /// line while a node exists.
  void setUseQosProfiles(bool use);

  /// Everything, for a router.
  bool createServerServices();
  /// What tells a controller which routers there are.
  bool createClientDiscoveryServices();
  /// What tells a controller of the routers at `addresses` (none: of all), and lets it change their routes.
  bool createClientReaderServices(const std::vector<AddressEx>& addresses);
  /// Lets a controller ask for changes of the destinations of the routers at `addresses` (none: of all). `thread`, as
  /// for setWaitSetThread() of the service, serves the replies and must outlive cleanUp(); null: a thread of its own.
  bool createClientProtectService(const std::vector<AddressEx>& addresses, WaitSetThread* thread = nullptr);
  /// The routers to hear of from now on. Returns within milliseconds: the state of routers that are new among them
  /// arrives soon after, that of the others stays in the readers, the rest leaves them. After a failure some of the
  /// readers may have the old ones.
  bool updateClientReaderServices(const std::vector<AddressEx>& addresses);

  /// Whether sources, destinations and associations are sent many together (at first) or each at once. Once they can be
  /// published; nothing before.
  void enableBatching(bool on);
  /// What the routing service of a client reports to. Before it is created; not owned.
  void setRoutingListener(RequestReplyClientListener<Tessivar_Routing::AssociationRoute>* listener);
  /// The same for the protect service.
  void setProtectListener(RequestReplyClientListener<Tessivar_Routing::Destination>* listener);

  // Owned; null until created. Not valid any more after cleanUp().
  DDSNode<Tessivar_Routing::Router>* routerNode() const;
  DDSRouterNode<Tessivar_Routing::Source>* sourcesNode() const;
  DDSRouterNode<Tessivar_Routing::Destination>* destinationsNode() const;
  DDSRouterNode<Tessivar_Routing::Association>* sourceAssociations() const;
  DDSRouterNode<Tessivar_Routing::Association>* destinationAssociations() const;
  RoutingRequestReplyService* routingService() const;
  ProtectRequestReplyService* protectService() const;

  /// What has passed through the nodes and services. Empty without them. Any thread and callback; never blocks.
  Report report() const;

  /// Deletes the nodes and services; domain and listener stay. Refused within a callback.
  void cleanUp();
  /// Returns true on a thread that is inside a callback of the bus or of the services.
  bool inCallback() const;

 private:
  class TESSIVAR_INTERNAL State;
  std::shared_ptr<State> state_;
};

}  // namespace TessivarDDS
