// SPDX-License-Identifier: Apache-2.0

// The device side: announces units, publishes commands, answers change requests.
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

/// A device on the bus. It may speak for several units.
///
/// Use: attachDomain, attachListener, create with the addresses of its units; then addUnit, publishMetadata,
/// publishCommand; finally cleanUp. Samples are built with TessivarMessageHelper.
///
/// Threads: any thread may call anything at any time, also from the listeners' callbacks, except as
/// TessivarNodeListener says. create() and cleanUp() wait for each other. While another thread is in one of them, a
/// call fails as it does before create(), or it has its effect before or after. Only the destructor needs the node
/// alone. Publishing and answering write on the caller's thread and do not wait for receivers. A failure is one log
/// line and false. Samples passed by DDSPtr stay the caller's, and are not kept.
class TESSIVAR_API TessivarNode {
 public:
  TessivarNode();
  /// As cleanUp().
  virtual ~TessivarNode();
  TessivarNode(const TessivarNode&) = delete;
  TessivarNode& operator=(const TessivarNode&) = delete;

  /// Before create(). Not owned: release it after cleanUp(); in the other order the domain logs a warning and this node
  /// keeps its participant. One domain carries several nodes and clients, which do not hear each other.
  void attachDomain(DDSDomain* domain);
  /// Before create(), later refused with one line; initially false. See TessivarServices::setUseQosProfiles().
  void setUseQosProfiles(bool use);
  /// Joins the bus; takes some 100 ms. Refused when it has succeeded before, and within a callback; after a failure it
  /// may be called again.
  ///
  /// Until setFilterAddresses() has returned, requests and interests for the units of all other devices reach the
  /// listeners too, which must not answer them. create(addresses) has no such time.
  virtual bool create();
  /// The same, with the addresses of setFilterAddresses() in force from the first moment: no request and no interest
  /// for another unit reaches the listeners. None means all units.
  bool create(const std::vector<AddressEx>& addresses);
  /// Leaves the bus and forgets everything: domain, listeners (owned ones are deleted) and endpoints. Afterwards the
  /// node is as new. Waits for calls of other threads and for a callback that is running; refused within one.
  void cleanUp();

  /// Listeners are called in the order in which they were attached; attaching one again only replaces `owned`. Owned
  /// ones, made with `new`, are deleted by cleanUp(); others must stay until they are detached or the node is cleaned
  /// up.
  void attachListener(TessivarNodeListener* listener, bool owned);
  /// Waits at most a second for callbacks that are running. Returns true if the listener is detached: it is the
  /// caller's and not called any more. Returns false, after one log line, if callbacks went on for longer, and within a
  /// callback: then the listener stays attached and must stay alive.
  bool detachListener(TessivarNodeListener* listener);

  /// Announces a unit, or what has changed of it. While another device announces the same unit, both log one warning.
  bool addUnit(const DDSPtr<Tessivar::Unit>& unit);
  /// False when this node did not announce it.
  bool removeUnit(const AddressEx& address);

  /// Controllers see the values of announced units only: the first value of another one logs a warning.
  bool publishCommand(const DDSPtr<Tessivar::Command>& command);
  /// `deleteAfterWrite`: the sample is taken over and deleted in any case.
  bool publishCommand(Tessivar::Command* command, bool deleteAfterWrite);
  /// False when this node never published it.
  bool disposeCommand(const AddressEx& address, unsigned int commandNumber);

  bool publishMetadata(const DDSPtr<Tessivar::CommandMetadata>& metadata);
  /// False when this node never published it.
  bool disposeMetadata(const AddressEx& address, unsigned int commandNumber);

  /// Answers a request once more, after a first answer of PENDING or IN_PROGRESS: with IN_PROGRESS again, which
  /// restarts the controller's timeout, and at last with COMPLETE or FAILED. Build the reply while the request is at
  /// hand, in commandChangeRequested; from there it may be sent at any later time and from any thread.
  bool sendReply(const DDSPtr<Tessivar::CommandChangeReply>& reply);

  /// The units whose requests and interests reach this node; none means all. Returns within milliseconds; the interests
  /// that clients registered earlier in a unit that is new arrive soon after, the others are not told again. False when
  /// the filters cannot be changed.
  bool setFilterAddresses(const std::vector<AddressEx>& addresses);

  /// The endpoints underneath. Do not create or clean up anything on them. The nodes are valid until cleanUp().
  TessivarServices* services() const;
  /// What has passed through the endpoints, requests and replies, and which participants were discovered. Empty before
  /// create() and after cleanUp(). Any thread and callback, also while another thread creates or cleans up; never
  /// blocks.
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
