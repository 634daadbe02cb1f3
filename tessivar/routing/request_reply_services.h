// SPDX-License-Identifier: Apache-2.0

// The exchanges through which routes and destinations are changed.
#pragma once

#include "tessivar/framework/address/address_ex.h"
#include "tessivar/framework/requestreply/detail/instances.h"
#include "tessivar/platform/export.h"

#include <string>
#include <vector>

namespace TessivarDDS {

/// Requests, replies and values of routers, of which a client gets the values of chosen routers only. A server gets all
/// requests: which of them are its own it sees from the new value.
template <class Value, class Req, class Rep>
class TESSIVAR_API RouterRequestReply : public DDSRequestReply<Value, Req, Rep> {
 public:
  ~RouterRequestReply() override;

  /// The routers to get values of from now on; none means all. Client side, once created. The values of routers that
  /// are new among them arrive soon after, those of the others stay. When it fails the old ones stay in force.
  bool updateAddresses(const std::vector<AddressEx>& addresses);

 protected:
  /// `serviceClass` is the derived class in messages, a literal.
  RouterRequestReply(const char* serviceClass, bool isClient, const std::vector<AddressEx>& addresses)
      : DDSRequestReply<Value, Req, Rep>(isClient), serviceClass_(serviceClass), addresses_(addresses) {}

  bool creatValueTopic(const std::string& topicName, DDSDomain* domain) override;

 private:
  const char* const serviceClass_;
  std::vector<AddressEx> addresses_;
};

/// Changes which source association feeds a destination association.
class TESSIVAR_API RoutingRequestReplyService
    : public RouterRequestReply<Tessivar_Routing::AssociationRoute, Tessivar_Routing::AssociationRouteChangeRequest,
                                Tessivar_Routing::AssociationRouteChangeReply> {
 public:
  /// `addresses`: the routers whose routes a client gets; none means all.
  RoutingRequestReplyService(bool isClient, const std::vector<AddressEx>& addresses)
      : RouterRequestReply("RoutingRequestReplyService", isClient, addresses) {
    ticketCompletion_ = "completeSetRoute";
  }
};

/// Changes a destination: its name, or its protection against being routed to.
class TESSIVAR_API ProtectRequestReplyService
    : public RouterRequestReply<Tessivar_Routing::Destination, Tessivar_Routing::DestinationChangeRequest,
                                Tessivar_Routing::DestinationChangeReply> {
 public:
  /// `addresses`: the routers whose destinations a client gets; none means all.
  ProtectRequestReplyService(bool isClient, const std::vector<AddressEx>& addresses)
      : RouterRequestReply("ProtectRequestReplyService", isClient, addresses) {
    ticketCompletion_ = "completeProtect";
  }
};

extern template class RouterRequestReply<Tessivar_Routing::AssociationRoute,
                                         Tessivar_Routing::AssociationRouteChangeRequest,
                                         Tessivar_Routing::AssociationRouteChangeReply>;
extern template class RouterRequestReply<Tessivar_Routing::Destination, Tessivar_Routing::DestinationChangeRequest,
                                         Tessivar_Routing::DestinationChangeReply>;

}  // namespace TessivarDDS
