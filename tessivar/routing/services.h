// SPDX-License-Identifier: Apache-2.0

// The topic nodes and services that routers and their controllers communicate with.
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
/// (setListener), and publishes with writeSample() of the nodes. It publishes routes with
/// routingService()->valueNode(). If a controller has changed a destination, it publishes the destination with
/// protectService()->valueNode() and with destinationsNode(). A controller uses RoutingClient.
///
/// Any thread may call any function at any time, and the nodes' readers and writers are thread-safe. The functions that
/// create, update and clean up wait for each other, and are refused in a callback of the bus or of the services. Do not
/// use the nodes while another thread is in cleanUp(). The functions that create and clean up block for some
/// milliseconds; cleanUp() blocks longer if samples are not acknowledged. Every failure logs one line and returns
/// false; nodes that were made before it stay until cleanUp(). A function that creates a node is refused if the node
/// exists.
///
/// Copies share the same nodes and services: cleanUp() of one copy deletes them for all copies.
class TESSIVAR_API RoutingServices {
 public:
  RoutingServices();
  /// Stores the counts for report() in `book`, for an owner whose report outlives the services.
  explicit RoutingServices(std::shared_ptr<ReportBook> book);
  RoutingServices(const RoutingServices&) = default;
  RoutingServices& operator=(const RoutingServices&) = default;
  /// Calls cleanUp().
  ~RoutingServices();

  /// Call it before the functions that create. The services do not own the domain: it must outlive the nodes, so
  /// release it after cleanUp(). Refused with one log line while another thread creates or cleans up.
  void attachDomain(DDSDomain* domain);
  DDSDomain* domain() const;

  /// If `use` is true, every topic, reader and writer gets its QoS from the profiles of "tessivar_Library" and
  /// "requestReplyLib"; files of the user may override them. Initially false: built-in QoS. Call it before the
  /// functions that create; refused with one log line while a node exists.
  void setUseQosProfiles(bool use);

  /// Makes all nodes and services of a router.
  bool createServerServices();
  /// Makes the node with which a controller discovers routers.
  bool createClientDiscoveryServices();
  /// Makes the nodes and the service with which a controller receives the state of the routers at `addresses` (an empty
  /// list means all routers) and changes their routes.
  bool createClientReaderServices(const std::vector<AddressEx>& addresses);
  /// Makes the service with which a controller requests changes of the destinations of the routers at `addresses` (an
  /// empty list means all routers). `thread` handles the replies, as with setWaitSetThread() of the service, and must
  /// outlive cleanUp(). If it is null, the service makes its own thread.
  bool createClientProtectService(const std::vector<AddressEx>& addresses, WaitSetThread* thread = nullptr);
  /// Sets the routers whose state the controller receives. Returns within milliseconds. The state of new routers in the
  /// list arrives soon after. The state of the other routers in the list stays in the readers; all other state is
  /// removed. After a failure some of the readers may use the previous list.
  bool updateClientReaderServices(const std::vector<AddressEx>& addresses);

  /// If `on` is true (the initial state), sources, destinations and associations are sent in batches; otherwise each
  /// sample is sent at once. Call it after their writers were created; before that it has no effect.
  void enableBatching(bool on);
  /// Sets the listener of a client's routing service. Call it before the service is created. The services do not own
  /// the listener.
  void setRoutingListener(RequestReplyClientListener<Tessivar_Routing::AssociationRoute>* listener);
  /// The same for the protect service.
  void setProtectListener(RequestReplyClientListener<Tessivar_Routing::Destination>* listener);

  // The services own these objects. They are null until they are created, and not valid after cleanUp().
  DDSNode<Tessivar_Routing::Router>* routerNode() const;
  DDSRouterNode<Tessivar_Routing::Source>* sourcesNode() const;
  DDSRouterNode<Tessivar_Routing::Destination>* destinationsNode() const;
  DDSRouterNode<Tessivar_Routing::Association>* sourceAssociations() const;
  DDSRouterNode<Tessivar_Routing::Association>* destinationAssociations() const;
  RoutingRequestReplyService* routingService() const;
  ProtectRequestReplyService* protectService() const;

  /// Counts of samples, requests and replies. Empty without nodes and services. Any thread and any callback may call
  /// it. Never blocks.
  Report report() const;

  /// Deletes the nodes and services; domain and listeners stay. Refused in a callback.
  void cleanUp();
  /// Returns true on a thread that is inside a callback of the bus or of the services.
  bool inCallback() const;

 private:
  class TESSIVAR_INTERNAL State;
  std::shared_ptr<State> state_;
};

}  // namespace TessivarDDS
