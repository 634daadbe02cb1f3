// SPDX-License-Identifier: Apache-2.0

// The callbacks of a device.
#pragma once

#include "tessivar/framework/address/address_ex.h"
#include "tessivar/platform/export.h"
#include "tessivar/types/command/command.h"

namespace TessivarDDS {

class TessivarNode;

/// A device application implements this class and attaches it to its TessivarNode.
///
/// Requests are reported on one thread of the library and interests on another thread. A node never makes two calls at
/// the same time. The node's listener list is locked during a call, so a call must not attach or detach listeners of
/// the same node, and must not clean up the node. A call may use every other function of the node, for example
/// publishCommand. Be quick, because the node delivers nothing else meanwhile. Arguments are valid until the call
/// returns. An exception is logged and counts as no reply.
class TESSIVAR_API TessivarNodeListener {
 public:
  virtual ~TessivarNodeListener() = default;

  /// A controller requests a new value (`request->newValue`). Return a reply made by
  /// TessivarMessageHelper::createReply; the library owns the reply and sends it. If the result is null, the next
  /// listener gets the request; without a next listener no reply is sent. If the change takes longer, return
  /// IN_PROGRESS here, and send the last reply later with TessivarNode::sendReply. Publish the changed value with
  /// publishCommand, here or later.
  virtual Tessivar::CommandChangeReply* commandChangeRequested(TessivarNode* node,
                                                               const Tessivar::CommandChangeRequest* request) = 0;
  /// A controller is interested in a range of command numbers (`interest->range`, both ends included).
  virtual void interestRegistered(TessivarNode* node, const Tessivar::CommandInterest* interest) = 0;
  /// No controller is interested in the commands `first` to `last` of `unit` any more.
  virtual void interestRemoved(TessivarNode* node, const AddressEx& unit, unsigned int first, unsigned int last) = 0;
};

}  // namespace TessivarDDS
