// SPDX-License-Identifier: Apache-2.0

// Samples of routers, and a listener of a controller that records its calls.
#pragma once

#include "tessivar/routing/client.h"
#include "tests/support/loopback.h"

namespace tessivar::testing {

template <class Sample>
TessivarDDS::DDSPtr<Sample> make(const std::string& unit, unsigned index = 0) {
  TessivarDDS::DDSPtr<Sample> sample(Sample::TypeSupport::create_data());
  DDS_String_replace(&sample->unitId, unit.c_str());
  if constexpr (requires { sample->index; }) sample->index = index;
  if constexpr (requires { sample->dest_index; }) sample->dest_index = index;
  if constexpr (requires { sample->protect; }) sample->protect = DDS_BOOLEAN_TRUE;
  return sample;
}

/// Records its calls as texts, and calls `during` with each text.
class RoutingListener : public TessivarDDS::RoutingClientListener {
 public:
  explicit RoutingListener(Events& events) : events_(events) {}
  void routerAdded(const Tessivar_Routing::Router* router) override { note("added ", router->unitId); }
  void routerRemoved(const TessivarDDS::AddressEx& router) override { note("removed ", router.toString()); }
  void sourceChanged(Tessivar_Routing::Source* sample) override { note("source ", std::to_string(sample->index)); }
  void destinationChanged(Tessivar_Routing::Destination* sample) override {
    note("destination ", std::to_string(sample->index));
  }
  void sourceAssociationChanged(Tessivar_Routing::Association* sample) override {
    note("source of ", std::to_string(sample->index));
  }
  void destinationAssociationChanged(Tessivar_Routing::Association* sample) override {
    note("to ", std::to_string(sample->index));
  }
  void routeChanged(const Tessivar_Routing::AssociationRoute* sample) override {
    note("route ", std::to_string(sample->dest_index) + " from " + std::to_string(sample->source_index));
  }
  void ticketChanged(TessivarDDS::DDSPtr<TessivarDDS::RoutingClient::Ticket> ticket) override {
    if (ticket)  // it may be completed meanwhile
      note(ticket->reply->result == Tessivar_Routing::FAILED ? "failed " : "ticket ", std::to_string(ticket->ticketId));
  }
  void protectTicketChanged(TessivarDDS::DDSPtr<TessivarDDS::RoutingClient::ProtectTicket> ticket) override {
    if (ticket)
      note(ticket->reply->result == Tessivar_Routing::FAILED ? "not protected " : "protected ",
           std::to_string(ticket->ticketId));
  }
  void sourceRemoved(const Tessivar_Routing::Source* key) override { note("no source ", std::to_string(key->index)); }
  void destinationRemoved(const Tessivar_Routing::Destination* key) override {
    note("no destination ", std::to_string(key->index));
  }
  void sourceAssociationRemoved(const Tessivar_Routing::Association* key) override {
    note("no source of ", std::to_string(key->index));
  }
  void destinationAssociationRemoved(const Tessivar_Routing::Association* key) override {
    note("none to ", std::to_string(key->index));
  }
  void routeRemoved(const Tessivar_Routing::AssociationRoute* key) override {
    note("no route ", std::to_string(key->dest_index));
  }
  std::function<void(const std::string&)> during = [](const std::string&) {};

 private:
  void note(const char* what, const std::string& which) {
    events_.add(what + which);
    during(what + which);
  }
  Events& events_;
};

}  // namespace tessivar::testing
