// SPDX-License-Identifier: Apache-2.0

#include "tessivar/control/node.h"

#include "tessivar/control/internal/announced_units.h"
#include "tessivar/control/internal/unit_announcers.h"
#include "tessivar/control/message_helper.h"
#include "tessivar/control/services.h"
#include "tessivar/framework/address/address_check.h"
#include "tessivar/framework/domain/detail/signature.h"
#include "tessivar/framework/log/logger.h"
#include "tessivar/framework/nodes/detail/address_texts.h"
#include "tessivar/framework/pointers/listener_list.h"
#include "tessivar/framework/report/internal/report_book.h"
#include "tessivar/framework/waitset/wait_set_thread.h"
#include "tessivar/platform/detail/mutex.h"

#include <string>

namespace TessivarDDS {
namespace {

/// Disposes of the instance of `key`. Returns true if it was disposed.
template <class Writer, class Sample>
bool dispose(const char* signature, Writer* writer, const DDSPtr<Sample>& key, const char* not_found) {
  if (!key) return false;
  const DDS_InstanceHandle_t handle = writer->lookup_instance(*key);
  if (DDS_InstanceHandle_is_nil(&handle)) {
    logWarning() << signature << not_found;
    return false;
  }
  const DDS_ReturnCode_t code = writer->dispose(*key, handle);
  if (code != DDS_RETCODE_OK) {
    logError() << signature << "Dispose returned error code: " << code;
    return false;
  }
  return true;
}

/// Makes a reader for the announcements of other devices, with the same QoS as the controllers' readers.
bool createUnitReader(DDSNode<Tessivar::Unit>& node) {
  DDS_DataReaderQos qos;
  return DDSDomainParticipantFactory::get_instance()->get_datareader_qos_from_profile(
             qos, "tessivar_Library", "tessivar_UnitQos") == DDS_RETCODE_OK &&
         node.createDataReader(nullptr, DDS_STATUS_MASK_NONE, qos);
}

}  // namespace

class TessivarNode::Private
    : public RequestReplyServerListener<Tessivar::CommandChangeRequest, Tessivar::CommandChangeReply> {
 public:
  typedef TessivarServices::Part Part;

  Private(TessivarNode* owner, const std::shared_ptr<ReportBook>& book) : node(owner), services(book) {
    services.setAutoStartThread(false);
  }

  /// Makes thread, services and runners, and opens the gate. The caller holds a turn and has closed the gate.
  bool create(const char* signature, const std::vector<std::string>& filterAddresses);

  /// Ends all calls and callbacks, and resets the node to its initial state.
  void leave() {
    const UseGate::Turn turn(gate);
    if (services.commandService()) services.commandService()->endCalls();
    gate.close();
    waitSetThread.stop();  // first, as its runner uses a reader of the services
    services.cleanUp();
    services.attachDomain(nullptr);
    services.setUseQosProfiles(false);
    memory = std::make_unique<Memory>();
    listeners.clear();
    gate.reset();
  }

  /// Returns true if a call that uses this part may continue. Otherwise logs one line with the reason.
  bool usable(const char* signature, const UseGate::Use& use, Part part) const {
    if (use.open()) return services.has(part);
    if (services.verify(part)) logError() << signature << UseGate::busy;
    return false;
  }
  bool inCallback() const {
    return services.inCallback() || waitSetThread.isCurrent() || listeners.isNotifying() || gate.isMyTurn();
  }
  bool refusedInCallback(const char* signature, const char* text) const {
    if (!inCallback()) return false;
    logError() << signature << text;
    return true;
  }

  Tessivar::CommandChangeReply* processRequest(const Tessivar::CommandChangeRequest* request) override {
    Tessivar::CommandChangeReply* reply = nullptr;
    listeners.notify(
        "class Tessivar::CommandChangeReply *__cdecl TessivarDDS::TessivarNode::Private::processRequest("
        "const class Tessivar::CommandChangeRequest *)",
        [&](TessivarNodeListener& listener) {
          reply = listener.commandChangeRequested(node, request);
          return reply == nullptr;
        });
    return reply;
  }

  TessivarNode* const node;
  ListenerList<TessivarNodeListener> listeners{"TessivarDDS::TessivarNodeListener"};
  TessivarServices services;
  WaitSetThread waitSetThread{"TessivarNode"};
  /// The state that cleanUp() discards.
  struct Memory {
    AnnouncedUnits announced;
    UnitAnnouncers announcers{UnitAnnouncers::Of::ownUnits};
  };
  std::unique_ptr<Memory> memory{std::make_unique<Memory>()};

  /// Records that a device announces the unit. `publication` is DDS_HANDLE_NIL for this device.
  void noteAnnouncer(const char* signature, const char* unit, const DDS_InstanceHandle_t& handle,
                     const DDS_InstanceHandle_t& publication) {
    if (const auto devices = memory->announcers.announced(handle, publication)) {
      logWarning() << signature << " Unit " << unit << " is announced by more than one device: " << *devices << ".";
    }
  }
  tessivar::platform::Mutex filterLock;  // held while both filters are set, so that they agree
  UseGate gate;                          // counts all calls; open after create()
};

class TessivarNode::CommandInterestRunner : public WaitSetThreadRunner<Tessivar::CommandInterest> {
 public:
  CommandInterestRunner(Tessivar::CommandInterestDataReader* reader, Private& owner)
      : WaitSetThreadRunner(reader, {.maxSamples = samplesPerCycle, .take = false}), owner_(owner) {}

  void processSample(const Tessivar::CommandInterest& interest) override {
    constexpr const char* signature =
        "void __cdecl TessivarDDS::CommandInterestRunner::processSample(const class Tessivar::CommandInterest &)";
    const DDS_InstanceHandle_t handle = typedReader()->lookup_instance(interest);
    if (DDS_InstanceHandle_is_nil(&handle)) {
      logError() << signature << "Instance handle should not be nil!";
      return;
    }
    owner_.listeners.notify(
        signature, [&](TessivarNodeListener& listener) { listener.interestRegistered(owner_.node, &interest); });
  }

  void processInvalidSample(const DDS_SampleInfo& info) override {
    const DDSPtr key(Tessivar::CommandInterestTypeSupport::create_data());
    if (!key || typedReader()->get_key_value(*key, info.instance_handle) != DDS_RETCODE_OK) return;
    const AddressEx unit(key->unitId);
    owner_.listeners.notify(
        "void __cdecl TessivarDDS::CommandInterestRunner::processInvalidSample(const struct DDS_SampleInfo &)",
        [&](TessivarNodeListener& listener) {
          listener.interestRemoved(owner_.node, unit, key->range.min, key->range.max);
        });
  }

 private:
  Private& owner_;
};

/// Finds other devices that announce units of this device. It keeps no sample.
class TessivarNode::UnitsRunner : public WaitSetThreadRunner<Tessivar::Unit> {
 public:
  UnitsRunner(Tessivar::UnitDataReader* reader, Private& owner)
      : WaitSetThreadRunner(reader, {.maxSamples = samplesPerCycle, .everyChange = true}), owner_(owner) {}

  void processSample(const Tessivar::Unit& unit, const DDS_SampleInfo& info) override {
    if (info.instance_state != DDS_ALIVE_INSTANCE_STATE) return;
    owner_.noteAnnouncer("void __cdecl TessivarDDS::UnitsRunner::processSample(const class Tessivar::Unit &)",
                         unit.unitId, info.instance_handle, info.publication_handle);
  }
  void processInvalidSample(const DDS_SampleInfo& info) override {
    owner_.memory->announcers.gone(info.instance_handle);
  }

 private:
  Private& owner_;
};

TessivarNode::TessivarNode()
    : book_(std::make_shared<ReportBook>("TessivarNode")), private_(std::make_unique<Private>(this, book_)) {}

TessivarNode::~TessivarNode() {
  private_->leave();
}

void TessivarNode::attachDomain(DDSDomain* domain) {
  private_->services.attachDomain(domain);
}

void TessivarNode::setUseQosProfiles(bool use) {
  private_->services.setUseQosProfiles(use);
}

bool TessivarNode::create() {
  return createFor("bool __cdecl TessivarDDS::TessivarNode::create(void)", {});
}

bool TessivarNode::create(const std::vector<AddressEx>& addresses) {
  return createFor("bool __cdecl TessivarDDS::TessivarNode::create(const " TESSIVAR_SIGNATURE_ADDRESSES " &)",
                   addressTexts(addresses));
}

bool TessivarNode::createFor(const char* signature, const std::vector<std::string>& filterAddresses) {
  if (private_->refusedInCallback(signature, " Cannot create from within a callback.")) return false;
  const UseGate::Turn turn(private_->gate);
  if (private_->gate.isOpen()) {
    logError() << signature << "Already created";
    return false;
  }
  private_->gate.close();
  const bool created = private_->create(signature, filterAddresses);
  private_->gate.reset();
  return created;
}

bool TessivarNode::Private::create(const char* signature, const std::vector<std::string>& filterAddresses) {
  waitSetThread.stop();  // an earlier create() may have failed after it started the thread
  if (!waitSetThread.create()) {
    logError() << signature << "Failed to create the TessivarNode's waitset thread.";
    return false;
  }
  if (!services.create(false, filterAddresses)) {
    logError() << signature << "Unable to create services!";
    return false;
  }
  services.commandService()->setListener(this);
  if (!waitSetThread.attachRunner(
          std::make_unique<CommandInterestRunner>(services.interestsNode()->dataReader(), *this)) ||
      !createUnitReader(*services.unitNode()) ||
      !waitSetThread.attachRunner(std::make_unique<UnitsRunner>(services.unitNode()->dataReader(), *this))) {
    logError() << signature << "Failed to attach runner to thread";
    return false;
  }
  gate.open();  // before the first callback, which may use the node
  waitSetThread.start();
  services.start();
  TessivarThread::sleep(50);
  return true;
}

Report TessivarNode::report() const {
  return book_->report();
}

void TessivarNode::cleanUp() {
  if (private_->refusedInCallback("void __cdecl TessivarDDS::TessivarNode::cleanUp(void)",
                                  " Cannot clean up from within a callback.")) {
    return;
  }
  private_->leave();
}

void TessivarNode::attachListener(TessivarNodeListener* listener, bool owned) {
  private_->listeners.attachListener(listener, owned);
}

bool TessivarNode::detachListener(TessivarNodeListener* listener) {
  return private_->listeners.detachListener(listener);
}

bool TessivarNode::addUnit(const DDSPtr<Tessivar::Unit>& unit) {
  constexpr const char* signature =
      "bool __cdecl TessivarDDS::TessivarNode::addUnit(const class TessivarDDS::DDSPtr<class Tessivar::Unit> &)";
  if (!unit) {
    logError() << signature << "Invalid argument.";
    return false;
  }
  checkAddress(signature, AddressEx(unit->unitId));
  const UseGate::Use use(private_->gate);
  if (!private_->usable(signature, use, Private::Part::unit)) return false;
  if (!private_->services.unitNode()->writeSample(unit)) return false;
  private_->memory->announced.add(unit->unitId);
  private_->noteAnnouncer(signature, unit->unitId, private_->services.unitNode()->dataWriter()->lookup_instance(*unit),
                          DDS_HANDLE_NIL);
  return true;
}

bool TessivarNode::removeUnit(const AddressEx& address) {
  constexpr const char* signature =
      "bool __cdecl TessivarDDS::TessivarNode::removeUnit(const class TessivarDDS::AddressEx &)";
  const UseGate::Use use(private_->gate);
  if (!private_->usable(signature, use, Private::Part::unit)) return false;
  const DDSPtr unit(TessivarMessageHelper::createUnit(address, ""));
  if (!unit) return false;
  private_->memory->announced.remove(address.guid());
  private_->memory->announcers.withdrawn(private_->services.unitNode()->dataWriter()->lookup_instance(*unit));
  return dispose(signature, private_->services.unitNode()->dataWriter(), unit, "Unit not found.");
}

bool TessivarNode::publishCommand(const DDSPtr<Tessivar::Command>& command) {
  if (!command) {
    logError() << "bool __cdecl TessivarDDS::TessivarNode::publishCommand("
                  "const class TessivarDDS::DDSPtr<class Tessivar::Command> &)"
               << "Invalid argument.";
    return false;
  }
  return publishCommand(command.get(), false);
}

bool TessivarNode::publishCommand(Tessivar::Command* command, bool deleteAfterWrite) {
  constexpr const char* signature =
      "bool __cdecl TessivarDDS::TessivarNode::publishCommand(class Tessivar::Command *,bool)";
  if (!command) {
    logError() << signature << "Invalid argument.";
    return false;
  }
  const UseGate::Use use(private_->gate);
  if (!private_->usable(signature, use, Private::Part::command)) {
    if (deleteAfterWrite) Tessivar::CommandTypeSupport::delete_data(command);
    return false;
  }
  if (private_->memory->announced.isMissing(command->unitId)) {
    logWarning() << signature << " Unit " << command->unitId
                 << " has values, but it was not added: controllers do not see it before addUnit().";
  }
  return private_->services.commandService()->valueNode().writeSample(command, deleteAfterWrite);
}

bool TessivarNode::disposeCommand(const AddressEx& address, unsigned int commandNumber) {
  constexpr const char* signature =
      "bool __cdecl TessivarDDS::TessivarNode::disposeCommand(const class TessivarDDS::AddressEx &,unsigned int)";
  const UseGate::Use use(private_->gate);
  if (!private_->usable(signature, use, Private::Part::command)) return false;
  return dispose(signature, private_->services.commandService()->valueNode().dataWriter(),
                 DDSPtr(TessivarMessageHelper::createEventCommand(address, commandNumber)), "Command not found.");
}

bool TessivarNode::publishMetadata(const DDSPtr<Tessivar::CommandMetadata>& metadata) {
  constexpr const char* signature =
      "bool __cdecl TessivarDDS::TessivarNode::publishMetadata("
      "const class TessivarDDS::DDSPtr<class Tessivar::CommandMetadata> &)";
  if (!metadata) {
    logError() << signature << "Invalid argument.";
    return false;
  }
  const UseGate::Use use(private_->gate);
  return private_->usable(signature, use, Private::Part::metadata) &&
         private_->services.metadataNode()->writeSample(metadata);
}

bool TessivarNode::disposeMetadata(const AddressEx& address, unsigned int commandNumber) {
  constexpr const char* signature =
      "bool __cdecl TessivarDDS::TessivarNode::disposeMetadata(const class TessivarDDS::AddressEx &,unsigned int)";
  const UseGate::Use use(private_->gate);
  if (!private_->usable(signature, use, Private::Part::metadata)) return false;
  return dispose(signature, private_->services.metadataNode()->dataWriter(),
                 DDSPtr(TessivarMessageHelper::createMetadata(address, commandNumber)), "Metadata instance not found.");
}

bool TessivarNode::sendReply(const DDSPtr<Tessivar::CommandChangeReply>& reply) {
  constexpr const char* signature =
      "bool __cdecl TessivarDDS::TessivarNode::sendReply("
      "const class TessivarDDS::DDSPtr<class Tessivar::CommandChangeReply> &)";
  if (!reply) {
    logError() << signature << "Invalid argument.";
    return false;
  }
  const UseGate::Use use(private_->gate);
  return private_->usable(signature, use, Private::Part::command) &&
         private_->services.commandService()->sendReply(reply);
}

bool TessivarNode::setFilterAddresses(const std::vector<AddressEx>& addresses) {
  constexpr const char* signature =
      "bool __cdecl TessivarDDS::TessivarNode::setFilterAddresses(const " TESSIVAR_SIGNATURE_ADDRESSES " &)";
  const UseGate::Use use(private_->gate);
  if (!private_->usable(signature, use, Private::Part::interests)) {
    logError() << signature << "Not initialised correctly!";
    return false;
  }
  TessivarServices& services = private_->services;
  const std::vector<std::string> texts = addressTexts(addresses);
  const tessivar::platform::MutexLock lock(private_->filterLock);
  return services.interestsNode()->setFilterParameters(texts) && services.commandService()->setFilterAddresses(texts);
}

TessivarServices* TessivarNode::services() const {
  return &private_->services;
}

}  // namespace TessivarDDS
