// SPDX-License-Identifier: Apache-2.0

// The listeners for requests, replies and values. Applications and services override them.
#pragma once

#include "tessivar/platform/sample_info.h"

namespace TessivarDDS {

/// The listener of the client side of a node. The node lends samples for the time of the call.
class TESSIVAR_API RequestReplyNodeClientListener {
 public:
  virtual ~RequestReplyNodeClientListener() = default;
  /// `count` servers are connected. A thread of the engine calls this and waits for it, so it must not block for long.
  /// Every public operation works here, except cleaning up and waiting: these are refused with one log line.
  virtual void matchCountChanged(int /*count*/) {}
  /// A reply arrived for a pending ticket with this number. Called on the wait-set thread of the node.
  virtual void ticketChanged(unsigned short /*ticketId*/) {}
};

/// A client listener that is notified of values, too. Called on the wait-set thread of the node.
template <class Value>
class TESSIVAR_API RequestReplyClientListener : public RequestReplyNodeClientListener {
 public:
  virtual void valueChanged(const Value* /*value*/) {}
  virtual void valueChanged(const Value* value, const DDS_SampleInfo& /*info*/) { valueChanged(value); }
  /// Only the key members of `value` are meaningful.
  virtual void valueRemoved(const Value* /*value*/) {}
  virtual void valueRemoved(const Value* value, const DDS_SampleInfo& /*info*/) { valueRemoved(value); }
};

/// The listener of the server side. Called on the wait-set thread of the node.
template <class Req, class Rep>
class TESSIVAR_API RequestReplyServerListener {
 public:
  virtual ~RequestReplyServerListener() = default;
  /// Returns a reply that the type support of Rep created, or null for no reply. The node owns the reply and sets its
  /// identity and ticket number.
  virtual Rep* processRequest(const Req* /*request*/) { return nullptr; }
  /// The node calls this overload.
  virtual Rep* processRequest(const Req* request, const DDS_SampleInfo& /*info*/) { return processRequest(request); }
};

}  // namespace TessivarDDS
