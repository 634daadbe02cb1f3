// SPDX-License-Identifier: Apache-2.0

// What a device hears of its controllers.
#pragma once

#include "tessivar/framework/address/address_ex.h"
#include "tessivar/platform/export.h"
#include "tessivar/types/command/command.h"

namespace TessivarDDS {

class TessivarNode;

/// Implemented by a device application and attached to its TessivarNode.
///
/// Requests come on one thread of the library and interests on another, but never two calls of one node at once. The
/// node's listener list is locked during a call, so a call must not attach or detach listeners of the same node, nor
/// clean it up; every other operation of the node may be called, publishing above all. Be quick, as nothing else is
/// dispatched meanwhile. What a call is given is valid until it returns. An exception is logged and counts as no reply.
class TESSIVAR_API TessivarNodeListener {
 public:
  virtual ~TessivarNodeListener() = default;

  /// A controller asks for a new value (`request->newValue`). Answer with a reply made by
  /// TessivarMessageHelper::createReply, which the library then owns and sends; null leaves the request to the next
  /// listener, and unanswered when there is none. Whatever takes longer is answered with IN_PROGRESS here, and finished
  /// later with TessivarNode::sendReply. A value that was changed is published with publishCommand, here or later.
  virtual Tessivar::CommandChangeReply* commandChangeRequested(TessivarNode* node,
                                                               const Tessivar::CommandChangeRequest* request) = 0;
  /// A controller wants the commands of a range of numbers (`interest->range`, both ends included).
  virtual void interestRegistered(TessivarNode* node, const Tessivar::CommandInterest* interest) = 0;
  /// No controller wants the commands `first` to `last` of `unit` any more.
  virtual void interestRemoved(TessivarNode* node, const AddressEx& unit, unsigned int first, unsigned int last) = 0;
};

}  // namespace TessivarDDS
