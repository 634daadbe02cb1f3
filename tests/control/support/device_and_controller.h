// SPDX-License-Identifier: Apache-2.0

// A device and a controller that communicate with each other.
#pragma once

#include "tests/control/support/listeners.h"

namespace tessivar::testing {

/// A node and a client, each on its own domain, and the events of their listeners.
class DeviceAndController : public ::testing::Test {
 protected:
  static constexpr int device_type = 7;

  void TearDown() override {
    node_.cleanUp();
    client_.cleanUp();
  }

  void attach() {
    node_.attachListener(&node_listener_, false);
    client_.attachListener(&client_listener_, false);
    node_.attachDomain(device_.get());
    client_.attachDomain(controller_.get());
  }
  /// Creates both and waits for the match. With `units` the node receives only requests and interests for these units.
  void start(const std::vector<TessivarDDS::AddressEx>& units = {}) {
    attach();
    ASSERT_TRUE(units.empty() ? node_.create() : node_.create(units));
    ASSERT_TRUE(client_.create() && client_.waitForMatch(20000));
  }

  LogRecorder log_;
  Events node_hears_, client_hears_;
  DeviceListener node_listener_{node_hears_};
  ControllerListener client_listener_{client_hears_};
  std::unique_ptr<LoopbackDomain> device_ = std::make_unique<LoopbackDomain>(
      control_domain, [](TessivarDDS::DDSDomain& domain) { domain.setType(device_type); });
  std::unique_ptr<LoopbackDomain> controller_ = std::make_unique<LoopbackDomain>(control_domain);
  TessivarDDS::TessivarNode node_;
  TessivarDDS::TessivarClient client_;
  const TessivarDDS::DDSPtr<Tessivar::CommandMetadata> metadata_{Helper::createMetadata(camera, 1)};
  const TessivarDDS::DDSPtr<Tessivar::Unit> unit_{Helper::createUnit(camera, "camera")};
  TessivarDDS::DDSPtr<Tessivar::Command> command_{Helper::createCommand(camera, 1, 5)};
};

}  // namespace tessivar::testing
