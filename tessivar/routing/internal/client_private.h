// The state of a routing client.
#pragma once

#include "tessivar/framework/pointers/listener_list.h"
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

  /// Reports the known routers as removed and takes everything down. All that a listener may call still works
  /// meanwhile.
  void leave();
  /// Returns true on a thread that is inside a callback of the bus or of this client.
  bool inCallback() const;

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
  bool attachStateRunners(const char* signature);
  bool createProtectService(const std::vector<AddressEx>& addresses);
  bool resubscribe(const char* signature, const std::vector<AddressEx>& addresses);

  ListenerList<RoutingClientListener> listeners{"TessivarDDS::RoutingClientListener"};
  RoutingServices services;
  /// That of the services once it is complete: a listener's call may ask for it while subscribe() makes it.
  std::atomic<ProtectRequestReplyService*> protectService{nullptr};
  WaitSetThread thread{"RoutingClient"};

 private:
  struct ProtectListener : RequestReplyClientListener<Tessivar_Routing::Destination> {
    explicit ProtectListener(Private& owner) : owner_(owner) {}
    void ticketChanged(unsigned short ticketId) override { owner_.protectTicketChanged(ticketId); }

   private:
    Private& owner_;
  };

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
