#include "tessivar/routing/services.h"

#include "tessivar/framework/filters/address_content_filter.h"
#include "tests/control/support/log_recorder.h"
#include "tests/framework/support/bus.h"

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace TessivarDDS {
namespace {

using tessivar::testing::LogRecorder;
using tessivar::testing::LoopbackDomain;
using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::IsEmpty;
using ::testing::StrEq;

constexpr int domain_id = 110;

const std::string addresses_argument =
    "(const class std::vector<class TessivarDDS::AddressEx,class std::allocator<class TessivarDDS::AddressEx> > &)";

/// The error line of an operation of the set.
std::string error(const std::string& operation, const std::string& text) {
  return "8 bool __cdecl TessivarDDS::RoutingServices::" + operation + text;
}

/// The set's nodes that exist, by the accessor's name.
std::vector<std::string> nodes(const RoutingServices& services) {
  std::vector<std::string> names;
  if (services.routerNode()) names.emplace_back("routerNode");
  if (services.sourcesNode()) names.emplace_back("sourcesNode");
  if (services.destinationsNode()) names.emplace_back("destinationsNode");
  if (services.sourceAssociations()) names.emplace_back("sourceAssociations");
  if (services.destinationAssociations()) names.emplace_back("destinationAssociations");
  if (services.routingService()) names.emplace_back("routingService");
  if (services.protectService()) names.emplace_back("protectService");
  return names;
}

TEST(RoutingServicesWithoutDomain, BuildNothing) {
  LogRecorder log;
  RoutingServices services;
  EXPECT_FALSE(services.createServerServices());
  EXPECT_FALSE(services.createClientDiscoveryServices());
  EXPECT_FALSE(services.createClientReaderServices({}));
  EXPECT_THAT(log.lines(),
              ElementsAre(error("createServerServices(void)", "No domain is attached."),
                          error("createClientDiscoveryServices(void)", "No domain is attached."),
                          error("createClientReaderServices" + addresses_argument, "No domain is attached.")));
  EXPECT_THAT(nodes(services), IsEmpty());

  // It is still a client: what fails is not the side but what is missing.
  EXPECT_FALSE(services.updateClientReaderServices({}));
  EXPECT_THAT(log.lines(), ElementsAre(error("updateClientReaderServices" + addresses_argument,
                                             " One of the nodes has not been created!")));
  services.enableBatching(true);
  services.cleanUp();
  EXPECT_THAT(log.lines(), IsEmpty());
}

class RoutingServicesOnDomain : public ::testing::Test {
 protected:
  RoutingServicesOnDomain() { services_.attachDomain(&domain_); }
  ~RoutingServicesOnDomain() override { services_.cleanUp(); }

  LoopbackDomain domain_{domain_id};
  RoutingServices services_;
  LogRecorder log_;
};

TEST_F(RoutingServicesOnDomain, OfARouterWriteEverything) {
  ASSERT_TRUE(services_.createServerServices());
  EXPECT_EQ(nodes(services_).size(), 7u);
  EXPECT_EQ(services_.domain(), &domain_);
  EXPECT_EQ(domain_.contentFilter("Orvel.Filters.Address"), &AddressContentFilter::instance());

  const auto writes = [](const auto& node, const char* topic) {
    ASSERT_TRUE(node.dataWriter()) << topic;
    EXPECT_STREQ(node.dataWriter()->get_topic()->get_name(), topic);
    EXPECT_FALSE(node.dataReader()) << topic;
  };
  writes(*services_.routerNode(), "Orvel.Routing.Routers");
  writes(*services_.sourcesNode(), "Orvel.Routing.Sources");
  writes(*services_.destinationsNode(), "Orvel.Routing.Destinations");
  writes(*services_.sourceAssociations(), "Orvel.Routing.Source.Associations");
  writes(*services_.destinationAssociations(), "Orvel.Routing.Dest.Associations");
  writes(services_.routingService()->valueNode(), "Orvel.Routing.AssociationRoutes");
  writes(services_.routingService()->replyNode(), "Orvel.Routing.AssociationRoutes.Reply");
  writes(services_.protectService()->valueNode(), "Orvel.Routing.DestinationsChanges");
  EXPECT_TRUE(services_.routingService()->requestNode().dataReader());
  EXPECT_TRUE(services_.protectService()->requestNode().dataReader());

  DDS_DataWriterQos qos;
  ASSERT_EQ(services_.sourcesNode()->dataWriter()->get_qos(qos), DDS_RETCODE_OK);
  EXPECT_TRUE(qos.batch.enable);
  EXPECT_EQ(qos.batch.max_data_bytes, 4096);
  EXPECT_EQ(qos.batch.max_samples, 1000);
  EXPECT_EQ(qos.batch.max_flush_delay, DDS_Duration_from_millis(50));
  ASSERT_EQ(services_.routingService()->replyNode().dataWriter()->get_qos(qos), DDS_RETCODE_OK);
  EXPECT_EQ(qos.liveliness.lease_duration, DDS_Duration_from_millis(3000));
  EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(RoutingServicesOnDomain, OfAControllerReadWhatTheFiltersLetThrough) {
  ASSERT_TRUE(services_.createClientDiscoveryServices());
  EXPECT_THAT(nodes(services_), ElementsAre("routerNode"));
  EXPECT_EQ(domain_.contentFilter("Orvel.Filters.Address"), nullptr);
  EXPECT_FALSE(services_.updateClientReaderServices({}));
  EXPECT_THAT(log_.lines(), ElementsAre(error("updateClientReaderServices" + addresses_argument,
                                              " One of the nodes has not been created!")));

  ASSERT_TRUE(services_.createClientReaderServices({AddressEx(1, 3, 1), AddressEx("studio")}));
  EXPECT_EQ(nodes(services_).size(), 6u);
  EXPECT_EQ(services_.protectService(), nullptr);
  const auto reads = [](const auto& node, const std::string& topic, const std::vector<std::string>& wanted) {
    ASSERT_TRUE(node.dataReader()) << topic;
    EXPECT_EQ(node.dataReader()->get_topicdescription()->get_name(), topic);
    EXPECT_FALSE(node.dataWriter()) << topic;
    DDS_StringSeq parameters;
    if (node.contentFilteredTopic()) node.contentFilteredTopic()->get_expression_parameters(parameters);
    std::vector<std::string> texts;
    for (DDS_Long i = 0; i < parameters.length(); ++i) texts.emplace_back(parameters[i]);
    EXPECT_EQ(texts, wanted) << topic;
  };
  const auto reads_of = [&](const std::vector<std::string>& wanted) {
    reads(*services_.sourcesNode(), "Orvel.Routing.Sources.Filtered", wanted);
    reads(*services_.destinationsNode(), "Orvel.Routing.Destinations.Filtered", wanted);
    reads(*services_.sourceAssociations(), "Orvel.Routing.Source.Associations.Filtered", wanted);
    reads(*services_.destinationAssociations(), "Orvel.Routing.Dest.Associations.Filtered", wanted);
    reads(services_.routingService()->valueNode(), "Orvel.Routing.AssociationRoutes.Filtered", wanted);
  };
  reads(*services_.routerNode(), "Orvel.Routing.Routers", {});
  reads_of({"0001:03:01", "studio"});
  EXPECT_STREQ(services_.routingService()->valueNode().contentFilteredTopic()->get_filter_expression(),
               "typeName=Tessivar_Routing::AssociationRoute");
  ASSERT_TRUE(services_.updateClientReaderServices({AddressEx(1, 3, 2)}));
  reads_of({"0001:03:02"});
  ASSERT_TRUE(services_.updateClientReaderServices({}));
  reads_of({});
  EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(RoutingServicesOnDomain, RefuseToBeCreatedTwice) {
  ASSERT_TRUE(services_.createServerServices());
  EXPECT_FALSE(services_.createServerServices());
  EXPECT_THAT(log_.lines(), ElementsAre(error("createRouterNode(void)", "Already created"),
                                        error("createServerServices(void)", "Failed to create the router node.")));
  EXPECT_FALSE(services_.updateClientReaderServices({}));
  EXPECT_THAT(log_.lines(), ElementsAre(error("updateClientReaderServices" + addresses_argument,
                                              " Method cannot be called when we are not a client")));
  EXPECT_FALSE(services_.createClientReaderServices({}));
  EXPECT_THAT(log_.lines(), ElementsAre(error("createSourceNode" + addresses_argument, "Already created"),
                                        error("createClientReaderServices" + addresses_argument,
                                              "Failed to create the sources node.")));
  services_.cleanUp();
  EXPECT_THAT(nodes(services_), IsEmpty());
  EXPECT_TRUE(services_.createServerServices());
  EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(RoutingServicesOnDomain, OfCopiesAreCleanedUpOnce) {
  ASSERT_TRUE(services_.createServerServices());
  {
    RoutingServices copy;
    copy = services_;
    EXPECT_EQ(copy.routerNode(), services_.routerNode());
    EXPECT_EQ(copy.domain(), &domain_);
  }
  ASSERT_TRUE(services_.routerNode());
  EXPECT_FALSE(services_.routerNode()->dataWriter());
  services_.cleanUp();
  EXPECT_TRUE(services_.createServerServices());
  EXPECT_THAT(log_.lines(), IsEmpty());
}

/// Protects the first level of a destination, as it is asked to, and refuses all else.
class Guard : public RequestReplyServerListener<Tessivar_Routing::DestinationChangeRequest,
                                                Tessivar_Routing::DestinationChangeReply> {
 public:
  Tessivar_Routing::DestinationChangeReply* processRequest(
      const Tessivar_Routing::DestinationChangeRequest* request) override {
    auto* reply = Tessivar_Routing::DestinationChangeReplyTypeSupport::create_data();
    const DDS_BooleanSeq& levels = request->level_mask;
    const bool first_alone = levels.length() == 2 && levels[0] && !levels[1] && request->newValue.protect;
    reply->result = first_alone ? Tessivar_Routing::COMPLETE : Tessivar_Routing::FAILED;
    return reply;
  }
};

class Watch : public RequestReplyClientListener<Tessivar_Routing::Destination> {
 public:
  explicit Watch(tessivar::testing::Events& events) : events_(events) {}
  void valueChanged(const Tessivar_Routing::Destination* destination) override { events_.add(destination->unitId); }

 private:
  tessivar::testing::Events& events_;
};

TEST_F(RoutingServicesOnDomain, ChangeDestinationsOnRequest) {
  using namespace Tessivar_Routing;
  Guard guard;
  ASSERT_TRUE(services_.createServerServices());
  services_.protectService()->setListener(&guard);
  tessivar::testing::Events events;
  Watch watch(events);
  LoopbackDomain client_domain(domain_id);
  client_domain.registerContentFilter(AddressContentFilter::name, &AddressContentFilter::instance());
  ProtectRequestReplyService client(true, {AddressEx(1, 3, 1)});
  client.attachListener(&watch);
  ASSERT_TRUE(client.create("Orvel.Routing.DestinationsChanges", &client_domain));
  ASSERT_TRUE(client.waitForMatch(20000));

  const DDSPtr destination(DestinationTypeSupport::create_data());
  AddressEx(1, 3, 1).copyTo(destination->unitId);
  destination->protect = DDS_BOOLEAN_TRUE;
  for (const bool both : {false, true}) {
    DDSPtr<DestinationChangeRequest> request = client.createRequest(destination.get());
    ASSERT_TRUE(request && request->level_mask.length(2));
    request->level_mask[0] = DDS_BOOLEAN_TRUE;
    request->level_mask[1] = both;
    const auto ticket = client.makeRequest(request);
    ASSERT_TRUE(ticket);
    ASSERT_TRUE(tessivar::testing::eventually([&] { return ticket->received.load(); }));
    EXPECT_EQ(ticket->reply->result, both ? FAILED : COMPLETE);
  }
  // Of another router's destinations nothing comes.
  AddressEx(1, 3, 2).copyTo(destination->unitId);
  ASSERT_TRUE(services_.protectService()->valueNode().writeSample(destination));
  AddressEx(1, 3, 1).copyTo(destination->unitId);
  ASSERT_TRUE(services_.protectService()->valueNode().writeSample(destination));
  EXPECT_THAT(events.take(1), ElementsAre("0001:03:01"));
  client.cleanUp();
}

struct Occupied {
  const char* topic;
  const char* failure;
  std::size_t made;
};
void PrintTo(const Occupied& occupied, std::ostream* stream) {
  *stream << occupied.topic;
}

class RoutingServicesBeside : public ::testing::TestWithParam<Occupied> {};

TEST_P(RoutingServicesBeside, ATopicInUseFailWithTheWordsOfTheStep) {
  LoopbackDomain domain(domain_id);
  DDSNode<Tessivar_Routing::Router> occupant;
  occupant.attachDomain(&domain);
  ASSERT_TRUE(occupant.createTopic(GetParam().topic));
  LogRecorder log;
  RoutingServices services;
  services.attachDomain(&domain);
  EXPECT_FALSE(services.createServerServices());
  EXPECT_THAT(log.lines(), Contains(error("createServerServices(void)", GetParam().failure)));
  // What was made before the failure stays; a service that could not be completed is there, too.
  EXPECT_EQ(nodes(services).size(), GetParam().made);
}

INSTANTIATE_TEST_SUITE_P(
    Topics, RoutingServicesBeside,
    ::testing::Values(Occupied{"Orvel.Routing.Routers", "Failed to create the router node.", 0},
                      Occupied{"Orvel.Routing.Sources", "Failed to create the sources node.", 1},
                      Occupied{"Orvel.Routing.Destinations", "Failed to create the destinations node.", 2},
                      Occupied{"Orvel.Routing.Source.Associations", "Failed to create the source associations node.",
                               3},
                      Occupied{"Orvel.Routing.Dest.Associations", "Failed to create the dest associations node.", 4},
                      Occupied{"Orvel.Routing.AssociationRoutes", "Failed to create the router node.", 6},
                      Occupied{"Orvel.Routing.AssociationRoutes.Reply", "Failed to create the router node.", 6},
                      Occupied{"Orvel.Routing.DestinationsChanges.Requests", "Failed to create the protect node.", 7}));

TEST(RoutingRequestReplyServices, NeedTheAddressFilterOfTheirDomain) {
  LoopbackDomain domain(domain_id);
  LogRecorder log;
  const std::string rest =
      "::creatValueTopic(const class std::basic_string<char,struct std::char_traits<char>,class std::allocator<char> > "
      "&,class TessivarDDS::DDSDomain *)Custom filter not registered!";
  RoutingRequestReplyService routing(true, {});
  EXPECT_FALSE(routing.create("Orvel.Routing.AssociationRoutes", &domain));
  EXPECT_THAT(log.lines(), Contains("8 bool __cdecl TessivarDDS::RoutingRequestReplyService" + rest));
  ProtectRequestReplyService protect(true, {});
  EXPECT_FALSE(protect.create("Orvel.Routing.DestinationsChanges", &domain));
  EXPECT_THAT(log.lines(), Contains("8 bool __cdecl TessivarDDS::ProtectRequestReplyService" + rest));
  ProtectRequestReplyService server(false, {});
  protect.cleanUp();
  EXPECT_TRUE(server.create("Orvel.Routing.DestinationsChanges", &domain));
}

}  // namespace
}  // namespace TessivarDDS
