// SPDX-License-Identifier: Apache-2.0

// A value on a topic, and requests to change it.
#pragma once

#include "tessivar/framework/requestreply/dds_request_reply_node.h"

namespace TessivarDDS {

/// A request/reply node with a third topic, NAME itself, that carries the current values: servers write them, clients
/// read them and hear of their changes. Req has a member `newValue` of type Value besides what the node asks for.
///
/// Threads, order of calls and failures as for DDSRequestReplyNode. Client listeners that are
/// RequestReplyClientListener<Value> hear of values too.
template <class Value, class Req, class Rep>
class TESSIVAR_API DDSRequestReply : public DDSRequestReplyNode<Req, Rep> {
 public:
  explicit DDSRequestReply(bool isClient) : DDSRequestReplyNode<Req, Rep>(isClient) {}
  ~DDSRequestReply() override;

  void cleanUp() override;
  /// Reckons with the servers' value writers, too.
  int calculateMatchCount() override;

  using DDSRequestReplyNode<Req, Rep>::createRequest;
  /// A new request to change to a copy of `value`; null when it cannot be copied.
  DDSPtr<Req> createRequest(Value* value);
  /// The same; `failure` says why the result is null, and is None otherwise.
  DDSPtr<Req> createRequest(Value* value, RequestFailure& failure);

  DDSFilteredNode<Value>& valueNode() { return valueNode_; }

 protected:
  bool createTopics(const std::string& name, DDSDomain* domain) override;
  bool createWriters() override;
  bool createReaders() override;
  bool createWaitSet() override;
  /// Makes the value topic, and whatever filtered view of it the value reader is to read.
  virtual bool creatValueTopic(const std::string& name, DDSDomain* domain);

 private:
  friend class RequestReplyWaitsetThreadRunner<Value, Value, Req, Rep>;

  static std::string signature(const char* result, const std::string& function);
  /// Calls `call(listener)` for each listener that hears of values.
  template <class F>
  TESSIVAR_INTERNAL void forValueListeners(F&& call);
  void dispatchValue(const Value& value, const DDS_SampleInfo& info);
  void dispatchRemoval(typename DDSNode<Value>::TDataReader& reader, const DDS_SampleInfo& info);

  DDSFilteredNode<Value> valueNode_;
  DataReaderCoreListener<Req, Rep> valueReaderListener_{*this};  // of the client side
  const std::string valueProfile_ = "valueNodeQos";
};

}  // namespace TessivarDDS

#include "tessivar/framework/requestreply/detail/dds_request_reply_inl.h"
