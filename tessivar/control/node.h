// SPDX-License-Identifier: Apache-2.0

// A device: announces units, publishes commands, and answers change requests.
#pragma once

#include "tessivar/control/node_listener.h"
#include "tessivar/framework/address/address_ex.h"
#include "tessivar/framework/pointers/dds_ptr.h"
#include "tessivar/framework/report/report.h"
#include "tessivar/platform/export.h"
#include "tessivar/types/command/command.h"

#include <memory>
#include <string>
#include <vector>

namespace TessivarDDS {

class DDSDomain;
class ReportBook;
class TessivarServices;

/// A device on the bus. It may have several units.
///
/// Use: attachDomain, attachListener, create with the addresses of its units; then addUnit, publishMetadata,
/// publishCommand; finally cleanUp. Samples are built with TessivarMessageHelper.
///
/// Threads: any thread may call any function at any time, also in a listener's callback, with the exceptions in
/// TessivarNodeListener. create() and cleanUp() wait for each other. While another thread is in one of them, a call
/// either fails as before create(), or takes effect before or after it. During the destructor no other thread may use
/// the node. Samples and replies are written on the caller's thread, without waiting for receivers. A failure logs one
/// line and returns false. The caller keeps samples that it passes by DDSPtr; the node stores no reference to them.
class TESSIVAR_API TessivarNode {
 public:
  TessivarNode();
  /// Calls cleanUp().
  virtual ~TessivarNode();
  TessivarNode(const TessivarNode&) = delete;
  TessivarNode& operator=(const TessivarNode&) = delete;

  /// Call it before create(). The node does not own the domain: release the domain after cleanUp(). If it is released
  /// earlier, the domain logs a warning, and this node keeps the participant. One domain can have several nodes and
  /// clients; these do not receive each other's samples.
  void attachDomain(DDSDomain* domain);
  /// Call it before create(); later it is refused with one log line. Initially false. See
  /// TessivarServices::setUseQosProfiles().
  void setUseQosProfiles(bool use);
  /// Joins the bus. Takes about 100 ms. Refused if an earlier call has succeeded, and in a callback. After a failure it
  /// may be called again.
  ///
  /// Until setFilterAddresses() has returned, the listeners also receive requests and interests for the units of other
  /// devices. They must not answer these. To avoid this, call create(addresses).
  virtual bool create();
  /// The same, and sets the addresses of setFilterAddresses() from the beginning: the listeners receive no request and
  /// no interest for another unit. An empty list means all units.
  bool create(const std::vector<AddressEx>& addresses);
  /// Leaves the bus and releases domain, listeners (owned listeners are deleted) and endpoints. Afterwards the node is
  /// as new. Waits for calls of other threads and for a running callback. Refused in a callback.
  void cleanUp();

  /// Listeners are called in the order in which they were attached. A second attach of the same listener only replaces
  /// `owned`. cleanUp() deletes owned listeners, which must be made with `new`. The caller keeps other listeners alive
  /// until they are detached or the node is cleaned up.
  void attachListener(TessivarNodeListener* listener, bool owned);
  /// Waits at most 1 second for running callbacks. Returns true if the listener is detached: the caller owns it, and it
  /// is not called any more. Returns false, after one log line, if the callbacks ran longer, and in a callback: then
  /// the listener stays attached and must stay alive.
  bool detachListener(TessivarNodeListener* listener);

  /// Announces a unit, or changes its announcement. While another device announces the same unit, both log one warning.
  bool addUnit(const DDSPtr<Tessivar::Unit>& unit);
  /// Returns false if this node did not announce the unit.
  bool removeUnit(const AddressEx& address);

  /// Controllers do not find a unit that was not announced: its first value logs a warning.
  bool publishCommand(const DDSPtr<Tessivar::Command>& command);
  /// If `deleteAfterWrite` is true, the node owns the sample and deletes it, also after a failure.
  bool publishCommand(Tessivar::Command* command, bool deleteAfterWrite);
  /// Returns false if this node never published the command.
  bool disposeCommand(const AddressEx& address, unsigned int commandNumber);

  bool publishMetadata(const DDSPtr<Tessivar::CommandMetadata>& metadata);
  /// Returns false if this node never published the metadata.
  bool disposeMetadata(const AddressEx& address, unsigned int commandNumber);

  /// Sends a further reply to a request whose first reply was PENDING or IN_PROGRESS. A further IN_PROGRESS restarts
  /// the controller's timeout. The last reply is COMPLETE or FAILED. Make the reply in commandChangeRequested, while
  /// the request is valid; any thread may send it at any later time.
  bool sendReply(const DDSPtr<Tessivar::CommandChangeReply>& reply);

  /// Sets the units whose requests and interests this node receives; an empty list means all units. Returns within
  /// milliseconds. Interests that clients registered earlier in a new unit arrive soon after. Other interests are not
  /// reported again. Returns false if the filters cannot be changed.
  bool setFilterAddresses(const std::vector<AddressEx>& addresses);

  /// The endpoints of the node. Do not create or clean up anything on them. The nodes are valid until cleanUp().
  TessivarServices* services() const;
  /// Counts of samples, requests and replies, and the discovered participants. Empty before create() and after
  /// cleanUp(). Any thread and any callback may call it, also while another thread creates or cleans up. Never blocks.
  Report report() const;

 private:
  class TESSIVAR_INTERNAL Private;
  class TESSIVAR_INTERNAL CommandInterestRunner;
  class TESSIVAR_INTERNAL UnitsRunner;
  bool createFor(const char* signature, const std::vector<std::string>& filterAddresses);
  const std::shared_ptr<ReportBook> book_;
  const std::unique_ptr<Private> private_;
};

}  // namespace TessivarDDS
