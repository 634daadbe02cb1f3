// SPDX-License-Identifier: Apache-2.0

// What a controller hears of the devices on the bus.
#pragma once

#include "tessivar/framework/address/address_ex.h"
#include "tessivar/framework/pointers/dds_ptr.h"
#include "tessivar/framework/requestreply/request_reply_ticket.h"
#include "tessivar/platform/export.h"
#include "tessivar/types/command/command.h"

namespace TessivarDDS {

/// Implemented by a controlling application and attached to its TessivarClient.
///
/// Units and metadata come on one thread of the library, values and tickets on another, but never two calls of one
/// client at once. The client's listener list is locked during a call, so a call must not attach or detach listeners of
/// the same client, nor clean it up. Queries, registerInterest and beginSetCommand may be called from every call.
/// setCommand may be called from unitAdded, unitRemoved and commandMetadataUpdated, but keeps all other calls waiting,
/// and what waits for more than a second is not told: better use beginSetCommand. From commandValueChanged and
/// commandTicketChanged setCommand fails at once, as its reply would come on the very thread that waits. What a call is
/// given is valid until it returns. An exception is logged, and the next listener is called.
class TESSIVAR_API TessivarClientListener {
 public:
  virtual ~TessivarClientListener() = default;

  /// A unit announced itself, or what it says of itself has changed.
  virtual void unitAdded(const Tessivar::Unit* unit) = 0;
  /// A unit was taken from the bus, or its device is gone.
  virtual void unitRemoved(const AddressEx& unit) = 0;
  virtual void commandMetadataUpdated(const Tessivar::CommandMetadata* metadata);
  virtual void commandValueChanged(const Tessivar::Command* command) = 0;
  /// A reply has arrived for a request made with beginSetCommand or setCommand. Null when the ticket was completed in
  /// the meantime.
  virtual void commandTicketChanged(DDSPtr<RequestReplyTicket<Tessivar::CommandChangeReply>>& ticket) = 0;
};

}  // namespace TessivarDDS
