#include "tessivar/control/client.h"

#include "tessivar/control/internal/addressed_sample.h"
#include "tessivar/control/internal/client_interests.h"
#include "tessivar/control/internal/reader_query.h"
#include "tessivar/control/internal/reported_units.h"
#include "tessivar/control/internal/unit_announcers.h"
#include "tessivar/control/services.h"
#include "tessivar/framework/domain/detail/signature.h"
#include "tessivar/framework/log/logger.h"
#include "tessivar/framework/pointers/listener_list.h"
#include "tessivar/framework/report/internal/report_book.h"
#include "tessivar/framework/waitset/wait_set_thread.h"

#include <atomic>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace TessivarDDS {
namespace {

constexpr int poll_milliseconds = 10;

using Ticket = TessivarClient::Ticket;

/// The next reply to a request; null when none comes in time, or when the client leaves the bus.
DDSPtr<Tessivar::CommandChangeReply> waitForReply(Ticket& ticket, int timeoutMs, const std::atomic<bool>& leaving) {
  int remaining = timeoutMs;
  while (!ticket.received) {
    if (leaving) return nullptr;
    if (timeoutMs != -1) {
      if (remaining < 1) return nullptr;
      remaining -= poll_milliseconds;
    }
    TessivarThread::sleep(poll_milliseconds);
  }
  ticket.received = false;  // before the reply is read, so that one that comes now is not missed
  return ticket.reply;
}

}  // namespace

void TessivarClientListener::commandMetadataUpdated(const Tessivar::CommandMetadata*) {}

class TessivarClient::Private : public RequestReplyClientListener<Tessivar::Command> {
 public:
  explicit Private(std::shared_ptr<ReportBook> book) {
    services.setReportBook(std::move(book));
    services.setAutoStartThread(false);
  }

  /// Ends all callbacks, which may use the client until then.
  void leave() {
    // Callbacks may be waiting for devices, and are waited for here.
    leaving = true;
    if (services.commandService()) services.commandService()->endCalls();
    waitSetThread.stop();  // first, as its runners use readers of the services
    unitQuery.close();
    valueQuery.close();
    services.cleanUp();
  }

  void notifyUnitAdded(const Tessivar::Unit* unit) {
    listeners.notify("void __cdecl TessivarDDS::TessivarClient::Private::notifyUnitAdded(const class Tessivar::Unit *)",
                     [&](TessivarClientListener& listener) { listener.unitAdded(unit); });
  }

  void notifyUnitRemoved(const AddressEx& unit) {
    listeners.notify(
        "void __cdecl TessivarDDS::TessivarClient::Private::notifyUnitRemoved(const class TessivarDDS::AddressEx &)",
        [&](TessivarClientListener& listener) { listener.unitRemoved(unit); });
  }

  void notifyCommandMetadataChanged(const Tessivar::CommandMetadata* metadata) {
    listeners.notify(
        "void __cdecl TessivarDDS::TessivarClient::Private::notifyCommandMetadataChanged("
        "const class Tessivar::CommandMetadata *)",
        [&](TessivarClientListener& listener) { listener.commandMetadataUpdated(metadata); });
  }

  using RequestReplyClientListener::valueChanged;
  void valueChanged(const Tessivar::Command* command) override {
    listeners.notify("void __cdecl TessivarDDS::TessivarClient::Private::valueChanged(const class Tessivar::Command *)",
                     [&](TessivarClientListener& listener) { listener.commandValueChanged(command); });
  }

  void ticketChanged(unsigned short ticketId) override {
    DDSPtr<Ticket> ticket = services.commandService()->findTicket(ticketId);
    listeners.notify("void __cdecl TessivarDDS::TessivarClient::Private::ticketChanged(unsigned short)",
                     [&](TessivarClientListener& listener) { listener.commandTicketChanged(ticket); });
  }

  bool inCallback() const { return services.inCallback() || waitSetThread.isCurrent() || listeners.isNotifying(); }

  /// Tells each listener of the samples of an instance. They are read under the list's lock, so that no listener hears
  /// something older after something newer.
  template <class Seq, class Reader, class Tell>
  void tell(const char* signature, Reader& reader, const DDS_InstanceHandle_t& instance, Tell&& one) {
    Seq samples;
    DDS_SampleInfoSeq infos;
    bool read = false;
    listeners.notify(signature, [&](TessivarClientListener& listener) {
      if (!std::exchange(read, true))
        reader.read_instance(samples, infos, DDS_LENGTH_UNLIMITED, instance, DDS_ANY_SAMPLE_STATE, DDS_ANY_VIEW_STATE,
                             DDS_ANY_INSTANCE_STATE);
      for (DDS_Long i = 0; i < samples.length(); ++i) one(listener, samples[i], infos[i]);
    });
    reader.return_loan(samples, infos);
  }

  void tellUnit(Tessivar::UnitDataReader& reader, const DDS_InstanceHandle_t& instance) {
    const DDSPtr key(Tessivar::UnitTypeSupport::create_data());
    if (!key || reader.get_key_value(*key, instance) != DDS_RETCODE_OK) return;
    const AddressEx address(key->unitId);
    tell<Tessivar::UnitSeq>(
        "void __cdecl TessivarDDS::TessivarClient::Private::tellUnit("
        "class Tessivar::UnitDataReader &,const struct DDS_InstanceHandle_t &)",
        reader, instance,
        [&](TessivarClientListener& listener, const Tessivar::Unit& unit, const DDS_SampleInfo& info) {
          if (info.valid_data && info.instance_state == DDS_ALIVE_INSTANCE_STATE) {
            listener.unitAdded(&unit);
          } else if (info.sample_rank == 0) {
            noteEnd(info);
            listener.unitRemoved(address);
          }
        });
  }

  void tellValue(Tessivar::CommandDataReader& reader, const DDS_InstanceHandle_t& instance) {
    tell<Tessivar::CommandSeq>(
        "void __cdecl TessivarDDS::TessivarClient::Private::tellValue("
        "class Tessivar::CommandDataReader &,const struct DDS_InstanceHandle_t &)",
        reader, instance,
        [](TessivarClientListener& listener, const Tessivar::Command& command, const DDS_SampleInfo& info) {
          if (info.valid_data) listener.commandValueChanged(&command);
        });
  }

  ReaderQuery<Tessivar::Unit> unitQuery{
      [this] { return services.unitNode()->dataReader(); }, [this] { return listeners.isNotifying(); },
      [this](Tessivar::UnitDataReader& reader, const DDS_InstanceHandle_t& unit) { tellUnit(reader, unit); }};
  ReaderQuery<Tessivar::Command> valueQuery{
      [this] { return services.commandService()->valueNode().dataReader(); },
      [this] { return listeners.isNotifying(); },
      [this](Tessivar::CommandDataReader& reader, const DDS_InstanceHandle_t& value) { tellValue(reader, value); }};

  /// The listeners are told that a unit is gone; refreshUnits() will tell them again when it was disposed of.
  void noteEnd(const DDS_SampleInfo& info) {
    if (info.instance_state == DDS_NOT_ALIVE_DISPOSED_INSTANCE_STATE) units.removed(info.instance_handle);
  }

  ReportedUnits units;
  ListenerList<TessivarClientListener> listeners{"TessivarDDS::TessivarClientListener"};
  TessivarServices services;
  ClientInterests interests{services};
  WaitSetThread waitSetThread{"TessivarClient"};
  bool created = false;
  std::atomic<bool> leaving{false};
};

class TessivarClient::UnitsRunner : public WaitSetThreadRunner<Tessivar::Unit> {
 public:
  UnitsRunner(Tessivar::UnitDataReader* reader, Private& owner)
      : WaitSetThreadRunner(reader, {.maxSamples = samplesPerCycle, .take = false}), owner_(owner) {}

  void processSample(const Tessivar::Unit& unit, const DDS_SampleInfo& info) override {
    constexpr const char* signature =
        "void __cdecl TessivarDDS::UnitsRunner::processSample(const class Tessivar::Unit &)";
    const DDS_InstanceHandle_t handle = typedReader()->lookup_instance(unit);
    if (DDS_InstanceHandle_is_nil(&handle)) {
      logError() << signature << "Instance handle should not be nil!";
      return;
    }
    owner_.units.announced(handle);
    if (const auto devices = announcers_.announced(info.instance_handle, info.publication_handle)) {
      logWarning() << signature << " Unit " << unit.unitId << " is announced by more than one device: " << *devices
                   << ". A device that was killed and started again shows like this once.";
    }
    owner_.notifyUnitAdded(&unit);
  }

  void processInvalidSample(const DDS_SampleInfo& info) override {
    owner_.noteEnd(info);
    announcers_.gone(info.instance_handle);
    const DDSPtr key(Tessivar::UnitTypeSupport::create_data());
    if (!key || typedReader()->get_key_value(*key, info.instance_handle) != DDS_RETCODE_OK) return;
    owner_.notifyUnitRemoved(AddressEx(key->unitId));
  }

 private:
  Private& owner_;
  UnitAnnouncers announcers_{UnitAnnouncers::Of::anyUnit};
};

class TessivarClient::MetadataRunner : public WaitSetThreadRunner<Tessivar::CommandMetadata> {
 public:
  MetadataRunner(Tessivar::CommandMetadataDataReader* reader, Private& owner)
      : WaitSetThreadRunner(reader, {.maxSamples = samplesPerCycle, .take = false}), owner_(owner) {}

  void processSample(const Tessivar::CommandMetadata& metadata) override {
    const DDS_InstanceHandle_t handle = typedReader()->lookup_instance(metadata);
    if (DDS_InstanceHandle_is_nil(&handle)) {
      logError() << "void __cdecl TessivarDDS::MetadataRunner::processSample(const class Tessivar::CommandMetadata &)"
                 << "Instance handle should not be nil!";
      return;
    }
    owner_.notifyCommandMetadataChanged(&metadata);
  }

 private:
  Private& owner_;
};

TessivarClient::TessivarClient()
    : book_(std::make_shared<ReportBook>("TessivarClient")), private_(std::make_unique<Private>(book_)) {}

TessivarClient::~TessivarClient() {
  private_->leave();
}

void TessivarClient::attachDomain(DDSDomain* domain) {
  private_->services.attachDomain(domain);
}

void TessivarClient::setUseQosProfiles(bool use) {
  private_->services.setUseQosProfiles(use);
}

bool TessivarClient::create() {
  constexpr const char* signature = "bool __cdecl TessivarDDS::TessivarClient::create(void)";
  if (private_->created) {
    logError() << signature << "Already created";
    return false;
  }
  TessivarServices& services = private_->services;
  WaitSetThread& thread = private_->waitSetThread;
  thread.stop();  // what a create() that failed may have left
  private_->unitQuery.close();
  private_->valueQuery.close();
  if (!services.create(true, private_->interests.filterAddresses())) {
    logError() << signature << "Unable to create services!";
    return false;
  }
  if (!thread.create()) {
    logError() << signature << "Failed to create the TessivarClient's waitset thread.";
    return false;
  }
  services.commandService()->attachListener(private_.get());
  if (!private_->unitQuery.open() || !private_->valueQuery.open()) {
    logError() << signature << "Failed to create read condition";
    return false;
  }
  if (!thread.attachRunner(std::make_unique<UnitsRunner>(services.unitNode()->dataReader(), *private_)) ||
      !thread.attachRunner(std::make_unique<MetadataRunner>(services.metadataNode()->dataReader(), *private_))) {
    logError() << signature << "Failed to attach runner to thread";
    return false;
  }
  private_->created = true;  // before the first callback, which may use the client
  private_->interests.start();
  thread.start();
  services.start();
  TessivarThread::sleep(50);
  return true;
}

Report TessivarClient::report() const {
  return book_->report();
}

void TessivarClient::cleanUp() {
  if (private_->inCallback()) {
    logError() << "void __cdecl TessivarDDS::TessivarClient::cleanUp(void)"
               << " Cannot clean up from within a callback.";
    return;
  }
  private_->leave();
  private_ = std::make_unique<Private>(book_);
}

void TessivarClient::attachListener(TessivarClientListener* listener, bool owned) {
  private_->listeners.attachListener(listener, owned);
}

bool TessivarClient::detachListener(TessivarClientListener* listener) {
  return private_->listeners.detachListener(listener);
}

bool TessivarClient::waitForMatch(int timeoutMs) {
  TessivarRequestReplyService* service = private_->services.commandService();
  if (!service) {
    logError() << "bool __cdecl TessivarDDS::TessivarClient::waitForMatch(int)"
               << "Not created!";
    return false;
  }
  return service->waitForMatch(timeoutMs);
}

bool TessivarClient::waitForHistoricalData(int timeoutMs) {
  if (!waitForMatch(timeoutMs) || !private_->services.verifyCommandNode()) return false;
  return private_->valueQuery.reader()->wait_for_historical_data(DDS_Duration_from_millis(timeoutMs)) == DDS_RETCODE_OK;
}

bool TessivarClient::registerInterest(const AddressEx& address) {
  return registerInterest(address, 0, UINT32_MAX);
}

bool TessivarClient::registerInterest(const AddressEx& address, unsigned int first, unsigned int last) {
  return private_->interests.add(
      "bool __cdecl TessivarDDS::TessivarClient::registerInterest("
      "const class TessivarDDS::AddressEx &,unsigned int,unsigned int)",
      {address}, {first, last});
}

bool TessivarClient::registerInterest(const std::vector<AddressEx>& addresses) {
  return private_->interests.add(
      "bool __cdecl TessivarDDS::TessivarClient::registerInterest(const " TESSIVAR_SIGNATURE_ADDRESSES " &)", addresses,
      {0, UINT32_MAX});
}

bool TessivarClient::removeInterest(const AddressEx& address) {
  return private_->interests.remove(
      "bool __cdecl TessivarDDS::TessivarClient::removeInterest(const class TessivarDDS::AddressEx &)", address);
}

bool TessivarClient::removeInterest(const AddressEx& address, unsigned int first, unsigned int last) {
  return private_->interests.remove(
      "bool __cdecl TessivarDDS::TessivarClient::removeInterest("
      "const class TessivarDDS::AddressEx &,unsigned int,unsigned int)",
      address, {first, last});
}

bool TessivarClient::hasUnit(const AddressEx& address) {
  if (!private_->services.verifyUnitNode()) return false;
  const DDSPtr key(createAddressed<Tessivar::UnitTypeSupport>(
      "bool __cdecl TessivarDDS::TessivarClient::hasUnit(const class TessivarDDS::AddressEx &)", address));
  if (!key) return false;
  Tessivar::UnitDataReader& reader = *private_->services.unitNode()->dataReader();
  return reader.is_alive_untypedI(reader.lookup_instance(*key));
}

bool TessivarClient::queryUnits(Tessivar::UnitSeq& units, DDS_SampleInfoSeq& infos, int timeoutMs) {
  if (!private_->services.verifyUnitNode()) return false;
  return private_->unitQuery.all(
      "bool __cdecl TessivarDDS::TessivarClient::queryUnits("
      "struct Tessivar::UnitSeq &,struct DDS_SampleInfoSeq &,int)",
      units, infos, timeoutMs);
}

void TessivarClient::freeUnitData(Tessivar::UnitSeq& units, DDS_SampleInfoSeq& infos) {
  if (!private_->services.verifyUnitNode()) return;
  private_->unitQuery.returnLoan(
      "void __cdecl TessivarDDS::TessivarClient::freeUnitData(struct Tessivar::UnitSeq &,struct DDS_SampleInfoSeq &)",
      units, infos);
}

bool TessivarClient::queryCommands(Tessivar::CommandSeq& commands, DDS_SampleInfoSeq& infos, int timeoutMs) {
  if (!private_->services.verifyCommandNode()) return false;
  return private_->valueQuery.all(
      "bool __cdecl TessivarDDS::TessivarClient::queryCommands("
      "struct Tessivar::CommandSeq &,struct DDS_SampleInfoSeq &,int)",
      commands, infos, timeoutMs);
}

void TessivarClient::freeCommandData(Tessivar::CommandSeq& commands, DDS_SampleInfoSeq& infos) {
  if (!private_->services.verifyCommandNode()) return;
  private_->valueQuery.returnLoan(
      "void __cdecl TessivarDDS::TessivarClient::freeCommandData("
      "struct Tessivar::CommandSeq &,struct DDS_SampleInfoSeq &)",
      commands, infos);
}

bool TessivarClient::queryUnit(const AddressEx& address, Tessivar::Unit& unit) {
  constexpr const char* signature =
      "bool __cdecl TessivarDDS::TessivarClient::queryUnit("
      "const class TessivarDDS::AddressEx &,class Tessivar::Unit &)";
  if (!private_->services.verifyUnitNode()) return false;
  if (!unit.unitId) {
    logError() << signature << " Unit not initialised";
    return false;
  }
  if (!setAddress(signature, address, unit.unitId)) return false;
  const DDS_InstanceHandle_t handle = private_->unitQuery.reader()->lookup_instance(unit);
  if (DDS_InstanceHandle_is_nil(&handle)) return false;
  return private_->unitQuery.one(signature, handle, unit);
}

bool TessivarClient::queryCommand(const AddressEx& address, unsigned int commandNumber, Tessivar::Command& command) {
  constexpr const char* signature =
      "bool __cdecl TessivarDDS::TessivarClient::queryCommand("
      "const class TessivarDDS::AddressEx &,unsigned int,class Tessivar::Command &)";
  if (!private_->services.verifyCommandNode()) return false;
  if (!command.unitId) {
    logError() << signature << " Command not initialised";
    return false;
  }
  if (!setAddress(signature, address, command.unitId)) return false;
  command.commandNumber = commandNumber;
  const DDS_InstanceHandle_t handle = private_->valueQuery.reader()->lookup_instance(command);
  if (DDS_InstanceHandle_is_nil(&handle)) {
    logError() << signature << " Queried instance does not exist";
    return false;
  }
  return private_->valueQuery.one(signature, handle, command);
}

bool TessivarClient::refreshUnits(int timeoutMs) {
  constexpr const char* signature = "bool __cdecl TessivarDDS::TessivarClient::refreshUnits(int)";
  if (!private_->services.verifyUnitNode()) return false;
  if (private_->listeners.isNotifying()) {
    logError() << signature << " Cannot refresh from within a callback.";
    return false;
  }
  Tessivar::UnitSeq units;
  DDS_SampleInfoSeq infos;
  if (!private_->unitQuery.read(signature, units, infos, timeoutMs)) return false;
  for (DDS_Long i = 0; i < units.length(); ++i) {
    if (!infos[i].valid_data) continue;
    private_->notifyUnitAdded(&units[i]);
    private_->units.reported(infos[i].instance_handle, AddressEx(units[i].unitId));
  }
  private_->unitQuery.returnLoan(signature, units, infos);
  for (const AddressEx& address : private_->units.takeRemoved()) private_->notifyUnitRemoved(address);
  return true;
}

DDSPtr<Ticket> TessivarClient::beginSetCommand(DDSPtr<Tessivar::Command>& command) {
  RequestFailure failure;
  return beginSetCommand(command, failure);
}

DDSPtr<Ticket> TessivarClient::beginSetCommand(DDSPtr<Tessivar::Command>& command, RequestFailure& failure) {
  constexpr const char* signature =
      "class TessivarDDS::DDSPtr<class TessivarDDS::RequestReplyTicket<class Tessivar::CommandChangeReply> > __cdecl "
      "TessivarDDS::TessivarClient::beginSetCommand(class TessivarDDS::DDSPtr<class Tessivar::Command> &)";
  failure = RequestFailure::InvalidArgument;
  if (!command) {
    logError() << signature << "Invalid argument.";
    return nullptr;
  }
  failure = RequestFailure::NotCreated;
  if (!private_->services.verifyCommandNode()) return nullptr;
  TessivarRequestReplyService& service = *private_->services.commandService();
  DDSPtr<Tessivar::CommandChangeRequest> request = service.createRequest(command.get(), failure);
  if (!request) {
    logError() << signature << "Invalid request type returned";
    return nullptr;
  }
  DDSPtr<Ticket> ticket = service.makeRequest(request, failure);
  if (!ticket) logError() << signature << "Client error in send";
  return ticket;
}

bool TessivarClient::completeSetCommand(DDSPtr<Ticket>& ticket) {
  if (TessivarRequestReplyService* service = private_->services.commandService()) service->removeTicket(ticket);
  return true;
}

bool TessivarClient::setCommand(DDSPtr<Tessivar::Command>& command, int timeoutMs) {
  RequestFailure failure;
  return setCommand(command, timeoutMs, failure);
}

bool TessivarClient::setCommand(DDSPtr<Tessivar::Command>& command, int timeoutMs, RequestFailure& failure) {
  constexpr const char* signature =
      "bool __cdecl TessivarDDS::TessivarClient::setCommand(class TessivarDDS::DDSPtr<class Tessivar::Command> &,int)";
  failure = RequestFailure::NotCreated;
  if (!private_->services.verifyCommandNode()) return false;
  if (private_->services.inCallback()) {
    logError() << signature << "Called from commandValueChanged or commandTicketChanged, where no reply can arrive.";
    failure = RequestFailure::InCallback;
    return false;
  }
  DDSPtr<Ticket> ticket = beginSetCommand(command, failure);
  if (!ticket) {
    logError() << signature << "Could not make request";
    return false;
  }
  DDSPtr<Tessivar::CommandChangeReply> reply;
  do {
    reply = waitForReply(*ticket, timeoutMs, private_->leaving);
  } while (reply && reply->result != Tessivar::COMPLETE && reply->result != Tessivar::FAILED);
  completeSetCommand(ticket);
  if (!reply) {
    failure = RequestFailure::TimedOut;
  } else if (reply->result == Tessivar::FAILED) {
    failure = RequestFailure::Denied;
    logWarning() << signature << "Failed to set command value.";
    if (reply->ex) logWarning() << signature << reply->ex->message;
  }
  return failure == RequestFailure::None;
}

TessivarServices* TessivarClient::services() const {
  return &private_->services;
}

}  // namespace TessivarDDS
