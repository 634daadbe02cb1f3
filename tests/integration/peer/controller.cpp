// SPDX-License-Identifier: Apache-2.0

#include "peer/flood.h"
#include "peer/roles.h"
#include "tessivar/routing/client.h"

#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <tuple>

namespace tessivar::testing {
namespace {

using namespace TessivarDDS;
using namespace Tessivar_Routing;
using Ticket = RoutingClient::Ticket;

class Controller : public Role, public RoutingClientListener {
 public:
  explicit Controller(DDSDomain* domain) : domain_(domain) { prepare(); }
  ~Controller() override { client_.cleanUp(); }

  bool perform(const Words& words) override {
    const std::string& verb = words.at(0);
    if (verb == "create") return client_.create();
    if (verb == "subscribe") return subscribe(words);
    if (verb == "set") return set(words.at(1), number(words.at(2)), number(words.at(3)));
    if (verb == "flood") return flood(words.at(1), number(words.at(2)), number(words.at(3)), number(words.at(4)));
    if (verb == "count") return counting_ = true;
    if (verb == "await") return await(words);
    if (verb == "clean-up") return client_.cleanUp(), prepare(), true;
    return false;
  }

  void routerAdded(const Router* router) override { event("router-added", router->unitId, router->name); }
  void routerRemoved(const AddressEx& router) override { event("router-removed", router.guid()); }
  void sourceChanged(Source* source) override { changed(0, "source", *source); }
  void destinationChanged(Destination* destination) override {
    changed(1, "destination", *destination);
    if (destination->protect) event("protected", destination->unitId, destination->index);
  }
  void sourceAssociationChanged(Association* association) override { changed(2, "source-association", *association); }
  void destinationAssociationChanged(Association* association) override {
    changed(3, "destination-association", *association);
  }
  void routeChanged(const AssociationRoute* route) override {
    if (!count(4, route->unitId, route->matrix_index, route->dest_index))
      event("route", route->unitId, route->dest_index, route->source_index);
  }
  void ticketChanged(DDSPtr<Ticket> ticket) override {
    if (!ticket || counting_) return;
    const auto reply = ticket->reply.get();
    event("result", static_cast<int>(reply->result), reply->ex ? reply->ex->message : "");
  }

 private:
  void prepare() {
    client_.attachDomain(domain_);
    client_.attachListener(this, false);
  }

  template <class Sample>
  void changed(std::size_t kind, const char* name, const Sample& sample) {
    if (!count(kind, sample.unitId, sample.matrix, sample.index)) {
      event(name, sample.unitId, sample.index, sample.name);
    } else if (std::to_string(sample.index) != sample.name) {
      ++misnamed_;
    }
  }

  /// Returns false if it is not counting.
  bool count(std::size_t kind, const char* unit, unsigned matrix, unsigned index) {
    if (!counting_) return false;
    const std::lock_guard guard(lock_);
    counted_[kind].emplace(unit, matrix, index);
    changed_.notify_all();
    return true;
  }

  bool await(const Words& words) {
    std::unique_lock guard(lock_);
    const bool complete = changed_.wait_for(guard, std::chrono::seconds(100), [&] {
      for (std::size_t kind = 0; kind < counted_.size(); ++kind)
        if (counted_[kind].size() < number(words.at(kind + 1))) return false;
      return true;
    });
    event("misnamed", misnamed_.load());
    return complete;
  }

  bool subscribe(const Words& words) {
    std::vector<AddressEx> addresses;
    for (std::size_t i = 1; i < words.size(); ++i) addresses.emplace_back(words[i].c_str());
    return client_.subscribe(addresses);
  }

  DDSPtr<Ticket> begin(const std::string& unit, unsigned destination, unsigned source) {
    DDSPtr route(AssociationRouteTypeSupport::create_data());
    DDS_String_replace(&route->unitId, unit.c_str());
    route->dest_index = destination;
    route->source_index = source;
    return client_.beginSetRoute(route);
  }

  bool set(const std::string& unit, unsigned destination, unsigned source) {
    DDSPtr<Ticket> ticket = begin(unit, destination, source);
    if (!ticket) return false;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    int result = -1;
    while (result != COMPLETE && result != FAILED && std::chrono::steady_clock::now() < deadline) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
      if (ticket->received.exchange(false)) result = ticket->reply->result;
    }
    event("set", result);
    return client_.completeSetRoute(ticket);
  }

  bool flood(const std::string& unit, unsigned first, unsigned count, unsigned window) {
    return testing::flood(
        first, count, window, [&](unsigned value) { return begin(unit, value, value); },
        [&](DDSPtr<Ticket>& ticket) { client_.completeSetRoute(ticket); });
  }

  DDSDomain* const domain_;
  std::atomic<bool> counting_ = false;
  std::atomic<int> misnamed_ = 0;
  std::mutex lock_;
  std::condition_variable changed_;
  std::array<std::set<std::tuple<std::string, unsigned, unsigned>>, 5> counted_;
  RoutingClient client_;
};

}  // namespace

std::unique_ptr<Role> make_controller(DDSDomain* domain) {
  return std::make_unique<Controller>(domain);
}

}  // namespace tessivar::testing
