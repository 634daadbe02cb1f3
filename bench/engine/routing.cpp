// SPDX-License-Identifier: Apache-2.0

#include "bench/common/load.h"
#include "bench/engine/bus.h"
#include "bench/engine/roles.h"

#include <cstdio>
#include <memory>

namespace tessivar::bench {
namespace {

constexpr const char* sources_name = "Orvel_Tessivar_Sources";
constexpr const char* destinations_name = "Orvel_Tessivar_Destinations";
constexpr const char* routes_name = "Orvel_Tessivar_Routes";

/// Writes sources and destinations together, and each route at once, as the library does. Needs the option batched=1.
class Router {
 public:
  explicit Router(const Options& options) : bus_(options), ports_(options.count("ports")) {
    Qos qos;
    set_state(qos);
    sources_ = bus_.writer(bus_.topic(sources_name, Bench_Source_desc), qos);
    destinations_ = bus_.writer(bus_.topic(destinations_name, Bench_Destination_desc), qos);
    routes_ = bus_.writer(bus_.topic(routes_name, Bench_Route_desc), qos);
  }

  Answer prime() {
    Bench_Source source = {};
    Bench_Destination destination = {};
    Bench_Route route = {};
    set_address(source.unitId, 0);
    set_address(destination.unitId, 0);
    set_address(route.unitId, 0);
    for (unsigned index = 0; index < ports_; ++index) {
      std::snprintf(source.name, sizeof source.name, "source %u", index);
      std::snprintf(destination.name, sizeof destination.name, "destination %u", index);
      source.port = destination.port = index;
      for (std::uint16_t level = 0; level < levels_of_a_router; ++level) {
        source.level = destination.level = level;
        checked(dds_write(sources_, &source), "dds_write");
        checked(dds_write(destinations_, &destination), "dds_write");
      }
    }
    dds_write_flush(sources_);
    dds_write_flush(destinations_);
    for (unsigned i = 0; i < ports_ * routes_of_a_port; ++i) {
      route.source = i % ports_;
      route.destination = i;
      checked(dds_write(routes_, &route), "dds_write");
      dds_write_flush(routes_);
    }
    return {};
  }

 private:
  Bus bus_;
  const unsigned ports_;
  dds_entity_t sources_ = 0;
  dds_entity_t destinations_ = 0;
  dds_entity_t routes_ = 0;
};

class Controller {
 public:
  explicit Controller(const Options& options) : options_(options) {}

  Answer join() {
    samples_.begin();
    bus_ = std::make_unique<Bus>(options_);
    listen<Bench_Source>(sources_name, Bench_Source_desc);
    listen<Bench_Destination>(destinations_name, Bench_Destination_desc);
    listen<Bench_Route>(routes_name, Bench_Route_desc);
    return {};
  }
  Answer leave() {
    bus_.reset();
    return {};
  }
  Received& samples() { return samples_; }

 private:
  template <class Sample>
  void listen(const char* name, const dds_topic_descriptor_t& type) {
    Qos qos;
    set_state(qos);
    bus_->reader(bus_->topic(name, type), qos, [this](dds_entity_t reader) {
      take_all<Sample>(reader, [this](const Sample&) { samples_.count(); });
    });
  }

  const Options options_;
  Received samples_;
  std::unique_ptr<Bus> bus_;
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
