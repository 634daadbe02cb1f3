#include "tessivar/routing/services.h"

#include "tessivar/framework/filters/address_content_filter.h"
#include "tests/support/log_recorder.h"
#include "tests/support/loopback.h"

namespace TessivarDDS {
namespace {

using namespace tessivar::testing;
using namespace ::testing;

constexpr int domain_id = 110;

/// How many of the set's nodes exist.
int nodes(const RoutingServices& services) {
  return !!services.routerNode() + !!services.sourcesNode() + !!services.destinationsNode() +
         !!services.sourceAssociations() + !!services.destinationAssociations() + !!services.routingService() +
         !!services.protectService();
}

class RoutingServicesTest : public Test {
 protected:
  LoopbackDomain domain_{domain_id};
  RoutingServices services_;
  LogRecorder log_;
};

TEST_F(RoutingServicesTest, OfARouterWriteEverythingAndAreCreatedOnce) {
  EXPECT_FALSE(services_.createServerServices() || services_.createClientDiscoveryServices() ||
               services_.createClientReaderServices({}));
  EXPECT_THAT(log_.lines(), AllOf(SizeIs(3), Each(EndsWith("No domain is attached."))));
  EXPECT_EQ(nodes(services_), 0);
  services_.attachDomain(&domain_);
  for (int round = 0; round < 2; ++round) {
    ASSERT_TRUE(services_.createServerServices());
    const auto writes = [](const auto& node, const char* topic) {
      ASSERT_TRUE(node.dataWriter() && !node.dataReader()) << topic;
      EXPECT_STREQ(node.dataWriter()->get_topic()->get_name(), topic);
    };
    writes(*services_.routerNode(), "Orvel.Routing.Routers");
    writes(*services_.sourcesNode(), "Orvel.Routing.Sources");
    writes(*services_.destinationsNode(), "Orvel.Routing.Destinations");
    writes(*services_.sourceAssociations(), "Orvel.Routing.Source.Associations");
    writes(*services_.destinationAssociations(), "Orvel.Routing.Dest.Associations");
    writes(services_.routingService()->valueNode(), "Orvel.Routing.AssociationRoutes");
    writes(services_.routingService()->replyNode(), "Orvel.Routing.AssociationRoutes.Reply");
    writes(services_.protectService()->valueNode(), "Orvel.Routing.DestinationsChanges");
    EXPECT_FALSE(services_.createServerServices() || services_.updateClientReaderServices({}) ||
                 services_.createClientReaderServices({}));
    EXPECT_THAT(log_.lines(), ElementsAre(EndsWith("Already created"), EndsWith("Failed to create the router node."),
                                          EndsWith(" Method cannot be called when we are not a client"),
                                          EndsWith("Already created"), EndsWith("Failed to create the sources node.")));
    const RoutingServices copy = services_;  // cleans the nodes up that they share, and they are cleaned up once
    services_.cleanUp();
    EXPECT_EQ(nodes(services_), 0);
  }
  EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(RoutingServicesTest, OfAControllerReadWhatTheFiltersLetThrough) {
  services_.attachDomain(&domain_);
  ASSERT_TRUE(services_.createClientDiscoveryServices());
  EXPECT_EQ(nodes(services_), 1);
  EXPECT_FALSE(services_.updateClientReaderServices({}));
  EXPECT_THAT(log_.lines(), ElementsAre(EndsWith(" One of the nodes has not been created!")));
  ASSERT_TRUE(services_.createClientReaderServices({AddressEx(1, 3, 1), AddressEx("studio")}));
  EXPECT_EQ(nodes(services_), 6);
  const auto reads = [](const auto& node, const std::string& topic, const std::vector<std::string>& wanted) {
    ASSERT_TRUE(node.dataReader() && !node.dataWriter()) << topic;
    EXPECT_EQ(node.dataReader()->get_topicdescription()->get_name(), "Orvel.Routing." + topic + ".Filtered");
    DDS_StringSeq parameters;
    node.contentFilteredTopic()->get_expression_parameters(parameters);
    std::vector<std::string> texts;
    for (DDS_Long i = 0; i < parameters.length(); ++i) texts.emplace_back(parameters[i]);
    EXPECT_EQ(texts, wanted) << topic;
  };
  const auto all_read = [&](const std::vector<std::string>& wanted) {
    reads(*services_.sourcesNode(), "Sources", wanted);
    reads(*services_.destinationsNode(), "Destinations", wanted);
    reads(*services_.sourceAssociations(), "Source.Associations", wanted);
    reads(*services_.destinationAssociations(), "Dest.Associations", wanted);
    reads(services_.routingService()->valueNode(), "AssociationRoutes", wanted);
  };
  all_read({"0001:03:01", "studio"});
  ASSERT_TRUE(services_.updateClientReaderServices({}));
  all_read({});
  EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(RoutingServicesTest, ChangeDestinationsOnRequest) {
  using namespace Tessivar_Routing;
  struct Guard : RequestReplyServerListener<DestinationChangeRequest, DestinationChangeReply> {
    DestinationChangeReply* processRequest(const DestinationChangeRequest* request) override {
      auto* reply = DestinationChangeReplyTypeSupport::create_data();
      reply->result = request->level_mask[0] && request->newValue.protect ? COMPLETE : FAILED;
      return reply;
    }
  } guard;
  services_.attachDomain(&domain_);
  ASSERT_TRUE(services_.createServerServices());
  services_.protectService()->setListener(&guard);
  LoopbackDomain other(domain_id);
  ProtectRequestReplyService client(true, {AddressEx(1, 3, 1)});
  EXPECT_FALSE(client.create("Orvel.Routing.DestinationsChanges", &other));
  EXPECT_THAT(log_.lines(), Contains(EndsWith("Custom filter not registered!")));
  client.cleanUp();
  other.registerContentFilter(AddressContentFilter::name, &AddressContentFilter::instance());
  ASSERT_TRUE(client.create("Orvel.Routing.DestinationsChanges", &other) && client.waitForMatch(20000));
  const DDSPtr destination(DestinationTypeSupport::create_data());
  destination->protect = DDS_BOOLEAN_TRUE;
  for (const bool allowed : {false, true}) {
    DDSPtr<DestinationChangeRequest> request = client.createRequest(destination.get());
    ASSERT_TRUE(request && request->level_mask.length(1));
    request->level_mask[0] = allowed;
    const auto ticket = client.makeRequest(request);
    ASSERT_TRUE(ticket && eventually([&] { return ticket->received.load(); }));
    EXPECT_EQ(ticket->reply->result, allowed ? COMPLETE : FAILED);
  }
  client.cleanUp();
}

}  // namespace
}  // namespace TessivarDDS
