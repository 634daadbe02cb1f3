// SPDX-License-Identifier: Apache-2.0

#include "tessivar/control/client.h"

#include "tessivar/control/internal/addressed_sample.h"
#include "tessivar/control/internal/client_private.h"
#include "tessivar/framework/domain/detail/signature.h"
#include "tessivar/framework/report/internal/report_book.h"

#include <atomic>
#include <cstdint>
#include <vector>

namespace TessivarDDS {
namespace {

/// A timeout is counted in steps. At each step the thread looks if the client leaves the bus.
constexpr int step_milliseconds = 10;

using Ticket = TessivarClient::Ticket;

/// Returns the next reply to a request. Returns null after the timeout, or if the client leaves the bus.
DDSPtr<Tessivar::CommandChangeReply> waitForReply(Ticket& ticket, int timeoutMs, const std::atomic<bool>& leaving) {
  int remaining = timeoutMs;
  while (!ticket.received) {
    if (leaving) return nullptr;
    if (timeoutMs != -1) {
      if (remaining < 1) return nullptr;
      remaining -= step_milliseconds;
    }
    ticket.wait(step_milliseconds);
  }
  ticket.received = false;  // before the reply is read, so that a reply that arrives now is not missed
  return ticket.reply;
}

}  // namespace

void TessivarClientListener::commandMetadataUpdated(const Tessivar::CommandMetadata*) {}

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
  if (private_->refusedInCallback(signature, " Cannot create from within a callback.")) return false;
  const UseGate::Turn turn(private_->gate);
  if (private_->gate.isOpen()) {
    logError() << signature << "Already created";
    return false;
  }
  private_->gate.close();
  const bool created = private_->create(signature);
  private_->gate.reset();
  return created;
}

Report TessivarClient::report() const {
  return book_->report();
}

void TessivarClient::cleanUp() {
  if (private_->refusedInCallback("void __cdecl TessivarDDS::TessivarClient::cleanUp(void)",
                                  " Cannot clean up from within a callback.")) {
    return;
  }
  private_->leave();
}

void TessivarClient::attachListener(TessivarClientListener* listener, bool owned) {
  private_->listeners.attachListener(listener, owned);
}

bool TessivarClient::detachListener(TessivarClientListener* listener) {
  return private_->listeners.detachListener(listener);
}

bool TessivarClient::waitForMatch(int timeoutMs) {
  const UseGate::Use use(private_->gate);
  if (!use.open()) {
    logError() << "bool __cdecl TessivarDDS::TessivarClient::waitForMatch(int)"
               << "Not created!";
    return false;
  }
  return private_->services.commandService()->waitForMatch(timeoutMs);
}

bool TessivarClient::waitForHistoricalData(int timeoutMs) {
  const UseGate::Use use(private_->gate);
  return waitForMatch(timeoutMs) &&
         private_->usable("bool __cdecl TessivarDDS::TessivarClient::waitForHistoricalData(int)", use,
                          Private::Part::command) &&
         waitForHistory(*private_->valueQuery.reader(), timeoutMs, private_->leaving) == DDS_RETCODE_OK;
}

bool TessivarClient::registerInterest(const AddressEx& address) {
  return registerInterest(address, 0, UINT32_MAX);
}

bool TessivarClient::registerInterest(const AddressEx& address, unsigned int first, unsigned int last) {
  constexpr const char* signature =
      "bool __cdecl TessivarDDS::TessivarClient::registerInterest("
      "const class TessivarDDS::AddressEx &,unsigned int,unsigned int)";
  const UseGate::Use use(private_->gate);
  return !private_->busy(signature, use) && private_->memory->interests.add(signature, {address}, {first, last});
}

bool TessivarClient::registerInterest(const std::vector<AddressEx>& addresses) {
  constexpr const char* signature =
      "bool __cdecl TessivarDDS::TessivarClient::registerInterest(const " TESSIVAR_SIGNATURE_ADDRESSES " &)";
  const UseGate::Use use(private_->gate);
  return !private_->busy(signature, use) && private_->memory->interests.add(signature, addresses, {0, UINT32_MAX});
}

bool TessivarClient::removeInterest(const AddressEx& address) {
  constexpr const char* signature =
      "bool __cdecl TessivarDDS::TessivarClient::removeInterest(const class TessivarDDS::AddressEx &)";
  const UseGate::Use use(private_->gate);
  return !private_->busy(signature, use) && private_->memory->interests.remove(signature, address);
}

bool TessivarClient::removeInterest(const AddressEx& address, unsigned int first, unsigned int last) {
  constexpr const char* signature =
      "bool __cdecl TessivarDDS::TessivarClient::removeInterest("
      "const class TessivarDDS::AddressEx &,unsigned int,unsigned int)";
  const UseGate::Use use(private_->gate);
  return !private_->busy(signature, use) && private_->memory->interests.remove(signature, address, {first, last});
}

bool TessivarClient::hasUnit(const AddressEx& address) {
  constexpr const char* signature =
      "bool __cdecl TessivarDDS::TessivarClient::hasUnit(const class TessivarDDS::AddressEx &)";
  const UseGate::Use use(private_->gate);
  if (!private_->usable(signature, use, Private::Part::unit)) return false;
  const DDSPtr key(createAddressed<Tessivar::UnitTypeSupport>(signature, address));
  if (!key) return false;
  Tessivar::UnitDataReader& reader = *private_->services.unitNode()->dataReader();
  return reader.is_alive_untypedI(reader.lookup_instance(*key));
}

bool TessivarClient::queryUnits(Tessivar::UnitSeq& units, DDS_SampleInfoSeq& infos, int timeoutMs) {
  constexpr const char* signature =
      "bool __cdecl TessivarDDS::TessivarClient::queryUnits("
      "struct Tessivar::UnitSeq &,struct DDS_SampleInfoSeq &,int)";
  const UseGate::Use use(private_->gate);
  return private_->usable(signature, use, Private::Part::unit) &&
         private_->unitQuery.all(signature, units, infos, timeoutMs);
}

void TessivarClient::freeUnitData(Tessivar::UnitSeq& units, DDS_SampleInfoSeq& infos) {
  constexpr const char* signature =
      "void __cdecl TessivarDDS::TessivarClient::freeUnitData(struct Tessivar::UnitSeq &,struct DDS_SampleInfoSeq &)";
  if (!private_->unitQuery.returnSamples(signature, units, infos)) private_->services.verifyUnitNode();
}

bool TessivarClient::queryCommands(Tessivar::CommandSeq& commands, DDS_SampleInfoSeq& infos, int timeoutMs) {
  constexpr const char* signature =
      "bool __cdecl TessivarDDS::TessivarClient::queryCommands("
      "struct Tessivar::CommandSeq &,struct DDS_SampleInfoSeq &,int)";
  const UseGate::Use use(private_->gate);
  return private_->usable(signature, use, Private::Part::command) &&
         private_->valueQuery.all(signature, commands, infos, timeoutMs);
}

void TessivarClient::freeCommandData(Tessivar::CommandSeq& commands, DDS_SampleInfoSeq& infos) {
  constexpr const char* signature =
      "void __cdecl TessivarDDS::TessivarClient::freeCommandData("
      "struct Tessivar::CommandSeq &,struct DDS_SampleInfoSeq &)";
  if (!private_->valueQuery.returnSamples(signature, commands, infos)) private_->services.verifyCommandNode();
}

bool TessivarClient::queryUnit(const AddressEx& address, Tessivar::Unit& unit) {
  constexpr const char* signature =
      "bool __cdecl TessivarDDS::TessivarClient::queryUnit("
      "const class TessivarDDS::AddressEx &,class Tessivar::Unit &)";
  const UseGate::Use use(private_->gate);
  if (!private_->usable(signature, use, Private::Part::unit)) return false;
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
  const UseGate::Use use(private_->gate);
  if (!private_->usable(signature, use, Private::Part::command)) return false;
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
  const UseGate::Use use(private_->gate);
  if (!private_->usable(signature, use, Private::Part::unit)) return false;
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
    private_->memory->units.reported(infos[i].instance_handle, AddressEx(units[i].unitId));
  }
  private_->unitQuery.returnLoan(signature, units, infos);
  for (const AddressEx& address : private_->memory->units.takeRemoved()) private_->notifyUnitRemoved(address);
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
  const UseGate::Use use(private_->gate);
  if (!private_->usable(signature, use, Private::Part::command)) return nullptr;
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
  const UseGate::Use use(private_->gate);
  if (use.open()) private_->services.commandService()->removeTicket(ticket);
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
  const UseGate::Use use(private_->gate);
  if (!private_->usable(signature, use, Private::Part::command)) return false;
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
  private_->services.commandService()->removeTicket(ticket);
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
