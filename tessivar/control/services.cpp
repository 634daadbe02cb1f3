// SPDX-License-Identifier: Apache-2.0

#include "tessivar/control/services.h"

#include "tessivar/framework/domain/detail/signature.h"
#include "tessivar/framework/filters/address_content_filter.h"
#include "tessivar/framework/log/logger.h"
#include "tessivar/framework/report/internal/report_book.h"

#include <utility>

namespace TessivarDDS {
namespace {

constexpr const char* library = "tessivar_Library";
constexpr const char* interests_profile = "tessivar_InterestQos";

// A controller reports a device as lost after this time without a sign of life.
constexpr int reply_liveliness_ms = 3000;
constexpr int interest_liveliness_ms = 60000;

bool refuse_existing(const char* signature, const void* member) {
  if (member) logWarning() << signature << "Already created";
  return member != nullptr;
}

/// The QoS of a reader (client) or of a writer (device), from a profile.
struct EndpointQos {
  DDS_DataReaderQos reader;
  DDS_DataWriterQos writer;

  bool load(DDSDomain& domain, const char* profile, bool isClient) {
    return isClient ? domain.dataReaderQosProfile(library, profile, reader)
                    : domain.dataWriterQosProfile(library, profile, writer);
  }
  template <class Node>
  bool create(Node& node, bool isClient) const {
    return isClient ? node.createDataReader(nullptr, DDS_STATUS_MASK_NONE, reader)
                    : node.createDataWriter(nullptr, DDS_STATUS_MASK_NONE, writer);
  }
};

/// Calls `build` with a new node, and then stores the node in `owner`, also after a failure.
template <class Node, class Build>
bool make(AtomicOwner<Node>& owner, std::unique_ptr<Node> node, Build&& build) {
  const bool made = build(*node);
  owner.reset(std::move(node));
  return made;
}

/// Returns true if `node` exists and has a reader (`needsReader`) or a writer. Otherwise logs one line.
template <class Node>
bool isThere(const char* signature, const char* name, const Node* node, bool needsReader) {
  if (!node) {
    logError() << signature << name << " not created.";
    return false;
  }
  if (needsReader ? node->dataReader() != nullptr : node->dataWriter() != nullptr) return true;
  logError() << signature << name << (needsReader ? " ok, but reader not valid." : " ok, but writer not valid.");
  return false;
}

}  // namespace

TessivarServices::TessivarServices() : TessivarServices(std::make_shared<ReportBook>("TessivarServices")) {}

TessivarServices::TessivarServices(std::shared_ptr<ReportBook> book) : book_(std::move(book)) {}

TessivarServices::~TessivarServices() {
  cleanUp();
}

void TessivarServices::attachDomain(DDSDomain* domain) {
  const UseGate::Use use(gate_);
  if (use.closing()) {
    logError() << "void __cdecl TessivarDDS::TessivarServices::attachDomain(class TessivarDDS::DDSDomain *)"
               << UseGate::busy;
    return;
  }
  domain_ = domain;
}

void TessivarServices::setUseQosProfiles(bool use) {
  const UseGate::Use mine(gate_);
  if (mine.closing() || unitNode_ || commandService_) {
    logError() << "void __cdecl TessivarDDS::TessivarServices::setUseQosProfiles(bool)"
               << " Cannot be changed after create.";
    return;
  }
  useQosProfiles_ = use;
}

bool TessivarServices::create(bool isClient, const std::vector<std::string>& filterAddresses) {
  constexpr const char* signature =
      "bool __cdecl TessivarDDS::TessivarServices::create(bool,const " TESSIVAR_SIGNATURE_STRINGS " &)";
  if (inCallback()) {
    logError() << signature << " Cannot create within a callback.";
    return false;
  }
  const UseGate::Turn turn(gate_);
  gate_.close();
  bool made = false;
  if (!domain()) {
    logError() << signature << "No domain is attached.";
  } else {
    if (commandService_) logWarning() << signature << "TessivarServices have already been created.";
    takeDown();  // also the nodes of an earlier create() that failed
    isClient_ = isClient;
    made = build(signature, filterAddresses);
  }
  gate_.reset();
  if (made && autoStartThread_) startThread();
  return made;
}

bool TessivarServices::build(const char* signature, const std::vector<std::string>& filterAddresses) {
  domain()->registerContentFilter(AddressContentFilter::name, &AddressContentFilter::instance());
  const char* failure = nullptr;
  if (!createUnitNode()) {
    failure = "Failed to create the unit node";
  } else if (!createCommandService(filterAddresses)) {
    failure = "Failed to create command service.";
  } else if (!createMetadataNode(filterAddresses)) {
    failure = "Failed to create the menu node.";
  } else if (!createInterestsNode(filterAddresses)) {
    failure = "Failed to create interests node.";
  }
  if (failure) {
    logError() << signature << failure;
    return false;
  }
  book_->open(*domain());
  book_->add(unitNode_.get());
  book_->addService(*domain(), *commandService_);
  book_->add(metadataNode_.get());
  book_->add(interestsNode_.get());
  return true;
}

void TessivarServices::start() {
  if (inCallback()) {
    logError() << "void __cdecl TessivarDDS::TessivarServices::start(void) Cannot start within a callback.";
    return;
  }
  const UseGate::Turn turn(gate_);
  startThread();
}

void TessivarServices::startThread() {
  if (commandService_ && commandService_->waitSetThread()) commandService_->waitSetThread()->start();
}

Report TessivarServices::report() const {
  return book_->report();
}

bool TessivarServices::inCallback() const {
  const WaitSetThread* const thread = WaitSetThread::current();
  return tessivar::platform::in_callback() || gate_.isMyTurn() || (thread && thread == commandThread_);
}

void TessivarServices::cleanUp() {
  if (inCallback()) {
    logError() << "void __cdecl TessivarDDS::TessivarServices::cleanUp(void)"
               << " Cannot clean up from within a callback.";
    return;
  }
  const UseGate::Turn turn(gate_);
  gate_.close();
  takeDown();
  gate_.reset();
}

void TessivarServices::takeDown() {
  book_->close();                                   // before the objects that it reads are deleted
  if (commandService_) commandService_->cleanUp();  // before the reset: its callbacks may still use commandService()
  commandThread_ = nullptr;
  commandService_.reset();
  unitNode_.reset();
  metadataNode_.reset();
  interestsNode_.reset();
}

bool TessivarServices::createUnitNode() {
  if (refuse_existing("bool __cdecl TessivarDDS::TessivarServices::createUnitNode(void)", unitNode_.get()))
    return false;
  EndpointQos qos;
  if (!qos.load(*domain(), "tessivar_UnitQos", isClient_)) return false;
  return make(unitNode_, std::make_unique<DDSNode<Tessivar::Unit>>(), [&](DDSNode<Tessivar::Unit>& node) {
    node.attachDomain(domain());
    return node.createTopic("Orvel.Tessivar.Units") && qos.create(node, isClient_);
  });
}

bool TessivarServices::createCommandService(const std::vector<std::string>& filterAddresses) {
  constexpr const char* signature =
      "bool __cdecl TessivarDDS::TessivarServices::createCommandService(const " TESSIVAR_SIGNATURE_STRINGS " &)";
  if (refuse_existing(signature, commandService_.get())) return false;
  auto service = std::make_unique<TessivarRequestReplyService>(isClient_);
  return make(commandService_, std::move(service), [&](TessivarRequestReplyService& made) {
    made.setUseQosProfiles(useQosProfiles_);
    made.setLiveliness(reply_liveliness_ms);
    made.setFilterAddresses(filterAddresses);
    made.setAutoStartThread(false);  // its callbacks may use the other nodes
    const bool created = made.create("Orvel.Tessivar.Commands", domain());
    commandThread_ = made.waitSetThread();
    return created;
  });
}

bool TessivarServices::createMetadataNode(const std::vector<std::string>& filterAddresses) {
  constexpr const char* signature =
      "bool __cdecl TessivarDDS::TessivarServices::createMetadataNode(const " TESSIVAR_SIGNATURE_STRINGS " &)";
  if (refuse_existing(signature, metadataNode_.get())) return false;
  return make(metadataNode_, std::make_unique<MetadataNode>(), [&](MetadataNode& node) {
    node.attachDomain(domain());
    node.setFilterAddresses(filterAddresses);
    if (!node.registerTypeSupport() || !node.createTopic("Orvel.Tessivar.Metadata", DDS_TOPIC_QOS_DEFAULT))
      return false;
    EndpointQos qos;
    if (!qos.load(*domain(), "tessivar_MetadataQos", isClient_)) {
      logError() << signature << " Failed to read tessivar_Library::tessivar_MetadataQos";
      return false;
    }
    return qos.create(node, isClient_);
  });
}

bool TessivarServices::createInterestsNode(const std::vector<std::string>& filterAddresses) {
  constexpr const char* signature =
      "bool __cdecl TessivarDDS::TessivarServices::createInterestsNode(const " TESSIVAR_SIGNATURE_STRINGS " &)";
  if (refuse_existing(signature, interestsNode_.get())) return false;
  typedef DDSFilteredNode<Tessivar::CommandInterest> Node;
  return make(interestsNode_, std::make_unique<Node>(), [&](Node& node) {
    node.attachDomain(domain());
    if (!node.registerTypeSupport()) return false;
    DDS_TopicQos qos;
    if (useQosProfiles_) {
      node.setQosProfile(library, interests_profile);
      if (!node.profileTopicQos(qos)) return false;
    } else {
      if (node.participant()->get_default_topic_qos(qos) != DDS_RETCODE_OK)
        logError() << signature << "Error at location";
      qos.durability.kind = DDS_TRANSIENT_LOCAL_DURABILITY_QOS;
      qos.reliability.kind = DDS_RELIABLE_RELIABILITY_QOS;
      qos.history.kind = DDS_KEEP_LAST_HISTORY_QOS;
      qos.history.depth = 1;
      qos.liveliness.lease_duration = DDS_Duration_from_millis(interest_liveliness_ms);
    }
    if (!node.createTopic("Orvel.Tessivar.Interests", qos)) return false;

    if (isClient_) {
      // Clients with the same interest share its instance: a client that leaves must not dispose of the instance.
      DDS_DataWriterQos writer;
      if (!node.dataWriterQos(writer)) return false;
      if (!useQosProfiles_) writer.writer_data_lifecycle.autodispose_unregistered_instances = DDS_BOOLEAN_FALSE;
      return node.createDataWriter(nullptr, DDS_STATUS_MASK_NONE, writer);
    }
    if (!node.createContentFilteredTopic(domain()->contentFilter(AddressContentFilter::name),
                                         AddressContentFilter::name, AddressContentFilter::expression(node.typeName()),
                                         filterAddresses)) {
      logError() << signature << "Failed to create content filter topic on the address interests.";
      return false;
    }
    DDS_DataReaderQos reader;
    return node.stateReaderQos(reader) && node.createDataReader(nullptr, DDS_STATUS_MASK_NONE, reader);
  });
}

bool TessivarServices::verify(Part part) const {
  const UseGate::Use use(gate_);
  if (!use.closing()) return has(part);
  constexpr const char* functions[] = {"verifyUnitNode", "verifyCommandNode", "verifyMetadataNode",
                                       "verifyInterestsNode"};
  logError() << "bool __cdecl TessivarDDS::TessivarServices::" << functions[static_cast<int>(part)] << "(void)"
             << UseGate::busy;
  return false;
}

bool TessivarServices::has(Part part) const {
  switch (part) {
    case Part::unit:
      return isThere("bool __cdecl TessivarDDS::TessivarServices::verifyUnitNode(void)", "Unit node", unitNode_.get(),
                     isClient_);
    case Part::command:
      // The service makes the value node. It has its reader or writer on the same side as the node for replies.
      return isThere("bool __cdecl TessivarDDS::TessivarServices::verifyCommandNode(void)", "Command service",
                     commandService_ ? &commandService_->valueNode() : nullptr, isClient_);
    case Part::metadata:
      return isThere("bool __cdecl TessivarDDS::TessivarServices::verifyMetadataNode(void)", "Metadata node",
                     metadataNode_.get(), isClient_);
    case Part::interests:
      // Interests have the other direction: controllers write them and devices read them.
      return isThere("bool __cdecl TessivarDDS::TessivarServices::verifyInterestsNode(void)", "Interests node",
                     interestsNode_.get(), !isClient_);
  }
  return false;
}

}  // namespace TessivarDDS
