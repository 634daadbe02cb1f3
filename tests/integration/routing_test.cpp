// SPDX-License-Identifier: Apache-2.0

// Tests routers and their controllers in several processes: requests, subscriptions, and a router that is killed. The
// controllers are in the process of the test.
#include "support/bus_peer.h"
#include "tessivar/framework/domain/domain_handle.h"
#include "tessivar/routing/message_helper.h"
#include "tessivar/routing/services.h"
#include "tests/routing/support/listener.h"

#include <atomic>

namespace tessivar::testing {
namespace {

using namespace TessivarDDS;
using namespace Tessivar_Routing;
using ::testing::AllOf;
using ::testing::Each;
using ::testing::Not;
using ::testing::StartsWith;

const std::string router = "0001:03:01";

/// A controller with its own participant that subscribes to the router.
struct Controller {
  explicit Controller(const std::function<void(const std::string&)>& during = [](const std::string&) {}) {
    listener.during = during;
    client.attachDomain(domain.get());
    client.attachListener(&listener, false);
    EXPECT_TRUE(client.create() && client.subscribe({AddressEx(router.c_str())}));
  }
  ~Controller() { client.cleanUp(); }

  /// Returns the last reply to a request. A request is lost if the device has not matched its writer yet.
  DDSPtr<AssociationRouteChangeReply> set(unsigned destination, unsigned source,
                                          std::chrono::milliseconds limit = patience) {
    DDSPtr route(RoutingMessageHelper::createRoute(AddressEx(router.c_str()), 0, source, destination));
    DDSPtr<RoutingClient::Ticket> ticket = client.beginSetRoute(route);
    const auto ended = [&] {
      return ticket->received.exchange(false) && (ticket->reply->result == COMPLETE || ticket->reply->result == FAILED);
    };
    eventually(ended, limit);
    const DDSPtr<AssociationRouteChangeReply> last = ticket->reply;
    client.completeSetRoute(ticket);
    return last;
  }
  /// Waits until requests arrive.
  void join(BusPeer& device) {
    ASSERT_TRUE(device.does("route " + router + " 1 0"));
    ASSERT_TRUE(events.happens("route 1 from 0"));
    ASSERT_TRUE(eventually([&] { return set(1, 0, std::chrono::seconds(1))->result == COMPLETE; }));
    events.take(0);
    device.events("");
  }

  const DomainHandle domain = DomainHandle::exclusive(own_domain());
  Events events;
  RoutingListener listener{events};
  RoutingClient client;
};

TEST(RoutingProcessTest, RouteRequestEndsWithTheReplyOfTheRouter) {
  std::atomic<int> replies = 0;
  BusPeer device("router");
  Controller controller([&](const std::string&text) { replies += text.starts_with("ticket"); }), other;
  controller.join(device);
  other.join(device);
  EXPECT_EQ(controller.set(7, 42)->result, COMPLETE);
  EXPECT_TRUE(controller.events.happens("route 7 from 42"));
  EXPECT_TRUE(device.sees("request " + router + " 7 42"));
  EXPECT_TRUE(other.events.happens("route 7 from 42"));
  EXPECT_THAT(other.events.take(0), Each(AllOf(Not(StartsWith("ticket")), Not(StartsWith("failed")))));

  ASSERT_TRUE(device.does("answer refuse protected"));
  const DDSPtr<AssociationRouteChangeReply> refused = controller.set(7, 43);
  EXPECT_EQ(refused->result, FAILED);
  EXPECT_STREQ(refused->ex->message, "protected");
  EXPECT_THAT(controller.events.take(0), Each(Not(StartsWith("route 7"))));

  ASSERT_TRUE(device.does("answer progress 3 50"));
  replies = 0;
  EXPECT_EQ(controller.set(7, 44)->result, COMPLETE);
  EXPECT_TRUE(eventually([&] { return replies >= 4; })) << "the first one, and three of the progress";
}

TEST(RoutingProcessTest, KilledRouterIsReportedAndFoundAgain) {
  Controller controller;
  const auto appears = [&](BusPeer& device, const std::string& port) {
    ASSERT_TRUE(device.does({"announce " + router + " name", "port " + router + ' ' + port + " name",
                             "route " + router + ' ' + port + " 3"}));
    for (const char* event : {"added 0001:03:01", "source ", "destination ", "source of ", "to ", "route "}) {
      const std::string text = event + (event[0] == 'a' ? "" : port);
      EXPECT_TRUE(controller.events.happens(event[0] == 'r' ? text + " from 3" : text)) << text;
    }
  };
  {
    BusPeer device("router");
    appears(device, "5");
    device.kill();
  }
  ASSERT_TRUE(controller.events.happens("removed " + router));
  BusPeer device("router");
  appears(device, "6");
  EXPECT_TRUE(eventually([&] { return controller.set(5, 8, std::chrono::seconds(1))->result == COMPLETE; }));
  ASSERT_TRUE(device.does("withdraw " + router));
  EXPECT_TRUE(controller.events.happens("removed " + router));
  EXPECT_TRUE(device.quits());
}

/// Returns the number of samples at the reader of a node, without those whose name is not their index.
template <class Node>
std::size_t well_named(Node& node) {
  auto& reader = *node.dataReader();
  typename std::remove_reference_t<decltype(reader)>::Seq samples;
  DDS_SampleInfoSeq infos;
  reader.read(samples, infos, DDS_LENGTH_UNLIMITED, DDS_ANY_SAMPLE_STATE, DDS_ANY_VIEW_STATE, DDS_ALIVE_INSTANCE_STATE);
  std::size_t count = 0;
  for (DDS_Long i = 0; i < samples.length(); ++i) {
    if constexpr (requires { samples[i].dest_index; }) {
      count += samples[i].dest_index == samples[i].source_index;
    } else {
      count += std::to_string(samples[i].index) == samples[i].name;
    }
  }
  reader.return_loan(samples, infos);
  return count;
}

class LargeRouterTest : public ::testing::TestWithParam<const char*> {};

// Four matrices of 2,000 by 2,000 ports, each with 4,000 associations on both sides and 4,000 routes.
TEST_P(LargeRouterTest, ReachesEarlyAndLateControllers) {
  constexpr std::chrono::milliseconds long_time{110000};
  const auto expect_everything = [&](Controller& controller, const std::atomic<int>& told) {
    EXPECT_TRUE(eventually([&] { return told == 64000; }, long_time)) << told;
    RoutingServices& services = *controller.client.services();
    EXPECT_EQ(well_named(*services.sourcesNode()), 8000u);
    EXPECT_EQ(well_named(*services.destinationsNode()), 8000u);
    EXPECT_EQ(well_named(*services.sourceAssociations()), 16000u);
    EXPECT_EQ(well_named(*services.destinationAssociations()), 16000u);
    EXPECT_EQ(well_named(services.routingService()->valueNode()), 16000u);
  };
  std::atomic<int> told_early = 0, told_late = 0;
  Controller early([&](auto&) { ++told_early; });
  BusPeer device("router");
  ASSERT_TRUE(device.does(std::string("batching ") + GetParam()));
  device.begin("fill " + router + " 4 2000 4000");
  ASSERT_TRUE(device.sees("did fill ok", long_time));
  expect_everything(early, told_early);
  Controller late([&](auto&) { ++told_late; });
  expect_everything(late, told_late);
}

INSTANTIATE_TEST_SUITE_P(Batching, LargeRouterTest, ::testing::Values("on", "off"),
                         [](const auto& tested) { return std::string(tested.param); });

}  // namespace
}  // namespace tessivar::testing
