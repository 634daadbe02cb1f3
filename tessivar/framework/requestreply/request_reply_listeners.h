// SPDX-License-Identifier: Apache-2.0

// What applications and services override to hear of requests, replies and values.
#pragma once

#include "tessivar/platform/sample_info.h"

namespace TessivarDDS {

/// Hears of the client side of a node. Samples are lent for the time of the call.
class TESSIVAR_API RequestReplyNodeClientListener {
 public:
  virtual ~RequestReplyNodeClientListener() = default;
  /// `count` servers can be reached. Called on a thread of the engine, which waits for it: must not block for long.
  /// Every public operation works there, except that cleaning up and waiting are refused with one log line.
  virtual void matchCountChanged(int /*count*/) {}
  /// A reply has come for a pending ticket of that number. On the node's wait-set thread.
  virtual void ticketChanged(unsigned short /*ticketId*/) {}
};

/// Hears of values as well, on the node's wait-set thread.
template <class Value>
class TESSIVAR_API RequestReplyClientListener : public RequestReplyNodeClientListener {
 public:
  virtual void valueChanged(const Value* /*value*/) {}
  virtual void valueChanged(const Value* value, const DDS_SampleInfo& /*info*/) { valueChanged(value); }
  /// Only the key members of `value` are meaningful.
  virtual void valueRemoved(const Value* /*value*/) {}
  virtual void valueRemoved(const Value* value, const DDS_SampleInfo& /*info*/) { valueRemoved(value); }
};

/// Serves requests, on the node's wait-set thread.
template <class Req, class Rep>
class TESSIVAR_API RequestReplyServerListener {
 public:
  virtual ~RequestReplyServerListener() = default;
  /// A new reply, made by its type support, which the node then owns; its identity and ticket number are filled in by
  /// the node. Null: no reply.
  virtual Rep* processRequest(const Req* /*request*/) { return nullptr; }
  /// This form is the one that is called.
  virtual Rep* processRequest(const Req* request, const DDS_SampleInfo& /*info*/) { return processRequest(request); }
};

}  // namespace TessivarDDS
