// SPDX-License-Identifier: Apache-2.0

// Tests how the QoS of a participant becomes the configuration of the engine.
#include "tessivar/platform/cyclone/configuration.h"

#include "support/bus.h"
#include "tessivar/platform/cyclone/network/network.h"
#include "tessivar/platform/participant/participant_config.h"

namespace platform_test {
namespace {

using namespace tessivar::platform;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

TEST(ConfigurationTest, ReadsPeersInAllForms) {
  const std::pair<const char*, const char*> cases[] = {
      // the peer, and its <address> or the reason for a refusal
      {"builtin.udpv4://studio-1:7410", "<studio-1:7410>"},
      {"4@builtin.udpv4://10.1.2.3", "<10.1.2.3>"},
      {"2@builtin.shmem://", "<>"},
      {"builtin.udpv4://", "address is missing"},
      {"200@10.0.0.1", "number before the @"},
  };
  for (const auto& [text, expected] : cases) {
    std::string error;
    const auto peer = parse_peer(text, error);
    EXPECT_THAT(peer ? "<" + peer->address + ">" : error, HasSubstr(expected));
  }
  EXPECT_EQ(cyclone::resolve_peer("localhost:7412"), "127.0.0.1:7412");
  for (const char* bad : {"", ":7400", "127.0.0.1:", "127.0.0.1:0", "127.0.0.1:70000", "127.0.0.1:74x", "a.invalid"})
    EXPECT_EQ(cyclone::resolve_peer(bad), std::nullopt) << bad;
}

TEST(ConfigurationTest, ChoosesInterfacesByNameAddressOrPattern) {
  const Interface lo = {"lo", "127.0.0.1", true}, a = {"eth0", "10.1.2.3", false}, b = {"eth1", "10.2.0.7", false};
  const std::pair<std::vector<std::string>, std::vector<Interface>> cases[] = {
      {{"10.2.0.7"}, {b}}, {{"10.1.*"}, {a}}, {{"eth?"}, {a, b}}, {{"eth1", "127.*"}, {lo, b}}};
  std::string error;
  for (const auto& [wanted, chosen] : cases) EXPECT_EQ(cyclone::select_interfaces(wanted, {lo, a, b}, error), chosen);
  EXPECT_EQ(cyclone::select_interfaces({"eth7", "10.9.*"}, {lo, a}, error), std::nullopt);
  EXPECT_THAT(error, AllOf(HasSubstr("\"eth7\" \"10.9.*\""), HasSubstr("lo (127.0.0.1) eth0 (10.1.2.3)")));
}

TEST(ConfigurationTest, PassesTheQosToTheEngine) {
  DDS_DomainParticipantQos qos = loopback_qos();
  qos.discovery.initial_peers = strings({"builtin.udpv4://127.0.0.9", "builtin.shmem://", "40@127.0.0.8", "a.invalid"});
  EngineParticipantConfig config;
  std::string error;
  ASSERT_EQ(make_config(5, qos, config, error), DDS_RETCODE_OK) << error;
  for (const bool multicast : {false, true}) {
    config.multicast = multicast;
    const std::string text = cyclone::engine_configuration(config, error).value_or(error);
    EXPECT_THAT(text, HasSubstr(multicast ? "<AllowMulticast>true<" : "<AllowMulticast>false<"));
    EXPECT_THAT(text, HasSubstr("<Peer address=\"127.0.0.9\"/><Peer address=\"127.0.0.8\"/></Peers>"));
    EXPECT_THAT(text, AllOf(HasSubstr("<MaxAutoParticipantIndex>41<"), Not(HasSubstr("invalid"))));
  }
}

}  // namespace
}  // namespace platform_test
