// What a routing client's thread does with the samples of each reader.
#pragma once

#include "tessivar/framework/waitset/handle_sum_order.h"
#include "tessivar/framework/waitset/wait_set_thread_runner.h"
#include "tessivar/routing/client_private.h"

#include <map>

namespace TessivarDDS {

/// Keeps a copy of each router's last sample, so that it can say who has gone.
class RoutingClient::RoutersRunner : public WaitSetThreadRunner<Tessivar_Routing::Router> {
 public:
  RoutersRunner(Tessivar_Routing::RouterDataReader* reader, Private& owner)
      : WaitSetThreadRunner(reader, {.instanceStateMask = DDS_ANY_INSTANCE_STATE}), owner_(owner) {}

  using WaitSetThreadRunner::processSample;
  void processSample(const Tessivar_Routing::Router& router) override;
  void processInvalidSample(const DDS_SampleInfo& info) override;

 private:
  Private& owner_;
  std::map<DDS_InstanceHandle_t, DDSPtr<Tessivar_Routing::Router>, HandleSumOrder> routers_;
};

/// Sources or destinations.
template <class Sample>
class RoutingClient::PortsRunner : public WaitSetThreadRunner<Sample> {
 public:
  PortsRunner(typename TypeOf<Sample>::DataReader* reader, Private& owner)
      : WaitSetThreadRunner<Sample>(reader, {.instanceStateMask = DDS_ALIVE_INSTANCE_STATE}), owner_(owner) {}

  using WaitSetThreadRunner<Sample>::processSample;
  void processSample(const Sample& sample) override { owner_.processSample(const_cast<Sample*>(&sample)); }

 private:
  Private& owner_;
};

/// The associations of sources or of destinations.
class RoutingClient::AssociationsRunner : public WaitSetThreadRunner<Tessivar_Routing::Association> {
 public:
  AssociationsRunner(Tessivar_Routing::AssociationDataReader* reader, Private& owner, bool sourceSide)
      : WaitSetThreadRunner(reader, {.instanceStateMask = DDS_ALIVE_INSTANCE_STATE}),
        owner_(owner),
        sourceSide_(sourceSide) {}

  using WaitSetThreadRunner::processSample;
  void processSample(const Tessivar_Routing::Association& association) override {
    owner_.processSample(const_cast<Tessivar_Routing::Association*>(&association), sourceSide_);
  }

 private:
  Private& owner_;
  const bool sourceSide_;
};

}  // namespace TessivarDDS
