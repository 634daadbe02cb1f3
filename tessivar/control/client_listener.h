// SPDX-License-Identifier: Apache-2.0

// The callbacks of a controller.
#pragma once

#include "tessivar/framework/address/address_ex.h"
#include "tessivar/framework/pointers/dds_ptr.h"
#include "tessivar/framework/requestreply/request_reply_ticket.h"
#include "tessivar/platform/export.h"
#include "tessivar/types/command/command.h"

namespace TessivarDDS {

/// A controlling application implements this class and attaches it to its TessivarClient.
///
/// Units and metadata are reported on one thread of the library, values and tickets on another thread. A client never
/// makes two calls at the same time. The client's listener list is locked during a call, so a call must not attach or
/// detach listeners of the same client, and must not clean up the client. Every call may use queries, registerInterest
/// and beginSetCommand. unitAdded, unitRemoved and commandMetadataUpdated may use setCommand, but all other calls wait
/// meanwhile, and a notification that waits for more than 1 second is dropped: prefer beginSetCommand. In
/// commandValueChanged and commandTicketChanged setCommand fails at once, because its reply would arrive on the same
/// thread. Arguments are valid until the call returns. An exception is logged, and the next listener is called.
class TESSIVAR_API TessivarClientListener {
 public:
  virtual ~TessivarClientListener() = default;

  /// A unit was announced, or its announcement has changed.
  virtual void unitAdded(const Tessivar::Unit* unit) = 0;
  /// A unit was removed, or its device was lost.
  virtual void unitRemoved(const AddressEx& unit) = 0;
  virtual void commandMetadataUpdated(const Tessivar::CommandMetadata* metadata);
  /// A value was published. Every value is reported, except in an overload: if a newer value of the same command has
  /// arrived, a value is not reported after it has waited for more than 50 ms, or if more than 16384 values wait. While
  /// values arrive more often than about 4,000 times a second, they are reported about once in a millisecond. The same
  /// holds for units and metadata.
  virtual void commandValueChanged(const Tessivar::Command* command) = 0;
  /// A reply has arrived for a request of beginSetCommand or setCommand. `ticket` is null if the ticket was completed
  /// meanwhile.
  virtual void commandTicketChanged(DDSPtr<RequestReplyTicket<Tessivar::CommandChangeReply>>& ticket) = 0;
};

}  // namespace TessivarDDS
