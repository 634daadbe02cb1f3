// SPDX-License-Identifier: Apache-2.0

// A controller: finds units, receives the values of commands, and changes them.
#pragma once

#include "tessivar/control/client_listener.h"
#include "tessivar/framework/address/address_ex.h"
#include "tessivar/framework/pointers/dds_ptr.h"
#include "tessivar/framework/report/report.h"
#include "tessivar/framework/requestreply/request_reply_ticket.h"
#include "tessivar/platform/export.h"
#include "tessivar/platform/sample_info.h"
#include "tessivar/types/command/command.h"

#include <memory>
#include <vector>

namespace TessivarDDS {

class DDSDomain;
class ReportBook;
class TessivarServices;

/// A controller on the bus.
///
/// Use: attachDomain, attachListener, create; then waitForMatch, registerInterest, queries, setCommand or
/// beginSetCommand; finally cleanUp. Commands are built with TessivarMessageHelper.
///
/// Threads: any thread may call any function at any time, also in a listener's callback, with the exceptions in
/// TessivarClientListener. create() and cleanUp() wait for each other. While another thread is in one of them, a call
/// either fails as before create(), or takes effect before or after it. During the destructor no other thread may use
/// the client. Timeouts are in milliseconds; -1 means no limit. A failure logs one line and returns false or null. An
/// unknown unit, missing data or a timeout may be without a log line.
class TESSIVAR_API TessivarClient {
 public:
  using Ticket = RequestReplyTicket<Tessivar::CommandChangeReply>;

  TessivarClient();
  /// Calls cleanUp().
  virtual ~TessivarClient();
  TessivarClient(const TessivarClient&) = delete;
  TessivarClient& operator=(const TessivarClient&) = delete;

  /// Call it before create(). The client does not own the domain: release the domain after cleanUp(). If it is released
  /// earlier, the domain logs a warning, and this client keeps the participant. One domain can have several nodes and
  /// clients; these do not receive each other's samples.
  void attachDomain(DDSDomain* domain);
  /// Call it before create(); later it is refused with one log line. Initially false. See
  /// TessivarServices::setUseQosProfiles().
  void setUseQosProfiles(bool use);
  /// Joins the bus. Takes about 100 ms. Refused if an earlier call has succeeded, and in a callback. After a failure it
  /// may be called again.
  virtual bool create();
  /// Leaves the bus and releases domain, listeners (owned listeners are deleted), interests and endpoints. Afterwards
  /// the client is as new. Calls of other threads that wait (for a reply, a match, the history) return early. Waits for
  /// these calls and for a running callback; at most 1 second for lent samples, and 5 seconds for a blocked request.
  /// Refused in a callback.
  void cleanUp();

  /// Listeners are called in the order in which they were attached. A second attach of the same listener only replaces
  /// `owned`. cleanUp() deletes owned listeners, which must be made with `new`. The caller keeps other listeners alive
  /// until they are detached or the client is cleaned up.
  void attachListener(TessivarClientListener* listener, bool owned);
  /// Waits at most 1 second for running callbacks. Returns true if the listener is detached: the caller owns it, and it
  /// is not called any more. Returns false, after one log line, if the callbacks ran longer, and in a callback: then
  /// the listener stays attached and must stay alive.
  bool detachListener(TessivarClientListener* listener);

  /// Waits, in steps of 50 ms, until a device is matched that can receive requests. Returns false after the timeout, or
  /// if the client leaves the bus. Does not wait in a callback of the bus.
  bool waitForMatch(int timeoutMs);
  /// Waits as waitForMatch(), and then at most `timeoutMs` again until the current values have arrived.
  bool waitForHistoricalData(int timeoutMs);

  /// Limits the values and metadata that the client receives to the units with a registered interest (before the first
  /// call: all units), and notifies the devices of these units. Returns within milliseconds. The current values and
  /// metadata of a new unit arrive soon after. The values and metadata of the other units stay available and are not
  /// reported again. Before create() it only sets the filter: call it again after create() to notify the devices.
  bool registerInterest(const AddressEx& address);
  /// The same for the commands `first` to `last`. The filter still accepts the whole unit.
  bool registerInterest(const AddressEx& address, unsigned int first, unsigned int last);
  /// The same for all commands of many units. Faster than one call for each unit.
  bool registerInterest(const std::vector<AddressEx>& addresses);
  /// Withdraws all interest in the unit. Its device gets interestRemoved when no other client has the same interest.
  /// The unit's values and metadata are removed from this client. After the last interest is withdrawn the client
  /// follows no unit. Returns false if no interest in the unit was registered, or if the withdrawal cannot be written:
  /// then the interest stays registered.
  bool removeInterest(const AddressEx& address);
  /// Withdraws the interest that was registered for the commands `first` to `last`. The client follows the unit as long
  /// as another range of its commands is registered. Returns false if that range was not registered.
  bool removeInterest(const AddressEx& address, unsigned int first, unsigned int last);

  /// Returns true if the unit was announced and has not been removed since.
  bool hasUnit(const AddressEx& address);

  // Queries. Listeners receive every new sample, also if a query reads it: the listeners are called first. Slow
  // listeners delay a query by at most 1 second. In a callback a query does not wait; samples that it reads first are
  // then not reported to the listeners. Removed units and commands, and those of lost devices, are not found.

  /// Returns all units, each once. Waits at most `timeoutMs` for the history. Pass empty sequences. The samples are
  /// lent: freeUnitData() must be called. Also returns true if there are no units.
  bool queryUnits(Tessivar::UnitSeq& units, DDS_SampleInfoSeq& infos, int timeoutMs);
  void freeUnitData(Tessivar::UnitSeq& units, DDS_SampleInfoSeq& infos);
  /// The same for the commands' values.
  bool queryCommands(Tessivar::CommandSeq& commands, DDS_SampleInfoSeq& infos, int timeoutMs);
  void freeCommandData(Tessivar::CommandSeq& commands, DDS_SampleInfoSeq& infos);
  /// Copies a unit or a value into an initialised sample (made with its type support's create_data). Does not wait.
  bool queryUnit(const AddressEx& address, Tessivar::Unit& unit);
  bool queryCommand(const AddressEx& address, unsigned int commandNumber, Tessivar::Command& command);

  /// Reports every unit to the listeners as if it were new. Also reports, once, units that were reported by an earlier
  /// call and were removed since. The listeners are called on the caller's thread. Refused in a callback.
  bool refreshUnits(int timeoutMs);

  /// Requests a new value from the unit's device, and waits. Returns true when the device has set the value. Returns
  /// false if the device refuses (its reason is in the log and in the ticket of commandTicketChanged), if no device is
  /// matched, and if no reply arrives within `timeoutMs`. Each interim reply (PENDING, IN_PROGRESS) restarts the
  /// timeout. The timeout is counted in steps of 10 ms. Sending may also block, see beginSetCommand().
  ///
  /// After a timeout the request is not withdrawn: the device may receive it and carry it out later, when the network
  /// works again. The LIFESPAN of the QoS profile "requestNodeQos" limits this time.
  bool setCommand(DDSPtr<Tessivar::Command>& command, int timeoutMs);
  /// The same; `failure` says why the result is false, and is None otherwise.
  bool setCommand(DDSPtr<Tessivar::Command>& command, int timeoutMs, RequestFailure& failure);
  /// Sends the request and does not wait for the reply. Returns a ticket, or null on failure. Each reply is stored in
  /// the ticket: see its `received`.
  ///
  /// Returns at once, unless 4 megabytes of requests are unacknowledged by devices. Then it blocks until they are
  /// acknowledged. After 5 seconds (the max_blocking_time of the profile "requestNodeQos") it fails.
  DDSPtr<Ticket> beginSetCommand(DDSPtr<Tessivar::Command>& command);
  /// The same; `failure` says why the result is null, and is None otherwise.
  DDSPtr<Ticket> beginSetCommand(DDSPtr<Tessivar::Command>& command, RequestFailure& failure);
  /// Removes the ticket: later replies to it are dropped. Call it for every ticket of beginSetCommand(). A ticket that
  /// is not completed keeps its memory and its number; there are 65535 numbers. At 1000 tickets a warning is logged.
  bool completeSetCommand(DDSPtr<Ticket>& ticket);

  /// The endpoints of the client. Do not create or clean up anything on them. The nodes are valid until cleanUp().
  TessivarServices* services() const;
  /// Counts of samples, requests and replies, and the discovered participants. Empty before create() and after
  /// cleanUp(). Any thread and any callback may call it, also while another thread creates or cleans up. Never blocks.
  Report report() const;

 private:
  class TESSIVAR_INTERNAL Private;
  class TESSIVAR_INTERNAL UnitsRunner;
  class TESSIVAR_INTERNAL MetadataRunner;
  const std::shared_ptr<ReportBook> book_;
  const std::unique_ptr<Private> private_;
};

}  // namespace TessivarDDS
