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

/// Hears of everything that comes from the bus, on two threads, and tells the listeners.
class RoutingClient::Private : public RequestReplyClientListener<Tessivar_Routing::AssociationRoute> {
 public:
  explicit Private(std::shared_ptr<ReportBook> book);

  /// Makes what reports routers, in a turn with the gate closed, and opens it.
  bool create(const char* signature);
  /// In a turn.
  bool subscribe(const char* signature, const std::vector<AddressEx>& addresses);
  /// Reports the known routers as removed, while all that a listener may call still works; then ends all calls and
  /// callbacks, and makes everything as new.
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

  /// The ticket of a request that was sent, or else one that has FAILED because of `failure`, which the listeners are
  /// told on the thread. `changed` is the listener's call for a ticket.
  template <class Rep>
  DDSPtr<RequestReplyTicket<Rep>> ticketOf(const char* signature, unsigned short ticketId,
                                           DDSPtr<RequestReplyTicket<Rep>> sent, RequestFailure failure,
                                           void (RoutingClientListener::*changed)(DDSPtr<RequestReplyTicket<Rep>>));

  /// Hands `runner` to the thread; false, with `signature` in the log, when that cannot be.
  bool attach(const char* signature, std::unique_ptr<WaitSetThreadRunnerBase> runner);

  ListenerList<RoutingClientListener> listeners{"TessivarDDS::RoutingClientListener"};
  RoutingServices services;
  WaitSetThread thread{"RoutingClient"};
  UseGate gate;  // of all calls that use the services; open once create() has succeeded

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

  /// Tells the listeners, unless the last they are to hear of has begun.
  template <class Call>
  void notify(const char* signature, Call&& call);

  std::map<DDS_InstanceHandle_t, AddressEx, HandleSumOrder> knownRouters_;
  TessivarMutex knownRoutersLock_;
  std::atomic<bool> leaving_{false};
  ProtectListener protectListener_{*this};
};

}  // namespace TessivarDDS
