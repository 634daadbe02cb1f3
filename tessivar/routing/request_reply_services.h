// SPDX-License-Identifier: Apache-2.0

// The request/reply services that change routes and destinations.
#pragma once

#include "tessivar/framework/address/address_ex.h"
#include "tessivar/framework/requestreply/detail/instances.h"
#include "tessivar/platform/export.h"

#include <string>
#include <vector>

namespace TessivarDDS {

/// Requests, replies and values of routers. A client gets only the values of chosen routers. A server gets all
/// requests; the address in the new value says for which router a request is.
template <class Value, class Req, class Rep>
class TESSIVAR_API RouterRequestReply : public DDSRequestReply<Value, Req, Rep> {
 public:
  ~RouterRequestReply() override;

  /// Sets the routers whose values the client gets; an empty list means all routers. Call it on the client side, after
  /// create(). The values of new routers in the list arrive soon after; the values of the other routers in the list
  /// stay. If it fails, the previous list stays in use.
  bool updateAddresses(const std::vector<AddressEx>& addresses);

 protected:
  /// `serviceClass` is the name of the derived class in log lines. It must be a literal.
  RouterRequestReply(const char* serviceClass, bool isClient, const std::vector<AddressEx>& addresses)
      : DDSRequestReply<Value, Req, Rep>(isClient), serviceClass_(serviceClass), addresses_(addresses) {}

  bool creatValueTopic(const std::string& topicName, DDSDomain* domain) override;

 private:
  const char* const serviceClass_;
  std::vector<AddressEx> addresses_;
};

/// Changes the source association of a destination association.
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

/// Changes a destination: its name, or its protection against new routes.
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
