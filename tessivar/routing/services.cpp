#include "tessivar/routing/services.h"

#include "tessivar/framework/domain/dds_domain.h"
#include "tessivar/framework/domain/detail/signature.h"
#include "tessivar/framework/domain/topic_qos.h"
#include "tessivar/framework/filters/address_content_filter.h"
#include "tessivar/framework/log/logger.h"
#include "tessivar/framework/report/internal/report_book.h"

#define SIGNATURE(function) "bool __cdecl TessivarDDS::RoutingServices::" function
#define SIGNATURE_OF_ADDRESSES(function) SIGNATURE(function) "(const " TESSIVAR_SIGNATURE_ADDRESSES " &)"

namespace TessivarDDS {
namespace {

constexpr const char* routers_topic = "Orvel.Routing.Routers";
constexpr const char* sources_topic = "Orvel.Routing.Sources";
constexpr const char* destinations_topic = "Orvel.Routing.Destinations";
constexpr const char* source_associations_topic = "Orvel.Routing.Source.Associations";
constexpr const char* destination_associations_topic = "Orvel.Routing.Dest.Associations";
constexpr const char* routes_topic = "Orvel.Routing.AssociationRoutes";
constexpr const char* destination_changes_topic = "Orvel.Routing.DestinationsChanges";

constexpr const char* profile_library = "tessivar_Library";
constexpr const char* routers_profile = "tessivar_RouterQos";
constexpr const char* ports_profile = "tessivar_RouterPortQos";

/// How soon a controller notices that a router no longer answers.
constexpr int reply_lease_milliseconds = 3000;

bool fail(const char* signature, const char* failure) {
  logError() << signature << failure;
  return false;
}

template <class Node>
void remove(std::shared_ptr<Node>& node) {
  // Taken down while the pointer still leads to it: callbacks of its thread may go on until then.
  if (node) node->cleanUp();
  node.reset();
}

}  // namespace

RoutingServices::RoutingServices() : book_(std::make_shared<ReportBook>("RoutingServices")) {}

RoutingServices::~RoutingServices() {
  cleanUp();
}

void RoutingServices::setUseQosProfiles(bool use) {
  if (routerNode_ || sourcesNode_) {
    fail("void __cdecl TessivarDDS::RoutingServices::setUseQosProfiles(bool)", " Cannot be changed after create.");
    return;
  }
  useQosProfiles_ = use;
}

bool RoutingServices::createServerServices() {
  constexpr const char* signature = SIGNATURE("createServerServices(void)");
  if (!domain_) return fail(signature, "No domain is attached.");
  isClient_ = false;
  domain_->registerContentFilter(AddressContentFilter::name, &AddressContentFilter::instance());
  if (!createRouterNode()) return fail(signature, "Failed to create the router node.");
  if (!createStateNodes(signature, {})) return false;
  return createProtectService({}) || fail(signature, "Failed to create the protect node.");
}

bool RoutingServices::createClientDiscoveryServices() {
  constexpr const char* signature = SIGNATURE("createClientDiscoveryServices(void)");
  if (!domain_) return fail(signature, "No domain is attached.");
  isClient_ = true;
  return createRouterNode() || fail(signature, "Failed to create the router node.");
}

bool RoutingServices::createClientReaderServices(const std::vector<AddressEx>& addresses) {
  constexpr const char* signature = SIGNATURE_OF_ADDRESSES("createClientReaderServices");
  if (!domain_) return fail(signature, "No domain is attached.");
  isClient_ = true;
  domain_->registerContentFilter(AddressContentFilter::name, &AddressContentFilter::instance());
  return createStateNodes(signature, addresses);
}

bool RoutingServices::createClientProtectService(const std::vector<AddressEx>& addresses, WaitSetThread* thread) {
  constexpr const char* signature = SIGNATURE("createClientProtectService(const " TESSIVAR_SIGNATURE_ADDRESSES
                                              " &,class TessivarDDS::WaitSetThread *)");
  if (!domain_) return fail(signature, "No domain is attached.");
  isClient_ = true;
  domain_->registerContentFilter(AddressContentFilter::name, &AddressContentFilter::instance());
  return createProtectService(addresses, thread) || fail(signature, "Failed to create the protect node.");
}

bool RoutingServices::createStateNodes(const char* signature, const std::vector<AddressEx>& addresses) {
  if (!createSourceNode(addresses)) return fail(signature, "Failed to create the sources node.");
  if (!createDestinationNode(addresses)) return fail(signature, "Failed to create the destinations node.");
  if (!createSourceAssociationNode(addresses)) return fail(signature, "Failed to create the source associations node.");
  if (!createDestAssociationNode(addresses)) return fail(signature, "Failed to create the dest associations node.");
  // The router node's words: what watches the logs of a facility knows these.
  return createRoutingService(addresses) || fail(signature, "Failed to create the router node.");
}

bool RoutingServices::updateClientReaderServices(const std::vector<AddressEx>& addresses) {
  constexpr const char* signature = SIGNATURE_OF_ADDRESSES("updateClientReaderServices");
  if (!isClient_) return fail(signature, " Method cannot be called when we are not a client");
  if (!sourcesNode_ || !destinationsNode_ || !sourceAssociations_ || !destinationAssociations_ || !routingService_)
    return fail(signature, " One of the nodes has not been created!");
  return (sourcesNode_->updateAddresses(addresses) && destinationsNode_->updateAddresses(addresses) &&
          sourceAssociations_->updateAddresses(addresses) && destinationAssociations_->updateAddresses(addresses) &&
          routingService_->updateAddresses(addresses) &&
          (!protectService_ || protectService_->updateAddresses(addresses))) ||
         fail(signature, " Addresses could not be updated for one of the nodes.");
}

void RoutingServices::enableBatching(bool on) {
  if (!sourcesNode_) return;
  sourcesNode_->enableBatching(on);
  if (destinationsNode_) destinationsNode_->enableBatching(on);
  if (sourceAssociations_) sourceAssociations_->enableBatching(on);
  if (destinationAssociations_) destinationAssociations_->enableBatching(on);
}

bool RoutingServices::createRouterNode() {
  if (routerNode_) return fail(SIGNATURE("createRouterNode(void)"), "Already created");
  DDS_TopicQos qos;
  if (!useQosProfiles_) {
    if (!createReliableDurableTopicQos(domain_, routers_topic, qos)) return false;
    routerNode_.reset(DDSNode<Tessivar_Routing::Router>::create(domain_, routers_topic, qos, isClient_));
  } else {
    routerNode_.reset(
        DDSNode<Tessivar_Routing::Router>::create(domain_, routers_topic, profile_library, routers_profile, isClient_));
  }
  book_->open(*domain_);
  book_->add(routerNode_.get());
  return routerNode_ != nullptr;
}

template <class T>
bool RoutingServices::createNode(const char* signature, std::shared_ptr<DDSRouterNode<T>>& node, const char* topicName,
                                 const std::vector<AddressEx>& addresses) const {
  if (node) return fail(signature, "Already created");
  node.reset(DDSRouterNode<T>::create(domain_, addresses, topicName, isClient_, useQosProfiles_ ? profile_library : "",
                                      ports_profile));
  book_->open(*domain_);
  book_->add(node.get());
  return node != nullptr;
}

bool RoutingServices::createSourceNode(const std::vector<AddressEx>& addresses) {
  return createNode(SIGNATURE_OF_ADDRESSES("createSourceNode"), sourcesNode_, sources_topic, addresses);
}

bool RoutingServices::createDestinationNode(const std::vector<AddressEx>& addresses) {
  return createNode(SIGNATURE_OF_ADDRESSES("createDestinationNode"), destinationsNode_, destinations_topic, addresses);
}

bool RoutingServices::createSourceAssociationNode(const std::vector<AddressEx>& addresses) {
  return createNode(SIGNATURE_OF_ADDRESSES("createSourceAssociationNode"), sourceAssociations_,
                    source_associations_topic, addresses);
}

bool RoutingServices::createDestAssociationNode(const std::vector<AddressEx>& addresses) {
  return createNode(SIGNATURE_OF_ADDRESSES("createDestAssociationNode"), destinationAssociations_,
                    destination_associations_topic, addresses);
}

bool RoutingServices::createRoutingService(const std::vector<AddressEx>& addresses) {
  if (routingService_) return fail(SIGNATURE_OF_ADDRESSES("createRoutingService"), "Already created");
  // In place before its thread starts, which may call a listener that asks for a route.
  routingService_ = std::make_shared<RoutingRequestReplyService>(isClient_, addresses);
  routingService_->setUseQosProfiles(useQosProfiles_);
  routingService_->setLiveliness(reply_lease_milliseconds);
  if (isClient_) routingService_->attachListener(routingListener_);
  return routingService_->create(routes_topic, domain_) && book_->addService(*domain_, *routingService_);
}

bool RoutingServices::createProtectService(const std::vector<AddressEx>& addresses, WaitSetThread* thread) {
  if (protectService_) return fail(SIGNATURE_OF_ADDRESSES("createProtectService"), "Already created");
  protectService_ = std::make_shared<ProtectRequestReplyService>(isClient_, addresses);
  protectService_->setUseQosProfiles(useQosProfiles_);
  protectService_->setLiveliness(reply_lease_milliseconds);
  protectService_->setWaitSetThread(thread);
  if (isClient_) protectService_->attachListener(protectListener_);
  return protectService_->create(destination_changes_topic, domain_) && book_->addService(*domain_, *protectService_);
}

Report RoutingServices::report() const {
  return book_->report();
}

bool RoutingServices::inCallback() const {
  const auto isOn = [](const auto& service) {
    return service && service->waitSetThread() && service->waitSetThread()->isCurrent();
  };
  return tessivar::platform::in_callback() || isOn(routingService_) || isOn(protectService_);
}

void RoutingServices::cleanUp() {
  if (inCallback()) {
    logError() << "void __cdecl TessivarDDS::RoutingServices::cleanUp(void) Cannot clean up from within a callback.";
    return;
  }
  book_->close();  // before what it looks at goes
  remove(routerNode_);
  remove(sourcesNode_);
  remove(destinationsNode_);
  remove(sourceAssociations_);
  remove(destinationAssociations_);
  remove(routingService_);
  remove(protectService_);
}

}  // namespace TessivarDDS
