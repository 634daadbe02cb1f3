#include "tessivar/routing/client.h"

#include "tessivar/routing/services.h"
#include "tests/support/log_recorder.h"
#include "tests/support/loopback.h"

namespace TessivarDDS {
namespace {

using namespace Tessivar_Routing;
using namespace tessivar::testing;
using namespace ::testing;

constexpr int domain_id = 111;

template <class Sample>
DDSPtr<Sample> make(const std::string& unit, unsigned index = 0) {
  DDSPtr<Sample> sample(Sample::TypeSupport::create_data());
  DDS_String_replace(&sample->unitId, unit.c_str());
  if constexpr (requires { sample->index; }) sample->index = index;
  if constexpr (requires { sample->dest_index; }) sample->dest_index = index;
  return sample;
}

/// Notes what it hears, and does what `during` says with the text.
class Listener : public RoutingClientListener {
 public:
  explicit Listener(Events& events) : events_(events) {}
  void routerAdded(const Router* router) override { note("added ", router->unitId); }
  void routerRemoved(const AddressEx& router) override { note("removed ", router.toString()); }
  void sourceChanged(Source* sample) override { note("source ", std::to_string(sample->index)); }
  void destinationChanged(Destination* sample) override { note("destination ", std::to_string(sample->index)); }
  void sourceAssociationChanged(Association* sample) override { note("source of ", std::to_string(sample->index)); }
  void destinationAssociationChanged(Association* sample) override { note("to ", std::to_string(sample->index)); }
  void routeChanged(const AssociationRoute* sample) override { note("route ", std::to_string(sample->dest_index)); }
  void ticketChanged(DDSPtr<RoutingClient::Ticket> ticket) override {
    note("ticket ", std::to_string(ticket->ticketId));
  }
  std::function<void(const std::string&)> during = [](const std::string&) {};

 private:
  void note(const char* what, const std::string& which) {
    events_.add(what + which);
    during(what + which);
  }
  Events& events_;
};

class RoutingClientOnBus : public Test,
                           RequestReplyServerListener<AssociationRouteChangeRequest, AssociationRouteChangeReply> {
 protected:
  RoutingClientOnBus() {
    attach();
    device_.attachDomain(&device_domain_);
  }
  ~RoutingClientOnBus() override {
    client_.cleanUp();
    device_.cleanUp();
  }
  void attach() {
    client_.attachDomain(&client_domain_);
    client_.attachListener(&listener_, false);
  }
  /// A device, and a client that hears of everything.
  void start() {
    ASSERT_TRUE(device_.createServerServices());
    device_.routingService()->setListener(this);
    ASSERT_TRUE(client_.create() && client_.subscribe({}));
  }
  template <class NodeOfSamples, class Sample>
  bool tells(NodeOfSamples& node, const DDSPtr<Sample>& sample, const std::string& what) {
    return node.writeSample(sample) && events_.happens(what);
  }
  AssociationRouteChangeReply* processRequest(const AssociationRouteChangeRequest*) override {
    AssociationRouteChangeReply* reply = AssociationRouteChangeReplyTypeSupport::create_data();
    reply->result = COMPLETE;
    return reply;
  }

  LoopbackDomain client_domain_{domain_id}, device_domain_{domain_id};
  RoutingServices device_;
  Events events_;
  Listener listener_{events_};
  RoutingClient client_;
  LogRecorder log_;
  DDSPtr<AssociationRoute> route_ = make<AssociationRoute>("0001:03:01", 5);
};

TEST_F(RoutingClientOnBus, NeedsADomainAndCreateBeforeSubscribeAndIsCreatedOnce) {
  EXPECT_FALSE(client_.subscribe({}));
  EXPECT_THAT(log_.lines(), Contains(EndsWith("Failed to attach runner to thread")));
  client_.cleanUp();
  EXPECT_FALSE(client_.create()) << "the domain is forgotten";
  EXPECT_FALSE(client_.beginSetRoute(route_));
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
  // Nobody is there who could set a route.
  for (unsigned short id = 1; id <= 2; ++id) {
    DDSPtr<RoutingClient::Ticket> ticket = client_.beginSetRoute(route_);
    ASSERT_TRUE(ticket && ticket->received);
    EXPECT_EQ(ticket->ticketId, id);
    EXPECT_EQ(ticket->reply->result, FAILED);
    EXPECT_TRUE(client_.completeSetRoute(ticket));
  }
  DDSPtr<AssociationRoute> none;
  EXPECT_FALSE(client_.beginSetRoute(none));
}

TEST_F(RoutingClientOnBus, LetsListenersSetRoutesAndRefusesWhatWouldWaitForThem) {
  DDSPtr<RoutingClient::Ticket> begun;
  listener_.during = [&](const std::string& what) {
    EXPECT_FALSE(client_.subscribe({})) << what;
    client_.cleanUp();
    if (what == "route 5") begun = client_.beginSetRoute(route_);
    if (begun && what == "ticket " + std::to_string(begun->ticketId)) {
      client_.completeSetRoute(begun);
      events_.add("set");
    }
  };
  start();
  ASSERT_TRUE(eventually([&] {
    DDSPtr ticket = client_.beginSetRoute(route_);
    client_.completeSetRoute(ticket);
    return ticket->reply->result != FAILED;
  }));
  EXPECT_TRUE(tells(device_.routingService()->valueNode(), route_, "route 5"));
  EXPECT_TRUE(events_.happens("set"));
  EXPECT_TRUE(tells(*device_.routerNode(), make<Router>("a"), "added a"));
  client_.cleanUp();
  EXPECT_TRUE(events_.happens("removed a")) << "which was known";
  EXPECT_THAT(log_.lines(), IsSupersetOf({EndsWith(" Cannot subscribe from within a callback."),
                                          EndsWith(" Cannot clean up from within a callback.")}));
}

}  // namespace
}  // namespace TessivarDDS
