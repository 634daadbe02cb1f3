// SPDX-License-Identifier: Apache-2.0

#include "tests/control/support/device_and_controller.h"

#include <sstream>

#include <nlohmann/json.hpp>

namespace TessivarDDS {
namespace {

using namespace tessivar::testing;
using namespace ::testing;

EndpointReport find(const Report& report, const std::string& topic, bool writer) {
  for (const EndpointReport& endpoint : report.endpoints) {
    if (endpoint.topic == topic && endpoint.writer == writer) return endpoint;
  }
  ADD_FAILURE() << topic << " is not in\n" << report;
  return {};
}

typedef DeviceAndController ReportTest;

TEST_F(ReportTest, CountsSamplesAndListsPeers) {
  Report during;
  node_listener_.answer = [&](TessivarNode* node, const Tessivar::CommandChangeRequest* request) {
    if (during.domainId < 0) during = node->report();
    return DeviceListener::complete(node, request);
  };
  EXPECT_THAT(node_.report().domainId, -1);
  EXPECT_THAT(nlohmann::json::parse(to_json(client_.report()))["endpoints"], IsEmpty());
  start();

  for (int value = 0; value < 3; ++value) node_.publishCommand(Helper::createCommand(camera, 1, value), true);
  DDSPtr unencodable(Helper::createCommand(camera, 1, 0));
  unencodable->value._d = static_cast<Tessivar::CommandType>(77);
  EXPECT_FALSE(node_.publishCommand(unencodable));
  EXPECT_TRUE(client_.setCommand(command_, 20000));
  DDSPtr ticket = client_.beginSetCommand(command_);

  const EndpointReport sent = find(node_.report(), "Orvel.Tessivar.Commands", true);
  EXPECT_EQ(sent.sent, 3u);
  EXPECT_EQ(sent.failed_to_encode, 1u);
  EXPECT_TRUE(eventually([&] {
    const EndpointReport received = find(client_.report(), "Orvel.Tessivar.Commands", false);
    return received.received == 3 && received.waiting == 0;
  }));
  EXPECT_EQ(sent.matched, 1u);
  EXPECT_EQ(sent.type, "Tessivar::Command");
  EXPECT_GT(sent.last_change, 0);
  ASSERT_EQ(during.exchanges.size(), 1u) << "taken within a callback";
  EXPECT_EQ(during.exchanges[0].counts.requestsReceived, 1u);

  const auto json = nlohmann::json::parse(to_json(client_.report()));
  EXPECT_EQ(json["service"], "TessivarClient");
  EXPECT_EQ(json["domainId"], control_domain);
  EXPECT_EQ(json["exchanges"][0]["topic"], "Orvel.Tessivar.Commands");
  EXPECT_EQ(json["exchanges"][0]["requestsSent"], 2);
  EXPECT_EQ(json["exchanges"][0]["ticketsPending"], 1);
  ASSERT_THAT(json["peers"], SizeIs(1));
  EXPECT_EQ(json["peers"][0]["type"], device_type);
  EXPECT_EQ(json["peers"][0]["admitted"], true);
  EXPECT_THAT(json["peers"][0]["addresses"], StartsWith("127.0.0.1:"));
  std::ostringstream text;
  text << controller_->report();
  EXPECT_THAT(text.str(), AllOf(StartsWith("DDSDomain on domain 90, last change 20"), HasSubstr(" admitted 127.0.0.1:"),
                                HasSubstr(", type 7, since 20"),
                                HasSubstr("  reader Orvel.Tessivar.Commands (Tessivar::Command), matched 1")));
  client_.completeSetCommand(ticket);
  client_.cleanUp();
  EXPECT_THAT(client_.report().endpoints, IsEmpty());
  node_.cleanUp();
  device_->cleanUp();
  EXPECT_TRUE(eventually([&] { return controller_->report().peers.empty(); })) << "it has left";
}

}  // namespace
}  // namespace TessivarDDS
