// SPDX-License-Identifier: Apache-2.0

#include "bench/common/load.h"
#include "bench/ours/roles.h"
#include "tessivar/tessivar.h"

#include <algorithm>
#include <stdexcept>
#include <string>
#include <vector>

namespace tessivar::bench {
namespace {

using namespace TessivarDDS;
using Helper = TessivarMessageHelper;

/// Answers each request with COMPLETE, without a change.
struct Listener : TessivarNodeListener {
  Tessivar::CommandChangeReply* commandChangeRequested(TessivarNode*,
                                                       const Tessivar::CommandChangeRequest* request) override {
    slow_down();
    return Helper::createReply(request, Tessivar::COMPLETE, nullptr);
  }
  void interestRegistered(TessivarNode*, const Tessivar::CommandInterest*) override {}
  void interestRemoved(TessivarNode*, const AddressEx&, unsigned int, unsigned int) override {}
};

class Device {
 public:
  explicit Device(const Options& options) : domain_(DomainHandle::shared(static_cast<int>(options.number("domain")))) {
    const unsigned instances = options.count("instances", 1);
    const bool profiles = options.count("profiles", 0) != 0;
    if (!domain_) throw std::runtime_error("no domain");
    node_.attachDomain(domain_.get());
    node_.attachListener(&listener_, false);
    node_.setUseQosProfiles(profiles);
    if (!node_.create()) throw std::runtime_error("the device cannot join the bus");
    for (unsigned first = 0; first < instances; first += commands_of_a_unit) {
      const AddressEx address = unit_address(first / commands_of_a_unit);
      if (!node_.addUnit(DDSPtr(Helper::createUnit(address, "unit")))) throw std::runtime_error("no unit");
      for (unsigned number = 0; number < std::min(commands_of_a_unit, instances - first); ++number)
        commands_.emplace_back(Helper::createCommand(address, number, 0));
    }
    if (profiles) batching_ = node_.services()->commandService()->valueNode().dataWriter();
  }

  void send(unsigned instance) {
    slow_down();
    const DDSPtr<Tessivar::Command>& command = commands_[instance];
    ++command->value._u.intValue;
    if (!node_.publishCommand(command)) throw std::runtime_error("a value cannot be published");
  }
  void flush() {
    if (batching_ && batching_->flush() != DDS_RETCODE_OK) throw std::runtime_error("values cannot be flushed");
  }
  unsigned instances() const { return static_cast<unsigned>(commands_.size()); }
  Answer prime() {
    for (unsigned instance = 0; instance < instances(); ++instance) send(instance);
    flush();
    return {};
  }

 private:
  const DomainHandle domain_;
  Listener listener_;
  TessivarNode node_;
  std::vector<DDSPtr<Tessivar::Command>> commands_;
  DDSDataWriter* batching_ = nullptr;
};

}  // namespace

int run_device(const Options& options) {
  Device device(options);
  const auto send = [&device](unsigned instance) { device.send(instance); };
  return serve({
      {"publish", [&](const Options& how) { return publish(how, device.instances(), send, [&] { device.flush(); }); }},
      {"prime", [&](const Options&) { return device.prime(); }},
      {"memory", [](const Options&) { return memory(); }},
  });
}

}  // namespace tessivar::bench
