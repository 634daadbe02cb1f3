// SPDX-License-Identifier: Apache-2.0

#include "bench/common/load.h"
#include "bench/ours/roles.h"
#include "tessivar/tessivar.h"

#include <memory>
#include <stdexcept>
#include <string>

namespace tessivar::bench {
namespace {

using namespace TessivarDDS;
using Helper = RoutingMessageHelper;

class Router {
 public:
  explicit Router(const Options& options)
      : domain_(DomainHandle::shared(static_cast<int>(options.number("domain")))), ports_(options.count("ports")) {
    if (!domain_) throw std::runtime_error("no domain");
    services_.attachDomain(domain_.get());
    services_.setUseQosProfiles(true);
    if (!services_.createServerServices()) throw std::runtime_error("the router cannot join the bus");
  }

  Answer prime() {
    const AddressEx unit = unit_address(0);
    for (unsigned index = 0; index < ports_; ++index) {
      for (unsigned short level = 0; level < levels_of_a_router; ++level) {
        write(services_.sourcesNode(), Helper::createSource(unit, 0, level, index, "source " + std::to_string(index)));
        write(services_.destinationsNode(),
              Helper::createDestination(unit, 0, level, index, "destination " + std::to_string(index), false));
      }
    }
    for (unsigned route = 0; route < ports_ * routes_of_a_port; ++route)
      write(&services_.routingService()->valueNode(), Helper::createRoute(unit, 0, route % ports_, route));
    return {};
  }

 private:
  template <class Node, class Sample>
  static void write(Node* node, Sample* sample) {
    slow_down();
    if (!node->writeSample(sample, true)) throw std::runtime_error("a sample of the router cannot be written");
  }

  const DomainHandle domain_;
  const unsigned ports_;
  RoutingServices services_;
};

struct Listener : RoutingClientListener {
  Received samples;

  void routerAdded(const Tessivar_Routing::Router*) override {}
  void routerRemoved(const AddressEx&) override {}
  void sourceChanged(Tessivar_Routing::Source*) override { count(); }
  void destinationChanged(Tessivar_Routing::Destination*) override { count(); }
  void sourceAssociationChanged(Tessivar_Routing::Association*) override {}
  void destinationAssociationChanged(Tessivar_Routing::Association*) override {}
  void routeChanged(const Tessivar_Routing::AssociationRoute*) override { count(); }
  void ticketChanged(DDSPtr<RoutingClient::Ticket>) override {}

 private:
  void count() {
    slow_down();
    samples.count();
  }
};

class Controller {
 public:
  explicit Controller(const Options& options) : options_(options) {}

  Answer join() {
    listener_.samples.begin();
    domain_ = DomainHandle::shared(static_cast<int>(options_.number("domain")));
    if (!domain_) throw std::runtime_error("no domain");
    client_ = std::make_unique<RoutingClient>();
    client_->attachDomain(domain_.get());
    client_->setUseQosProfiles(true);
    client_->attachListener(&listener_, false);
    if (!client_->create() || !client_->subscribe({unit_address(0)}))
      throw std::runtime_error("the controller cannot join the bus");
    return {};
  }
  Answer leave() {
    client_.reset();
    domain_.reset();
    return {};
  }
  Received& samples() { return listener_.samples; }

 private:
  const Options options_;
  Listener listener_;
  DomainHandle domain_;
  std::unique_ptr<RoutingClient> client_;
};

}  // namespace

int run_router(const Options& options) {
  Router router(options);
  return serve({{"prime", [&](const Options&) { return router.prime(); }}});
}

int run_controller(const Options& options) {
  Controller controller(options);
  return serve({
      {"join", [&](const Options&) { return controller.join(); }},
      {"leave", [&](const Options&) { return controller.leave(); }},
      {"await", [&](const Options& how) { return controller.samples().await(how); }},
      {"begin", [&](const Options&) { return controller.samples().begin(); }},
  });
}

}  // namespace tessivar::bench
