// SPDX-License-Identifier: Apache-2.0

#include "tessivar/routing/services.h"

#include "tessivar/framework/domain/dds_domain.h"
#include "tessivar/framework/domain/detail/signature.h"
#include "tessivar/framework/domain/topic_qos.h"
#include "tessivar/framework/filters/address_content_filter.h"
#include "tessivar/framework/log/logger.h"
#include "tessivar/framework/pointers/detail/atomic_owner.h"
#include "tessivar/framework/report/internal/report_book.h"
#include "tessivar/framework/sync/detail/use_gate.h"

#include <atomic>
#include <utility>

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

/// The lease after which a controller detects that a router no longer replies.
constexpr int reply_lease_milliseconds = 3000;

bool fail(const char* signature, const char* failure) {
  logError() << signature << failure;
  return false;
}

template <class Node>
void remove(AtomicOwner<Node>& node) {
  // Cleaned up before the pointer is reset, because callbacks on its thread may use the pointer until then.
  if (node) node->cleanUp();
  node.reset();
}

}  // namespace

/// The state that copies of RoutingServices share.
class RoutingServices::State {
 public:
  explicit State(std::shared_ptr<ReportBook> reports) : book(std::move(reports)) {}

  /// Calls `create` in a turn with the gate closed. Without a domain, and in a callback, logs one line and returns
  /// false.
  template <class Create>
  bool change(const char* signature, Create&& create) {
    if (inCallback()) return fail(signature, " Cannot create within a callback.");
    const UseGate::Turn turn(gate);
    gate.close();
    const bool created = domain ? create() : fail(signature, "No domain is attached.");
    gate.reset();
    return created;
  }
  bool inCallback() const;
  void takeDown();

  // The steps of the functions that create.
  void registerFilter() const;
  bool createRouterNode();
  bool createStateNodes(const char* signature, const std::vector<AddressEx>& addresses);
  template <class T>
  bool createNode(const char* signature, AtomicOwner<DDSRouterNode<T>>& node, const char* topicName,
                  const std::vector<AddressEx>& addresses) const;
  bool createRoutingService(const std::vector<AddressEx>& addresses);
  bool createProtectService(const std::vector<AddressEx>& addresses, WaitSetThread* thread = nullptr);
  template <class Service, class Listener>
  bool createService(const char* signature, AtomicOwner<Service>& owner, const char* topicName,
                     const std::vector<AddressEx>& addresses, Listener* listener, WaitSetThread* lent,
                     std::atomic<const WaitSetThread*>& thread) const;

  UseGate gate;  // closed while the nodes change
  std::atomic<DDSDomain*> domain{nullptr};
  const std::shared_ptr<ReportBook> book;
  std::atomic<bool> isClient{true};
  std::atomic<bool> useQosProfiles{false};
  AtomicOwner<DDSNode<Tessivar_Routing::Router>> routerNode;
  AtomicOwner<DDSRouterNode<Tessivar_Routing::Source>> sourcesNode;
  AtomicOwner<DDSRouterNode<Tessivar_Routing::Destination>> destinationsNode;
  AtomicOwner<DDSRouterNode<Tessivar_Routing::Association>> sourceAssociations;
  AtomicOwner<DDSRouterNode<Tessivar_Routing::Association>> destinationAssociations;
  AtomicOwner<RoutingRequestReplyService> routingService;
  AtomicOwner<ProtectRequestReplyService> protectService;
  std::atomic<RequestReplyClientListener<Tessivar_Routing::AssociationRoute>*> routingListener{nullptr};
  std::atomic<RequestReplyClientListener<Tessivar_Routing::Destination>*> protectListener{nullptr};
  // The services' threads; only compared, never dereferenced.
  std::atomic<const WaitSetThread*> routingThread{nullptr};
  std::atomic<const WaitSetThread*> protectThread{nullptr};
};

RoutingServices::RoutingServices() : RoutingServices(std::make_shared<ReportBook>("RoutingServices")) {}

RoutingServices::RoutingServices(std::shared_ptr<ReportBook> book) : state_(std::make_shared<State>(std::move(book))) {}

RoutingServices::~RoutingServices() {
  cleanUp();
}

void RoutingServices::attachDomain(DDSDomain* domain) {
  const UseGate::Use use(state_->gate);
  if (use.closing()) {
    fail("void __cdecl TessivarDDS::RoutingServices::attachDomain(class TessivarDDS::DDSDomain *)", UseGate::busy);
    return;
  }
  state_->domain = domain;
}

DDSDomain* RoutingServices::domain() const {
  return state_->domain;
}

void RoutingServices::setUseQosProfiles(bool use) {
  const UseGate::Use mine(state_->gate);
  if (mine.closing() || state_->routerNode || state_->sourcesNode) {
    fail("void __cdecl TessivarDDS::RoutingServices::setUseQosProfiles(bool)", " Cannot be changed after create.");
    return;
  }
  state_->useQosProfiles = use;
}

bool RoutingServices::createServerServices() {
  constexpr const char* signature = SIGNATURE("createServerServices(void)");
  return state_->change(signature, [&] {
    state_->isClient = false;
    state_->registerFilter();
    if (!state_->createRouterNode()) return fail(signature, "Failed to create the router node.");
    if (!state_->createStateNodes(signature, {})) return false;
    return state_->createProtectService({}) || fail(signature, "Failed to create the protect node.");
  });
}

bool RoutingServices::createClientDiscoveryServices() {
  constexpr const char* signature = SIGNATURE("createClientDiscoveryServices(void)");
  return state_->change(signature, [&] {
    state_->isClient = true;
    return state_->createRouterNode() || fail(signature, "Failed to create the router node.");
  });
}

bool RoutingServices::createClientReaderServices(const std::vector<AddressEx>& addresses) {
  constexpr const char* signature = SIGNATURE_OF_ADDRESSES("createClientReaderServices");
  return state_->change(signature, [&] {
    state_->isClient = true;
    state_->registerFilter();
    return state_->createStateNodes(signature, addresses);
  });
}

bool RoutingServices::createClientProtectService(const std::vector<AddressEx>& addresses, WaitSetThread* thread) {
  constexpr const char* signature = SIGNATURE("createClientProtectService(const " TESSIVAR_SIGNATURE_ADDRESSES
                                              " &,class TessivarDDS::WaitSetThread *)");
  return state_->change(signature, [&] {
    state_->isClient = true;
    state_->registerFilter();
    return state_->createProtectService(addresses, thread) || fail(signature, "Failed to create the protect node.");
  });
}

bool RoutingServices::updateClientReaderServices(const std::vector<AddressEx>& addresses) {
  constexpr const char* signature = SIGNATURE_OF_ADDRESSES("updateClientReaderServices");
  if (inCallback()) return fail(signature, " Cannot update within a callback.");
  const UseGate::Turn turn(state_->gate);
  State& state = *state_;
  if (!state.isClient) return fail(signature, " Method cannot be called when we are not a client");
  if (!state.sourcesNode || !state.destinationsNode || !state.sourceAssociations || !state.destinationAssociations ||
      !state.routingService) {
    return fail(signature, " One of the nodes has not been created!");
  }
  return (state.sourcesNode->updateAddresses(addresses) && state.destinationsNode->updateAddresses(addresses) &&
          state.sourceAssociations->updateAddresses(addresses) &&
          state.destinationAssociations->updateAddresses(addresses) &&
          state.routingService->updateAddresses(addresses) &&
          (!state.protectService || state.protectService->updateAddresses(addresses))) ||
         fail(signature, " Addresses could not be updated for one of the nodes.");
}

void RoutingServices::enableBatching(bool on) {
  const UseGate::Use use(state_->gate);
  if (use.closing() || !state_->sourcesNode) return;
  state_->sourcesNode->enableBatching(on);
  if (state_->destinationsNode) state_->destinationsNode->enableBatching(on);
  if (state_->sourceAssociations) state_->sourceAssociations->enableBatching(on);
  if (state_->destinationAssociations) state_->destinationAssociations->enableBatching(on);
}

void RoutingServices::setRoutingListener(RequestReplyClientListener<Tessivar_Routing::AssociationRoute>* listener) {
  state_->routingListener = listener;
}

void RoutingServices::setProtectListener(RequestReplyClientListener<Tessivar_Routing::Destination>* listener) {
  state_->protectListener = listener;
}

DDSNode<Tessivar_Routing::Router>* RoutingServices::routerNode() const {
  return state_->routerNode.get();
}
DDSRouterNode<Tessivar_Routing::Source>* RoutingServices::sourcesNode() const {
  return state_->sourcesNode.get();
}
DDSRouterNode<Tessivar_Routing::Destination>* RoutingServices::destinationsNode() const {
  return state_->destinationsNode.get();
}
DDSRouterNode<Tessivar_Routing::Association>* RoutingServices::sourceAssociations() const {
  return state_->sourceAssociations.get();
}
DDSRouterNode<Tessivar_Routing::Association>* RoutingServices::destinationAssociations() const {
  return state_->destinationAssociations.get();
}
RoutingRequestReplyService* RoutingServices::routingService() const {
  return state_->routingService.get();
}
ProtectRequestReplyService* RoutingServices::protectService() const {
  return state_->protectService.get();
}

Report RoutingServices::report() const {
  return state_->book->report();
}

bool RoutingServices::inCallback() const {
  return state_->inCallback();
}

void RoutingServices::cleanUp() {
  if (inCallback()) {
    logError() << "void __cdecl TessivarDDS::RoutingServices::cleanUp(void) Cannot clean up from within a callback.";
    return;
  }
  const UseGate::Turn turn(state_->gate);
  state_->gate.close();
  state_->takeDown();
  state_->gate.reset();
}

void RoutingServices::State::takeDown() {
  book->close();  // before the objects that it reads are deleted
  remove(routerNode);
  remove(sourcesNode);
  remove(destinationsNode);
  remove(sourceAssociations);
  remove(destinationAssociations);
  remove(routingService);
  remove(protectService);
  routingThread = protectThread = nullptr;
}

bool RoutingServices::State::inCallback() const {
  const WaitSetThread* const thread = WaitSetThread::current();
  return tessivar::platform::in_callback() || gate.isMyTurn() ||
         (thread && (thread == routingThread || thread == protectThread));
}

void RoutingServices::State::registerFilter() const {
  domain.load()->registerContentFilter(AddressContentFilter::name, &AddressContentFilter::instance());
}

bool RoutingServices::State::createStateNodes(const char* signature, const std::vector<AddressEx>& addresses) {
  if (!createNode(SIGNATURE_OF_ADDRESSES("createSourceNode"), sourcesNode, sources_topic, addresses))
    return fail(signature, "Failed to create the sources node.");
  if (!createNode(SIGNATURE_OF_ADDRESSES("createDestinationNode"), destinationsNode, destinations_topic, addresses))
    return fail(signature, "Failed to create the destinations node.");
  if (!createNode(SIGNATURE_OF_ADDRESSES("createSourceAssociationNode"), sourceAssociations, source_associations_topic,
                  addresses))
    return fail(signature, "Failed to create the source associations node.");
  if (!createNode(SIGNATURE_OF_ADDRESSES("createDestAssociationNode"), destinationAssociations,
                  destination_associations_topic, addresses))
    return fail(signature, "Failed to create the dest associations node.");
  // The text names the router node: programs that watch the logs of a facility know this text.
  return createRoutingService(addresses) || fail(signature, "Failed to create the router node.");
}

bool RoutingServices::State::createRouterNode() {
  if (routerNode) return fail(SIGNATURE("createRouterNode(void)"), "Already created");
  typedef DDSNode<Tessivar_Routing::Router> Node;
  DDS_TopicQos qos;
  if (!useQosProfiles) {
    if (!createReliableDurableTopicQos(domain, routers_topic, qos)) return false;
    routerNode.reset(std::unique_ptr<Node>(Node::create(domain, routers_topic, qos, isClient)));
  } else {
    routerNode.reset(
        std::unique_ptr<Node>(Node::create(domain, routers_topic, profile_library, routers_profile, isClient)));
  }
  book->open(*domain);
  book->add(routerNode.get());
  return bool(routerNode);
}

template <class T>
bool RoutingServices::State::createNode(const char* signature, AtomicOwner<DDSRouterNode<T>>& node,
                                        const char* topicName, const std::vector<AddressEx>& addresses) const {
  if (node) return fail(signature, "Already created");
  typedef DDSRouterNode<T> Node;
  node.reset(std::unique_ptr<Node>(
      Node::create(domain, addresses, topicName, isClient, useQosProfiles ? profile_library : "", ports_profile)));
  book->open(*domain);
  book->add(node.get());
  return bool(node);
}

bool RoutingServices::State::createRoutingService(const std::vector<AddressEx>& addresses) {
  return createService(SIGNATURE_OF_ADDRESSES("createRoutingService"), routingService, routes_topic, addresses,
                       routingListener.load(), nullptr, routingThread);
}

bool RoutingServices::State::createProtectService(const std::vector<AddressEx>& addresses, WaitSetThread* thread) {
  return createService(SIGNATURE_OF_ADDRESSES("createProtectService"), protectService, destination_changes_topic,
                       addresses, protectListener.load(), thread, protectThread);
}

template <class Service, class Listener>
bool RoutingServices::State::createService(const char* signature, AtomicOwner<Service>& owner, const char* topicName,
                                           const std::vector<AddressEx>& addresses, Listener* listener,
                                           WaitSetThread* lent, std::atomic<const WaitSetThread*>& thread) const {
  if (owner) return fail(signature, "Already created");
  auto service = std::make_unique<Service>(isClient, addresses);
  service->setUseQosProfiles(useQosProfiles);
  service->setLiveliness(reply_lease_milliseconds);
  service->setWaitSetThread(lent);
  service->setAutoStartThread(false);
  if (isClient) service->attachListener(listener);
  if (!service->create(topicName, domain)) return false;
  book->addService(*domain, *service);
  thread = service->waitSetThread();
  owner.reset(std::move(service));
  owner->waitSetThread()->start();  // last, because it may call a listener that requests a route
  return true;
}

}  // namespace TessivarDDS
