// SPDX-License-Identifier: Apache-2.0

// The runners with which a routing client's thread processes the samples of its readers.
#pragma once

#include "tessivar/framework/waitset/handle_sum_order.h"
#include "tessivar/framework/waitset/wait_set_thread_runner.h"
#include "tessivar/routing/internal/client_private.h"

#include <functional>
#include <map>
#include <utility>

namespace TessivarDDS {

/// Keeps a copy of each router's last sample, to report the address when a router ends.
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

/// Reports each source, destination or association that has changed or ended. The samples stay in the reader, which
/// compares them with the samples of a new subscription.
template <class Sample>
class RoutingClient::StateRunner : public WaitSetThreadRunner<Sample> {
 public:
  typedef std::function<void(Sample*)> Changed;
  typedef std::function<void(const Sample*)> Removed;

  /// `removed` gets a sample with only the key members.
  StateRunner(typename TypeOf<Sample>::DataReader* reader, Changed changed, Removed removed)
      : WaitSetThreadRunner<Sample>(reader, {.maxSamples = samplesPerCycle, .take = false}),
        changed_(std::move(changed)),
        removed_(std::move(removed)) {}

  using WaitSetThreadRunner<Sample>::processSample;
  void processSample(const Sample& sample) override { changed_(const_cast<Sample*>(&sample)); }
  void processInvalidSample(const DDS_SampleInfo& info) override {
    const DDSPtr<Sample> key(TypeOf<Sample>::TypeSupport::create_data());
    if (key && this->typedReader()->get_key_value(*key, info.instance_handle) == DDS_RETCODE_OK) removed_(key.get());
  }

 private:
  const Changed changed_;
  const Removed removed_;
};

}  // namespace TessivarDDS
