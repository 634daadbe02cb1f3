// SPDX-License-Identifier: Apache-2.0

// Tests devices and controllers on two hosts, on one network and on two networks.
#include "support/bus_peer.h"
#include "support/hosts.h"

#include <iostream>
#include <memory>

#include <gmock/gmock.h>

namespace tessivar::testing {
namespace {

using ::testing::HasSubstr;

constexpr const char* unit = "0001:02:0A";
constexpr const char* not_permitted =
    "network namespaces cannot be made here: tested on the loopback interface alone\n";

/// The log line of a wait that found no participant.
std::string alone(const std::string& interface, const std::string& peers) {
  return "No other participant was discovered: domain " + std::to_string(own_domain()) + ", interfaces " + interface +
         ", peers " + peers + ", multicast off, other participants seen: 0";
}

TEST(TwoHostsTest, DiscoverEachOtherByPeersOrMulticast) {
  if (!Hosts::permitted()) {
    std::cerr << not_permitted;
    BusPeer client("client", {}, {"/usr/bin/env", "TESSIVAR_PEERS=10.255.255.1"});
    ASSERT_TRUE(client.does("create"));
    client.begin("match 100");
    EXPECT_TRUE(client.sees("did match failed"));
    EXPECT_THAT(client.transcript(), HasSubstr(alone("lo (127.0.0.1)", "10.255.255.1")));
    BusPeer device("device", {}, {"/usr/bin/env", "TESSIVAR_MULTICAST=1"});
    EXPECT_TRUE(client.does("match 20000"));
    return;
  }
  const Hosts hosts({"red"});
  for (const std::string& setting : {"TESSIVAR_PEERS=" + hosts.addresses("a"), std::string("TESSIVAR_MULTICAST=1")}) {
    SCOPED_TRACE(setting);
    const bool multicast = setting == "TESSIVAR_MULTICAST=1";
    BusPeer device("device", {}, hosts.on("a", {multicast ? setting : "TESSIVAR_MULTICAST=0"}));
    {
      BusPeer lonely("client", {}, hosts.on("b"));
      ASSERT_TRUE(lonely.does("create"));
      for (const char* command : {"match 100", "set 0001:02:0A 1 5 100"}) {
        const std::size_t before = lonely.transcript().size();
        lonely.begin(command);
        EXPECT_TRUE(lonely.sees("did"));
        EXPECT_THAT(lonely.transcript().substr(before), HasSubstr(alone("red (10.90.0.2)", "none")));
      }
    }
    BusPeer client("client", {}, hosts.on("b", {setting}));
    ASSERT_TRUE(client.does({"create", "match 20000"}));
  }
}

/// A device and a controller on two hosts with two networks. The parameter is the way of discovery.
class TwoNetworksTest : public ::testing::TestWithParam<const char*> {
 protected:
  void start() {
    if (Hosts::permitted()) hosts = std::make_unique<Hosts>(std::vector<std::string>{"red", "blue"});
    const bool multicast = std::string(GetParam()) == "multicast";
    const auto launcher = [&](const char* host, const char* other) -> std::vector<std::string> {
      const std::string setting =
          multicast ? "TESSIVAR_MULTICAST=1" : "TESSIVAR_PEERS=" + (hosts ? hosts->addresses(other) : "127.0.0.1");
      if (!hosts) return {"/usr/bin/env", setting};
      return hosts->on(host, {setting});
    };
    device = std::make_unique<BusPeer>("device", std::vector<std::string>(), launcher("a", "b"));
    client = std::make_unique<BusPeer>("client", std::vector<std::string>(), launcher("b", "a"));
    ASSERT_TRUE(device->does(std::string("unit ") + unit + " camera"));
    ASSERT_TRUE(client->does({"create", "match 20000"}));
  }
  std::string next() { return std::string("value ") + unit + " 1 " + std::to_string(++value); }
  /// Tests that every change and every request arrives.
  void works(const char* what) {
    SCOPED_TRACE(what);
    for (int i = 0; i < 5; ++i) {
      const std::string change = next();
      ASSERT_TRUE(device->does(change));
      ASSERT_TRUE(client->sees(change));
    }
    ASSERT_TRUE(client->does("match 20000"));  // after a cut, values may arrive before the request writer is matched
    ASSERT_TRUE(client->does(std::string("set ") + unit + " 2 " + std::to_string(value) + " 5000"));
    ASSERT_TRUE(client->sees("set true"));
  }

  std::unique_ptr<Hosts> hosts;
  std::unique_ptr<BusPeer> device, client;
  int value = 0;
};

TEST_P(TwoNetworksTest, OneOfThemIsEnough) {
  start();
  works("both networks");
  if (!hosts) {
    std::cerr << not_permitted;
    return;
  }
  hosts->cut("red");
  works("red cut");
  hosts->heal("red");
  hosts->cut("blue");
  works("blue cut, red healed just before");
  EXPECT_TRUE(client->saw_nothing_of("unit-removed"));

  // Both networks fail until the lease has ended. The changes of this time arrive when the first network works again.
  hosts->cut("red");
  const std::string change = next();
  ASSERT_TRUE(device->does(change));
  ASSERT_TRUE(client->sees("unit-removed"));
  hosts->heal("blue");
  EXPECT_TRUE(client->sees(change));
  works("blue healed");
  hosts->heal("red");
  works("both healed");
}

INSTANTIATE_TEST_SUITE_P(By, TwoNetworksTest, ::testing::Values("multicast", "peers"),
                         [](const auto& test) { return std::string(test.param); });

}  // namespace
}  // namespace tessivar::testing
