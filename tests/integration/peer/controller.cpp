// SPDX-License-Identifier: Apache-2.0

#include "peer/roles.h"
#include "tessivar/routing/client.h"
#include "tessivar/routing/message_helper.h"

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
  explicit Controller(DDSDomain* domain) {
    client_.attachDomain(domain);
    client_.attachListener(this, false);
  }
  ~Controller() override { client_.cleanUp(); }

  bool perform(const Words& words) override {
    const std::string& verb = words.at(0);
    if (verb == "create") return client_.create();
    if (verb == "subscribe") return subscribe(words);
    if (verb == "set") return set(words.at(1), number(words.at(2)), number(words.at(3)));
    if (verb == "count") return counting_ = true;
    if (verb == "await") return await(words);
    return false;
  }

  void routerAdded(const Router* router) override { event("router-added", router->unitId, router->name); }
  void routerRemoved(const AddressEx& router) override { event("router-removed", router.guid()); }
  void sourceChanged(Source* source) override { changed(0, "source", *source); }
  void destinationChanged(Destination* destination) override { changed(1, "destination", *destination); }
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

  bool set(const std::string& unit, unsigned destination, unsigned source) {
    DDSPtr route(RoutingMessageHelper::createRoute(AddressEx(unit.c_str()), 0, source, destination));
    DDSPtr<Ticket> ticket = client_.beginSetRoute(route);
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
