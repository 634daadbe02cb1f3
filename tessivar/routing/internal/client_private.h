// SPDX-License-Identifier: Apache-2.0

// The state of a routing client.
#pragma once

#include "tessivar/framework/pointers/listener_list.h"
#include "tessivar/framework/sync/detail/use_gate.h"
#include "tessivar/framework/waitset/handle_sum_order.h"
#include "tessivar/framework/waitset/wait_set_thread.h"
#include "tessivar/routing/client.h"
#include "tessivar/routing/services.h"

#include <atomic>
#include <functional>
#include <map>

namespace TessivarDDS {

/// Receives all notifications from the bus, on two threads, and calls the listeners.
class RoutingClient::Private : public RequestReplyClientListener<Tessivar_Routing::AssociationRoute> {
 public:
  explicit Private(std::shared_ptr<ReportBook> book);

  /// Makes the services and the thread that report routers, and opens the gate. The caller holds a turn and has closed
  /// the gate.
  bool create(const char* signature);
  /// The caller holds a turn.
  bool subscribe(const char* signature, const std::vector<AddressEx>& addresses);
  /// Reports the known routers as removed, while the functions that a listener may call still work. Then ends all calls
  /// and callbacks, and resets the client to its initial state.
  void leave();
  /// Returns true, after one log line, on a thread that is inside a callback of the bus or of this client.
  bool refusedInCallback(const char* signature, const char* text) const;

  void notifyUnitAdded(const DDS_InstanceHandle_t& handle, const Tessivar_Routing::Router* router);
  void notifyUnitRemoved(const DDS_InstanceHandle_t& handle, const AddressEx& router);
  void processSample(Tessivar_Routing::Source* source);
  void processSample(Tessivar_Routing::Destination* destination);
  void processSample(Tessivar_Routing::Association* association, bool sourceSide);
  void ticketChanged(unsigned short ticketId) override;
  void protectTicketChanged(unsigned short ticketId);
  using RequestReplyClientListener::valueChanged, RequestReplyClientListener::valueRemoved;
  void valueChanged(const Tessivar_Routing::AssociationRoute* route) override;
  void valueRemoved(const Tessivar_Routing::AssociationRoute* route) override;

  /// Returns the ticket `sent`. If it is null, returns a ticket with the result FAILED and `failure`, and notifies the
  /// listeners on the thread. `changed` is the listener's function for tickets.
  template <class Rep>
  DDSPtr<RequestReplyTicket<Rep>> ticketOf(const char* signature, unsigned short ticketId,
                                           DDSPtr<RequestReplyTicket<Rep>> sent, RequestFailure failure,
                                           void (RoutingClientListener::*changed)(DDSPtr<RequestReplyTicket<Rep>>));

  /// Attaches `runner` to the thread. If that fails, logs one line with `signature` and returns false.
  bool attach(const char* signature, std::unique_ptr<WaitSetThreadRunnerBase> runner);

  ListenerList<RoutingClientListener> listeners{"TessivarDDS::RoutingClientListener"};
  RoutingServices services;
  WaitSetThread thread{"RoutingClient"};
  UseGate gate;  // counts all calls that use the services; open after create() has succeeded

 private:
  struct ProtectListener : RequestReplyClientListener<Tessivar_Routing::Destination> {
    explicit ProtectListener(Private& owner) : owner_(owner) {}
    void ticketChanged(unsigned short ticketId) override { owner_.protectTicketChanged(ticketId); }

   private:
    Private& owner_;
  };

  bool attachStateRunners(const char* signature);
  template <class Sample>
  bool attachStateRunner(const char* signature, DDSRouterNode<Sample>* node, std::function<void(Sample*)> changed,
                         void (RoutingClientListener::*removed)(const Sample*));

  /// Calls the listeners, unless leave() has started to report the routers as removed.
  template <class Call>
  void notify(const char* signature, Call&& call);

  std::map<DDS_InstanceHandle_t, AddressEx, HandleSumOrder> knownRouters_;
  TessivarMutex knownRoutersLock_;
  std::atomic<bool> leaving_{false};
  ProtectListener protectListener_{*this};
};

}  // namespace TessivarDDS
