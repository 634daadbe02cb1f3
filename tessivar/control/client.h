// SPDX-License-Identifier: Apache-2.0

// The controlling side: finds units, watches commands, changes them.
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
/// Threads: any thread may call anything at any time, also from the listeners' callbacks, except as
/// TessivarClientListener says. create() and cleanUp() wait for each other. While another thread is in one of them, a
/// call fails as it does before create(), or it has its effect before or after. Only the destructor needs the client
/// alone. Timeouts are milliseconds; -1 is without limit. A failure is one log line and false or null; an absence (an
/// unknown unit, no data, a timeout) needs no line.
class TESSIVAR_API TessivarClient {
 public:
  using Ticket = RequestReplyTicket<Tessivar::CommandChangeReply>;

  TessivarClient();
  /// As cleanUp().
  virtual ~TessivarClient();
  TessivarClient(const TessivarClient&) = delete;
  TessivarClient& operator=(const TessivarClient&) = delete;

  /// Before create(). Not owned: release it after cleanUp(); in the other order the domain logs a warning and this
  /// client keeps its participant. One domain carries several nodes and clients, which do not hear each other.
  void attachDomain(DDSDomain* domain);
  /// Before create(), later refused with one line; initially false. See TessivarServices::setUseQosProfiles().
  void setUseQosProfiles(bool use);
  /// Joins the bus; takes some 100 ms. Refused when it has succeeded before, and within a callback; after a failure it
  /// may be called again.
  virtual bool create();
  /// Leaves the bus and forgets everything: domain, listeners (owned ones are deleted), interests and endpoints.
  /// Afterwards the client is as new. Ends what other threads wait for in their calls (a reply, a match, the history),
  /// and waits for these calls and for a callback that is running; at most a second for samples that are lent, and 5
  /// seconds for a request that is blocked. Refused within a callback.
  void cleanUp();

  /// Listeners are called in the order in which they were attached; attaching one again only replaces `owned`. Owned
  /// ones, made with `new`, are deleted by cleanUp(); others must stay until they are detached or the client is cleaned
  /// up.
  void attachListener(TessivarClientListener* listener, bool owned);
  /// Waits at most a second for callbacks that are running. Returns true if the listener is detached: it is the
  /// caller's and not called any more. Returns false, after one log line, if callbacks went on for longer, and within a
  /// callback: then the listener stays attached and must stay alive.
  bool detachListener(TessivarClientListener* listener);

  /// Waits, 50 ms at a time, until a device is there that requests can be sent to. Returns false when the time is over
  /// or the client leaves the bus. Does not wait within a callback of the bus.
  bool waitForMatch(int timeoutMs);
  /// As waitForMatch, and then, for as long again, until the current values have arrived.
  bool waitForHistoricalData(int timeoutMs);

  /// Narrows what the bus delivers to the units for which interest was registered (before the first one: all units),
  /// and tells their devices. Returns within milliseconds; the current values and metadata of a unit that is new arrive
  /// soon after, while those of the other units stay where they are and are not told again. Before create() it only
  /// narrows: call it again afterwards when the devices should know.
  bool registerInterest(const AddressEx& address);
  /// The same for the commands `first` to `last`; narrowing is by unit.
  bool registerInterest(const AddressEx& address, unsigned int first, unsigned int last);
  /// The same for many units at once, all their commands: quicker than one after the other.
  bool registerInterest(const std::vector<AddressEx>& addresses);
  /// Withdraws all interest in the unit: its device hears interestRemoved once no other client has that interest, and
  /// its values and metadata leave this client. Without any interest left no unit is followed. Returns false if no
  /// interest in it was registered.
  bool removeInterest(const AddressEx& address);
  /// Withdraws the interest that was registered for the commands `first` to `last`. The unit is followed as long as
  /// another range of it is registered. Returns false if that range was not registered.
  bool removeInterest(const AddressEx& address, unsigned int first, unsigned int last);

  /// True when the unit was announced and has not been removed since.
  bool hasUnit(const AddressEx& address);

  // Queries. They take no news away from the listeners, who are told first of what has arrived; listeners that are slow
  // hold a query up by at most a second. Within a callback a query waits for nothing, and what it then is the first to
  // see is not told again. What was removed, or whose device is gone, is not found.

  /// All units there are, each once, after waiting at most `timeoutMs` for the history. Pass empty sequences; what
  /// they hold is lent until freeUnitData(), which must be called. True also when there are none.
  bool queryUnits(Tessivar::UnitSeq& units, DDS_SampleInfoSeq& infos, int timeoutMs);
  void freeUnitData(Tessivar::UnitSeq& units, DDS_SampleInfoSeq& infos);
  /// The same for the commands' values.
  bool queryCommands(Tessivar::CommandSeq& commands, DDS_SampleInfoSeq& infos, int timeoutMs);
  void freeCommandData(Tessivar::CommandSeq& commands, DDS_SampleInfoSeq& infos);
  /// Copies one into an initialised sample (made with its type support's create_data). Does not wait.
  bool queryUnit(const AddressEx& address, Tessivar::Unit& unit);
  bool queryCommand(const AddressEx& address, unsigned int commandNumber, Tessivar::Command& command);

  /// Reports every unit there is to the listeners, as if it were new, and once those that were removed since the last
  /// call reported them. The calls are made on the caller's thread. Refused within a callback.
  bool refreshUnits(int timeoutMs);

  /// Asks the unit's device for a new value and waits until it has been set: true. False when the device refuses (its
  /// reason is logged, and in the ticket of commandTicketChanged), when no device is there, and when `timeoutMs` pass
  /// without a reply; each interim reply (PENDING, IN_PROGRESS) restarts the timeout. Sending may block in addition, as
  /// beginSetCommand says.
  ///
  /// After a timeout the request is not withdrawn: the device may get it and carry it out later, when the network works
  /// again. The LIFESPAN of the QoS profile "requestNodeQos" limits how long that can happen.
  bool setCommand(DDSPtr<Tessivar::Command>& command, int timeoutMs);
  /// The same; `failure` says why the result is false, and is None otherwise.
  bool setCommand(DDSPtr<Tessivar::Command>& command, int timeoutMs, RequestFailure& failure);
  /// Asks without waiting for the reply. The ticket, null on failure, is filled as replies arrive: see its `received`.
  ///
  /// Returns at once, unless requests of 4 megabytes are not acknowledged by devices. Then it blocks until they are, at
  /// most for 5 seconds (the max_blocking_time of the profile "requestNodeQos"), and fails.
  DDSPtr<Ticket> beginSetCommand(DDSPtr<Tessivar::Command>& command);
  /// The same; `failure` says why the result is null, and is None otherwise.
  DDSPtr<Ticket> beginSetCommand(DDSPtr<Tessivar::Command>& command, RequestFailure& failure);
  /// Forgets the ticket: later replies to it are dropped. To be called for every ticket of beginSetCommand: a ticket
  /// that is not completed keeps its memory and its number, of which there are 65535. At 1000 there is a warning.
  bool completeSetCommand(DDSPtr<Ticket>& ticket);

  /// The endpoints underneath. Do not create or clean up anything on them. The nodes are valid until cleanUp().
  TessivarServices* services() const;
  /// What has passed through the endpoints, requests and replies, and which participants were discovered. Empty before
  /// create() and after cleanUp(). Any thread and callback, also while another thread creates or cleans up; never
  /// blocks.
  Report report() const;

 private:
  class TESSIVAR_INTERNAL Private;
  class TESSIVAR_INTERNAL UnitsRunner;
  class TESSIVAR_INTERNAL MetadataRunner;
  const std::shared_ptr<ReportBook> book_;
  const std::unique_ptr<Private> private_;
};

}  // namespace TessivarDDS
