// SPDX-License-Identifier: Apache-2.0

#include "tessivar/routing/client.h"

#include "tessivar/routing/services.h"
#include "tests/routing/support/listener.h"
#include "tests/support/log_recorder.h"

#include <set>

namespace TessivarDDS {
namespace {

using namespace Tessivar_Routing;
using namespace tessivar::testing;
using namespace ::testing;

constexpr int domain_id = 111;

class RoutingClientTest : public Test,
                          RequestReplyServerListener<AssociationRouteChangeRequest, AssociationRouteChangeReply>,
                          RequestReplyServerListener<DestinationChangeRequest, DestinationChangeReply> {
 protected:
  RoutingClientTest() {
    attach();
    device_.attachDomain(&device_domain_);
  }
  ~RoutingClientTest() override {
    client_.cleanUp();
    device_.cleanUp();
  }
  void attach() {
    client_.attachDomain(&client_domain_);
    client_.attachListener(&listener_, false);
  }
  /// Starts a device, and a client that subscribes to all routers.
  void start() {
    start_device();
    ASSERT_TRUE(client_.create() && client_.subscribe({}));
  }
  void start_device() {
    ASSERT_TRUE(device_.createServerServices());
    device_.routingService()->setListener(this);
    device_.protectService()->setListener(this);
  }
  /// Sends requests until the device receives one.
  bool setsRoute() {
    return eventually([&] {
      DDSPtr ticket = client_.beginSetRoute(route_);
      client_.completeSetRoute(ticket);
      return ticket->reply->result != FAILED;
    });
  }
  template <class NodeOfSamples, class Sample>
  bool tells(NodeOfSamples& node, const DDSPtr<Sample>& sample, const std::string& what) {
    return node.writeSample(sample) && events_.happens(what);
  }
  using RequestReplyServerListener<AssociationRouteChangeRequest, AssociationRouteChangeReply>::processRequest;
  using RequestReplyServerListener<DestinationChangeRequest, DestinationChangeReply>::processRequest;
  AssociationRouteChangeReply* processRequest(const AssociationRouteChangeRequest*) override {
    AssociationRouteChangeReply* reply = AssociationRouteChangeReplyTypeSupport::create_data();
    reply->result = COMPLETE;
    return reply;
  }
  /// Agrees only to protect a destination on the levels 0 and 2.
  DestinationChangeReply* processRequest(const DestinationChangeRequest* request) override {
    const auto& mask = request->level_mask;
    const bool agreed = request->newValue.protect && mask.length() == 3 && mask[0] && !mask[1] && mask[2];
    DestinationChangeReply* reply = DestinationChangeReplyTypeSupport::create_data();
    reply->result = agreed ? COMPLETE : FAILED;
    return reply;
  }
  /// Publishes a sample, waits for its event, disposes it, and waits for the event of its end.
  template <class NodeOfSamples, class Sample>
  bool comesAndGoes(NodeOfSamples& node, const DDSPtr<Sample>& sample, const std::string& what, const char* gone) {
    return tells(node, sample, what) && node.dataWriter()->dispose(*sample, DDS_HANDLE_NIL) == DDS_RETCODE_OK &&
           events_.happens(gone);
  }

  LoopbackDomain client_domain_{domain_id}, device_domain_{domain_id};
  RoutingServices device_;
  Events events_;
  RoutingListener listener_{events_};
  RoutingClient client_;
  LogRecorder log_;
  DDSPtr<AssociationRoute> route_ = make<AssociationRoute>("0001:03:01", 5);
  DDSPtr<Destination> destination_ = make<Destination>("0001:03:01", 5);
};

TEST_F(RoutingClientTest, FailsBeforeCreateAndWithoutRouters) {
  EXPECT_FALSE(client_.subscribe({}));
  EXPECT_THAT(log_.lines(), Contains(EndsWith("Failed to attach runner to thread")));
  client_.cleanUp();
  EXPECT_FALSE(client_.create()) << "the domain is forgotten";
  EXPECT_FALSE(client_.beginSetRoute(route_) || client_.beginProtect(destination_));
  EXPECT_THAT(log_.lines(), Contains(EndsWith("call subscribe() first.")).Times(2));
  attach();
  DDSNode<Router> occupant;
  occupant.attachDomain(&client_domain_);
  ASSERT_TRUE(occupant.createTopic("Orvel.Routing.Destinations"));
  ASSERT_TRUE(client_.create());
  EXPECT_FALSE(client_.create() || client_.subscribe({}));
  occupant.cleanUp();
  log_.lines();
  EXPECT_FALSE(client_.subscribe({})) << "it has to begin anew";
  EXPECT_THAT(log_.lines(), Contains(EndsWith("once it is started. Clean up and re-create.")));
  client_.cleanUp();
  attach();
  EXPECT_TRUE(client_.create() && client_.subscribe({}));
  // No router can set the route.
  for (unsigned short id = 1; id <= 2; ++id) {
    DDSPtr<RoutingClient::Ticket> ticket = client_.beginSetRoute(route_);
    ASSERT_TRUE(ticket && ticket->received);
    EXPECT_EQ(ticket->ticketId, id);
    EXPECT_EQ(ticket->reply->result, FAILED);
    EXPECT_EQ(ticket->failure, RequestFailure::NobodyThere);
    EXPECT_TRUE(client_.completeSetRoute(ticket));
    EXPECT_TRUE(events_.happens("failed " + std::to_string(id)));
  }
  DDSPtr<RoutingClient::ProtectTicket> ticket = client_.beginProtect(destination_);
  EXPECT_TRUE(ticket && ticket->received && events_.happens("not protected 1") && client_.completeProtect(ticket));
  DDSPtr<AssociationRoute> none;
  EXPECT_FALSE(client_.beginSetRoute(none));

  ASSERT_TRUE(client_.subscribe({AddressEx(1, 3, 1)})) << "changed before a router exists";
  start_device();
  EXPECT_TRUE(setsRoute());
}

TEST_F(RoutingClientTest, CallbacksMaySetRoutesButNotCleanUp) {
  DDSPtr<RoutingClient::Ticket> begun;
  listener_.during = [&](const std::string& what) {
    EXPECT_FALSE(client_.subscribe({})) << what;
    client_.cleanUp();
    if (what == "route 5 from 0") begun = client_.beginSetRoute(route_);
    if (begun && what == "ticket " + std::to_string(begun->ticketId)) {
      client_.completeSetRoute(begun);
      events_.add("set");
    }
  };
  start();
  ASSERT_TRUE(setsRoute());
  EXPECT_TRUE(tells(device_.routingService()->valueNode(), route_, "route 5 from 0"));
  EXPECT_TRUE(events_.happens("set"));
  EXPECT_TRUE(tells(*device_.routerNode(), make<Router>("a"), "added a"));
  client_.cleanUp();
  EXPECT_TRUE(events_.happens("removed a")) << "which was known";
  EXPECT_THAT(log_.lines(), IsSupersetOf({EndsWith(" Cannot subscribe from within a callback."),
                                          EndsWith(" Cannot clean up from within a callback.")}));
}

class RoutingSubscriptionTest : public RoutingClientTest {
 protected:
  typedef std::set<unsigned> Units;

  static std::string address(unsigned unit) { return "0001:03:0" + std::to_string(unit); }
  bool subscribe(const Units& units) {
    std::vector<AddressEx> addresses;
    for (const unsigned unit : units) addresses.emplace_back(address(unit).c_str());
    return client_.subscribe(addresses);
  }
  void SetUp() override {
    start_device();
    other_device_.attachDomain(&other_domain_);
    ASSERT_TRUE(other_device_.createServerServices());
    publishAll(all);
    ASSERT_TRUE(client_.create());
  }
  void TearDown() override { other_device_.cleanUp(); }
  /// Publishes one sample of each kind. Each device has some of the units.
  void publish(unsigned unit, unsigned index) {
    RoutingServices& device = unit == 2 ? other_device_ : device_;
    EXPECT_TRUE(device.sourcesNode()->writeSample(make<Source>(address(unit), index)) &&
                device.destinationsNode()->writeSample(make<Destination>(address(unit), index)) &&
                device.sourceAssociations()->writeSample(make<Association>(address(unit), index)) &&
                device.destinationAssociations()->writeSample(make<Association>(address(unit), index)) &&
                device.routingService()->valueNode().writeSample(make<AssociationRoute>(address(unit), index)));
  }
  void publishAll(const Units& units) {
    for (const unsigned unit : units) {
      publish(unit, unit);
      publish(unit, marker);
    }
  }
  static void append(std::vector<std::string>& to, const std::vector<std::string>& texts) {
    to.insert(to.end(), texts.begin(), texts.end());
  }
  static std::vector<std::string> reports(unsigned index) {
    const std::string text = std::to_string(index);
    return {"source " + text, "destination " + text, "source of " + text, "to " + text, "route " + text + " from 0"};
  }
  template <class F>
  void forEachReader(unsigned unit, F&& call) {
    RoutingServices& services = *client_.services();
    const auto one = [&](auto& node, const auto& key) {
      call(*node.dataReader(), node.dataReader()->lookup_instance(*key));
    };
    one(*services.sourcesNode(), make<Source>(address(unit), unit));
    one(*services.destinationsNode(), make<Destination>(address(unit), unit));
    one(*services.sourceAssociations(), make<Association>(address(unit), unit));
    one(*services.destinationAssociations(), make<Association>(address(unit), unit));
    one(services.routingService()->valueNode(), make<AssociationRoute>(address(unit), unit));
  }
  int readersThatHold(unsigned unit) {
    int readers = 0;
    forEachReader(unit, [&](auto& reader, const auto& handle) { readers += reader.is_alive_untypedI(handle) ? 1 : 0; });
    return readers;
  }
  /// Waits until the readers hold the state of exactly these units.
  void awaitState(const Units& units) {
    for (const unsigned unit : all) {
      EXPECT_TRUE(eventually([&] { return readersThatHold(unit) == (units.contains(unit) ? 5 : 0); }));
    }
    forEachReader(1, [](auto& reader, const auto&) {
      EXPECT_EQ(reader.wait_for_historical_data(DDS_Duration_from_millis(20000)), DDS_RETCODE_OK);
    });
  }

  static constexpr unsigned marker = 9;
  const Units all = {1, 2, 3};
  LoopbackDomain other_domain_{domain_id};
  RoutingServices other_device_;
};

TEST_F(RoutingSubscriptionTest, KeepsCommonStateAndReportsNewState) {
  const std::pair<const char*, Units> steps[] = {{"first", {1, 2}}, {"overlapping", {2, 3}}, {"disjoint", {1}},
                                                 {"grown", {1, 2}}, {"the same", {1, 2}},    {"shrunk", {2}},
                                                 {"to all", {}},    {"from all", {1, 3}}};
  Units before;
  for (const auto& [name, units] : steps) {
    SCOPED_TRACE(name);
    const Units after = units.empty() ? all : units;
    const auto without = [](Units some, const Units& others) {
      std::erase_if(some, [&](unsigned unit) { return others.contains(unit); });
      return some;
    };
    ASSERT_TRUE(subscribe(units));
    awaitState(after);
    std::vector<std::string> news, markers;
    for (const unsigned unit : without(after, before)) {
      for (const unsigned index : {unit, marker}) append(news, reports(index));
    }
    EXPECT_THAT(events_.take(news.size()), UnorderedElementsAreArray(news));
    for (const unsigned unit : without(before, after)) publish(unit, marker);
    for (const unsigned unit : after) {
      publish(unit, marker);  // an event for a repeated report would come before this event
      append(markers, reports(marker));
    }
    EXPECT_THAT(events_.take(markers.size()), UnorderedElementsAreArray(markers));
    before = after;
  }
}

TEST_F(RoutingClientTest, ReportsDisposalsAndProtectsDestinations) {
  start();
  EXPECT_TRUE(comesAndGoes(*device_.sourcesNode(), make<Source>("a", 1), "source 1", "no source 1"));
  EXPECT_TRUE(
      comesAndGoes(*device_.destinationsNode(), make<Destination>("a", 2), "destination 2", "no destination 2"));
  EXPECT_TRUE(comesAndGoes(*device_.sourceAssociations(), make<Association>("a", 3), "source of 3", "no source of 3"));
  EXPECT_TRUE(comesAndGoes(*device_.destinationAssociations(), make<Association>("a", 4), "to 4", "none to 4"));
  EXPECT_TRUE(comesAndGoes(device_.routingService()->valueNode(), route_, "route 5 from 0", "no route 5"));
  ASSERT_TRUE(client_.subscribe({AddressEx("0001:03:01")}));
  EXPECT_TRUE(comesAndGoes(device_.routingService()->valueNode(), route_, "route 5 from 0", "no route 5"));
  device_.sourcesNode()->writeSample(make<Source>("0001:03:01", 6));
  EXPECT_TRUE(events_.happens("source 6"));
  device_.cleanUp();
  EXPECT_TRUE(events_.happens("no source 6")) << "its program is gone";

  start_device();
  destination_->level = 2;
  DDSPtr<RoutingClient::ProtectTicket> ticket;
  const auto result = [&](const std::vector<bool>& levels, std::chrono::milliseconds limit) {
    ticket = client_.beginProtect(destination_, levels);
    const bool received = ticket && eventually([&] { return ticket->received.load(); }, limit);
    EXPECT_TRUE(client_.completeProtect(ticket));
    return received ? ticket->reply->result : PENDING;
  };
  // A request is lost if the device has not yet matched the writer of requests.
  EXPECT_TRUE(eventually([&] { return result({true, false, true}, std::chrono::seconds(1)) == COMPLETE; }));
  EXPECT_TRUE(events_.happens("protected " + std::to_string(ticket->ticketId)));
  EXPECT_EQ(result({}, patience), FAILED) << "its own level alone";
  EXPECT_TRUE(events_.happens("not protected " + std::to_string(ticket->ticketId)));
  EXPECT_FALSE(client_.beginProtect(destination_, std::vector<bool>(33)));
  EXPECT_EQ(client_.services()->protectService()->pendingTickets(), 0u);
}

}  // namespace
}  // namespace TessivarDDS
