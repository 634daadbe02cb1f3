#include "tessivar/routing/client.h"

#include "tessivar/framework/waitset/handle_sum_order.h"
#include "tessivar/routing/services.h"
#include "tests/control/support/log_recorder.h"
#include "tests/framework/support/bus.h"

#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace TessivarDDS {
namespace {

using namespace Tessivar_Routing;
using tessivar::testing::Events;
using tessivar::testing::LogRecorder;
using tessivar::testing::LoopbackDomain;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

constexpr int domain_id = 111;

const std::string subscribe_signature =
    "8 bool __cdecl TessivarDDS::RoutingClient::subscribe(const class std::vector<class TessivarDDS::AddressEx,class "
    "std::allocator<class TessivarDDS::AddressEx> > &)";

template <class Sample>
DDSPtr<Sample> make(const std::string& unit, unsigned index = 0) {
  DDSPtr<Sample> sample(Sample::TypeSupport::create_data());
  DDS_String_replace(&sample->unitId, unit.c_str());
  if constexpr (requires { sample->index; }) sample->index = index;
  if constexpr (requires { sample->dest_index; }) sample->dest_index = index;
  return sample;
}

/// Notes what it hears.
class Listener : public RoutingClientListener {
 public:
  explicit Listener(Events& events) : events_(events) {}
  ~Listener() override { events_.add("deleted"); }

  void routerAdded(const Router* router) override { note("added ", router->unitId); }
  void routerRemoved(const AddressEx& router) override { note("removed ", router.toString()); }
  void sourceChanged(Source* source) override { note("source ", std::to_string(source->index)); }
  void destinationChanged(Destination* destination) override {
    note("destination ", std::to_string(destination->index));
  }
  void sourceAssociationChanged(Association* association) override {
    note("source association ", std::to_string(association->index));
  }
  void destinationAssociationChanged(Association* association) override {
    note("destination association ", std::to_string(association->index));
  }
  void routeChanged(const AssociationRoute* route) override { note("route ", std::to_string(route->dest_index)); }
  void ticketChanged(DDSPtr<RoutingClient::Ticket> ticket) override {
    note("ticket ", ticket ? std::to_string(ticket->ticketId) : "null");
  }

  /// What each call does from now on, with its text.
  void during(std::function<void(const std::string&)> action) {
    const std::lock_guard guard(lock_);
    action_ = std::move(action);
  }

 private:
  void note(const char* what, const std::string& which) {
    events_.add(what + which);
    const std::lock_guard guard(lock_);
    if (action_) action_(what + which);
  }

  Events& events_;
  std::mutex lock_;
  std::function<void(const std::string&)> action_;
};

TEST(RoutingClientWithoutDomain, RefusesEverything) {
  LogRecorder log;
  RoutingClient client;
  EXPECT_FALSE(client.create());
  EXPECT_THAT(log.lines(),
              Contains("8 bool __cdecl TessivarDDS::RoutingClient::create(void)Unable to create services!"));
  EXPECT_FALSE(client.subscribe({}));
  EXPECT_THAT(log.lines(), Contains(subscribe_signature + "Failed to create the client services during subscription"));
  DDSPtr route = make<AssociationRoute>("0001:03:01");
  DDSPtr<RoutingClient::Ticket> ticket = client.beginSetRoute(route);
  EXPECT_FALSE(ticket);
  EXPECT_FALSE(client.completeSetRoute(ticket));
  client.cleanUp();
  EXPECT_THAT(log.lines(), IsEmpty());
}

class RoutingClientOnBus : public ::testing::Test,
                           RequestReplyServerListener<AssociationRouteChangeRequest, AssociationRouteChangeReply> {
 protected:
  RoutingClientOnBus() { attach(); }
  ~RoutingClientOnBus() override {
    client_.cleanUp();
    device_.cleanUp();
  }

  void attach() {
    client_.attachDomain(&client_domain_);
    client_.attachListener(&listener_, false);
  }
  void startDevice() {
    device_domain_.emplace(domain_id);
    device_.attachDomain(&*device_domain_);
    ASSERT_TRUE(device_.createServerServices());
    device_.routingService()->setListener(this);
  }
  /// A client that hears of everything, and whose requests get through.
  void subscribe() {
    ASSERT_TRUE(client_.create());
    ASSERT_TRUE(client_.subscribe({}));
    DDSPtr route = make<AssociationRoute>("0001:03:01", 1);
    ASSERT_TRUE(device_.routingService()->valueNode().writeSample(route));
    ASSERT_TRUE(events_.happens("route 1"));
    ASSERT_TRUE(tessivar::testing::eventually([&] {
      DDSPtr ticket = client_.beginSetRoute(route);
      const bool sent = ticket && !(ticket->received && ticket->reply->result == FAILED);
      client_.completeSetRoute(ticket);
      return sent;
    }));
    log_.lines();
  }
  AssociationRouteChangeReply* processRequest(const AssociationRouteChangeRequest* request) override {
    AssociationRouteChangeReply* reply = AssociationRouteChangeReplyTypeSupport::create_data();
    reply->result = request->newValue.dest_index < 100 ? COMPLETE : FAILED;
    return reply;
  }

  LoopbackDomain client_domain_{domain_id};
  std::optional<LoopbackDomain> device_domain_;
  RoutingServices device_;
  Events events_;
  Listener listener_{events_};
  RoutingClient client_;
  LogRecorder log_;
};

TEST_F(RoutingClientOnBus, NeedsCreateBeforeSubscribe) {
  EXPECT_FALSE(client_.subscribe({}));
  EXPECT_THAT(log_.lines(), Contains(subscribe_signature + "Failed to attach runner to thread"));
}

TEST_F(RoutingClientOnBus, IsCreatedOnce) {
  ASSERT_TRUE(client_.create());
  EXPECT_FALSE(client_.create());
  EXPECT_THAT(log_.lines(),
              Contains("8 bool __cdecl TessivarDDS::RoutingClient::create(void)Unable to create services!"));
  client_.cleanUp();
  EXPECT_FALSE(client_.create()) << "the domain is forgotten";
  log_.lines();
  client_.attachDomain(&client_domain_);
  EXPECT_TRUE(client_.create());
  EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(RoutingClientOnBus, GivesAFailedTicketWhenNobodyIsThere) {
  ASSERT_TRUE(client_.create());
  ASSERT_TRUE(client_.subscribe({}));
  DDSPtr route = make<AssociationRoute>("0001:03:01");
  for (unsigned short id = 1; id <= 2; ++id) {
    DDSPtr<RoutingClient::Ticket> ticket = client_.beginSetRoute(route);
    ASSERT_TRUE(ticket);
    EXPECT_EQ(ticket->ticketId, id);
    EXPECT_TRUE(ticket->received);
    EXPECT_EQ(ticket->reply->result, FAILED);
    EXPECT_EQ(ticket->reply->ticketId, id);
    EXPECT_EQ(ticket->reply->ex, nullptr);
    EXPECT_TRUE(client_.completeSetRoute(ticket));
  }
  log_.lines();
  DDSPtr<AssociationRoute> none;
  EXPECT_FALSE(client_.beginSetRoute(none));
  EXPECT_THAT(log_.lines(), Contains("8 class TessivarDDS::DDSPtr<class TessivarDDS::RequestReplyTicket<struct "
                                     "Tessivar_Routing::AssociationRouteChangeReply> > __cdecl "
                                     "TessivarDDS::RoutingClient::beginSetRoute(class TessivarDDS::DDSPtr<struct "
                                     "Tessivar_Routing::AssociationRoute> &)Invalid request type returned"));
}

TEST_F(RoutingClientOnBus, HearsOfEachKindOfSample) {
  startDevice();
  subscribe();
  ASSERT_TRUE(device_.sourcesNode()->writeSample(make<Source>("0001:03:01", 11)));
  EXPECT_TRUE(events_.happens("source 11"));
  ASSERT_TRUE(device_.destinationsNode()->writeSample(make<Destination>("0001:03:01", 12)));
  EXPECT_TRUE(events_.happens("destination 12"));
  ASSERT_TRUE(device_.sourceAssociations()->writeSample(make<Association>("0001:03:01", 13)));
  EXPECT_TRUE(events_.happens("source association 13"));
  ASSERT_TRUE(device_.destinationAssociations()->writeSample(make<Association>("0001:03:01", 14)));
  EXPECT_TRUE(events_.happens("destination association 14"));
}

TEST_F(RoutingClientOnBus, ReportsARouterAgainThatSpeaksAgain) {
  startDevice();
  ASSERT_TRUE(client_.create());
  ASSERT_TRUE(device_.routerNode()->writeSample(make<Router>("0001:03:01")));
  EXPECT_TRUE(events_.happens("added 0001:03:01"));
  EXPECT_THAT(log_.lines(), IsEmpty());
  ASSERT_TRUE(device_.routerNode()->writeSample(make<Router>("0001:03:01")));
  EXPECT_TRUE(events_.happens("added 0001:03:01"));
  EXPECT_THAT(log_.lines(), ElementsAre("4 void __cdecl TessivarDDS::RoutersRunner::processSample(const struct "
                                        "Tessivar_Routing::Router &)Unexpected instance already in map."));
}

/// Two routers whose instances have different handles with the same sum of octets.
std::pair<std::string, std::string> twins() {
  std::map<DDS_InstanceHandle_t, std::string, HandleSumOrder> known;
  for (int port = 0;; ++port) {
    const std::string unit = "twin " + std::to_string(port);
    DDS_InstanceHandle_t handle = DDS_HANDLE_NIL;
    RouterPlugin_instance_to_keyhash(nullptr, &handle.keyHash, make<Router>(unit).get());
    const auto [entry, fresh] = known.emplace(handle, unit);
    if (!fresh) return {entry->second, unit};
  }
}

TEST_F(RoutingClientOnBus, TakesRoutersWithEqualHandleSumsForOne) {
  const auto [elder, younger] = twins();
  startDevice();
  ASSERT_TRUE(client_.create());
  ASSERT_TRUE(device_.routerNode()->writeSample(make<Router>(elder)));
  ASSERT_TRUE(events_.happens("added " + elder));
  ASSERT_TRUE(device_.routerNode()->writeSample(make<Router>(younger)));
  ASSERT_TRUE(events_.happens("added " + younger));
  EXPECT_THAT(log_.lines(), Contains(::testing::HasSubstr("Unexpected instance already in map.")));

  const auto withdraw = [this](const std::string& unit) {
    RouterDataWriter* writer = device_.routerNode()->dataWriter();
    return writer->dispose(*make<Router>(unit), DDS_HANDLE_NIL) == DDS_RETCODE_OK;
  };
  ASSERT_TRUE(withdraw(elder));
  EXPECT_TRUE(events_.happens("removed " + younger));
  // Of the second removal nothing is known any more.
  ASSERT_TRUE(withdraw(younger));
  ASSERT_TRUE(device_.routerNode()->writeSample(make<Router>("another")));
  EXPECT_THAT(events_.take(1), ElementsAre("added another"));
}

TEST_F(RoutingClientOnBus, ReportsKnownRoutersAsRemovedWhenItCleansUp) {
  startDevice();
  ASSERT_TRUE(client_.create());
  for (const char* unit : {"0001:03:01", "0001:03:02"}) {
    ASSERT_TRUE(device_.routerNode()->writeSample(make<Router>(unit)));
    ASSERT_TRUE(events_.happens(std::string("added ") + unit));
  }
  auto* const owned = new Listener(events_);
  client_.detachListener(&listener_);
  client_.attachListener(owned, true);
  owned->during([this](const std::string&) {
    DDSPtr route = make<AssociationRoute>("0001:03:01");
    EXPECT_FALSE(client_.beginSetRoute(route)) << "what is being cleaned up may still be asked";
  });
  client_.cleanUp();
  EXPECT_THAT(events_.take(3),
              ::testing::AllOf(::testing::UnorderedElementsAre("removed 0001:03:01", "removed 0001:03:02", "deleted"),
                               ::testing::Contains("deleted")));
}

TEST_F(RoutingClientOnBus, LetsListenersSetRoutes) {
  startDevice();
  subscribe();
  DDSPtr<RoutingClient::Ticket> begun;
  listener_.during([&](const std::string& what) {
    if (what == "route 5") {
      DDSPtr route = make<AssociationRoute>("0001:03:01", 200);
      begun = client_.beginSetRoute(route);
    } else if (begun && what == "ticket " + std::to_string(begun->ticketId)) {
      client_.completeSetRoute(begun);
      events_.add("refused " + std::to_string(begun->reply->result == FAILED));
    }
  });
  ASSERT_TRUE(device_.routingService()->valueNode().writeSample(make<AssociationRoute>("0001:03:01", 5)));
  EXPECT_TRUE(events_.happens("refused 1"));
  client_.detachListener(&listener_);
}

TEST_F(RoutingClientOnBus, RefusesInACallbackWhatWouldWaitForIt) {
  startDevice();
  subscribe();
  listener_.during([&](const std::string& what) {
    log_.lines();
    EXPECT_FALSE(client_.subscribe({})) << what;
    client_.cleanUp();
    EXPECT_THAT(log_.lines(), ElementsAre(subscribe_signature + " Cannot subscribe from within a callback.",
                                          "8 void __cdecl TessivarDDS::RoutingClient::cleanUp(void) Cannot clean up "
                                          "from within a callback."));
    events_.add("refused in " + what);
  });
  ASSERT_TRUE(device_.routingService()->valueNode().writeSample(make<AssociationRoute>("0001:03:01", 5)));
  EXPECT_TRUE(events_.happens("refused in route 5"));
  ASSERT_TRUE(device_.routerNode()->writeSample(make<Router>("0001:03:01")));
  EXPECT_TRUE(events_.happens("refused in added 0001:03:01"));
  client_.cleanUp();
  EXPECT_TRUE(events_.happens("refused in removed 0001:03:01"));
}

TEST_F(RoutingClientOnBus, HasToBeginAnewAfterAFailedSubscription) {
  DDSNode<Router> occupant;
  occupant.attachDomain(&client_domain_);
  ASSERT_TRUE(occupant.createTopic("Orvel.Routing.Destinations"));
  ASSERT_TRUE(client_.create());
  EXPECT_FALSE(client_.subscribe({}));
  occupant.cleanUp();
  log_.lines();
  EXPECT_FALSE(client_.subscribe({}));
  EXPECT_THAT(log_.lines(), Contains(subscribe_signature +
                                     "Cannot change the subscription once it is started. Clean up and re-create."));
  client_.cleanUp();
  attach();
  EXPECT_TRUE(client_.create());
  EXPECT_TRUE(client_.subscribe({}));
  EXPECT_THAT(log_.lines(), IsEmpty());
}

}  // namespace
}  // namespace TessivarDDS
