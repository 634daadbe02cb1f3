// SPDX-License-Identifier: Apache-2.0

// The state of a client.
#pragma once

#include "tessivar/control/client.h"
#include "tessivar/control/internal/client_interests.h"
#include "tessivar/control/internal/reader_query.h"
#include "tessivar/control/internal/reported_units.h"
#include "tessivar/control/services.h"
#include "tessivar/framework/log/logger.h"
#include "tessivar/framework/pointers/listener_list.h"
#include "tessivar/framework/sync/detail/use_gate.h"
#include "tessivar/framework/waitset/wait_set_thread.h"

#include <atomic>
#include <memory>
#include <utility>

namespace TessivarDDS {

/// Receives all notifications from the bus, on two threads, and calls the listeners.
class TessivarClient::Private : public RequestReplyClientListener<Tessivar::Command> {
 public:
  typedef TessivarServices::Part Part;

  explicit Private(const std::shared_ptr<ReportBook>& book) : services(book) { services.setAutoStartThread(false); }

  /// Makes services, thread, queries and runners, and opens the gate. The caller holds a turn and has closed the gate.
  bool create(const char* signature);

  /// Ends all calls and callbacks, and resets the client to its initial state.
  void leave();

  /// Returns true if a call that uses this part may continue. Otherwise logs one line with the reason.
  bool usable(const char* signature, const UseGate::Use& use, Part part) const {
    if (use.open()) return services.has(part);
    if (services.verify(part)) logError() << signature << UseGate::busy;
    return false;
  }
  bool busy(const char* signature, const UseGate::Use& use) const {
    if (use.closing()) logError() << signature << UseGate::busy;
    return use.closing();
  }
  bool refusedInCallback(const char* signature, const char* text) const {
    if (!inCallback()) return false;
    logError() << signature << text;
    return true;
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

  bool inCallback() const {
    return services.inCallback() || waitSetThread.isCurrent() || listeners.isNotifying() || gate.isMyTurn();
  }

  /// Calls each listener with the samples of an instance. The samples are read while the list's lock is held, so that
  /// no listener receives an older sample after a newer one.
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
      [this](Tessivar::UnitDataReader& reader, const DDS_InstanceHandle_t& unit) { tellUnit(reader, unit); }, leaving};
  ReaderQuery<Tessivar::Command> valueQuery{
      [this] { return services.commandService()->valueNode().dataReader(); },
      [this] { return listeners.isNotifying(); },
      [this](Tessivar::CommandDataReader& reader, const DDS_InstanceHandle_t& value) { tellValue(reader, value); },
      leaving};

  /// Call it when the listeners are notified that a unit has ended. If the unit was disposed, refreshUnits() notifies
  /// them again.
  void noteEnd(const DDS_SampleInfo& info) {
    if (info.instance_state == DDS_NOT_ALIVE_DISPOSED_INSTANCE_STATE) memory->units.removed(info.instance_handle);
  }

  ListenerList<TessivarClientListener> listeners{"TessivarDDS::TessivarClientListener"};
  TessivarServices services;
  /// The state that cleanUp() discards.
  struct Memory {
    explicit Memory(TessivarServices& services) : interests(services) {}
    ReportedUnits units;
    ClientInterests interests;
  };
  std::unique_ptr<Memory> memory{std::make_unique<Memory>(services)};
  WaitSetThread waitSetThread{"TessivarClient"};
  std::atomic<bool> leaving{false};
  UseGate gate;  // counts all calls; open after create()
};

}  // namespace TessivarDDS
