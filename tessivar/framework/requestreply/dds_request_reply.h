// SPDX-License-Identifier: Apache-2.0

// A request/reply node with values: clients read values on a topic and request changes of them.
#pragma once

#include "tessivar/framework/requestreply/dds_request_reply_node.h"

namespace TessivarDDS {

/// A request/reply node with a third topic, NAME itself, that carries the current values. Servers write the values;
/// clients read them and are notified of changes. Req has a member `newValue` of type Value, in addition to the members
/// that the node needs.
///
/// Threads, order of calls and failures are as for DDSRequestReplyNode. A client listener that is a
/// RequestReplyClientListener<Value> is notified of values, too.
template <class Value, class Req, class Rep>
class TESSIVAR_API DDSRequestReply : public DDSRequestReplyNode<Req, Rep> {
 public:
  explicit DDSRequestReply(bool isClient) : DDSRequestReplyNode<Req, Rep>(isClient) {}
  ~DDSRequestReply() override;

  void cleanUp() override;
  /// Also counts the value writers of the servers.
  int calculateMatchCount() override;

  using DDSRequestReplyNode<Req, Rep>::createRequest;
  /// Returns a new request to change a value to a copy of `value`. Returns null if the value cannot be copied.
  DDSPtr<Req> createRequest(Value* value);
  /// The same. `failure` gives the reason if the result is null; otherwise it is None.
  DDSPtr<Req> createRequest(Value* value, RequestFailure& failure);

  DDSFilteredNode<Value>& valueNode() { return valueNode_; }

 protected:
  bool createTopics(const std::string& name, DDSDomain* domain) override;
  bool createWriters() override;
  bool createReaders() override;
  bool createWaitSet() override;
  /// Creates the value topic and, if a derived class needs it, a filtered topic for the value reader.
  virtual bool creatValueTopic(const std::string& name, DDSDomain* domain);

 private:
  friend class RequestReplyWaitsetThreadRunner<Value, Value, Req, Rep>;

  static std::string signature(const char* result, const std::string& function);
  /// Calls `call(listener)` for each RequestReplyClientListener<Value>.
  template <class F>
  TESSIVAR_INTERNAL void forValueListeners(F&& call);
  void dispatchValue(const Value& value, const DDS_SampleInfo& info);
  void dispatchRemoval(typename DDSNode<Value>::TDataReader& reader, const DDS_SampleInfo& info);

  DDSFilteredNode<Value> valueNode_;
  DataReaderCoreListener<Req, Rep> valueReaderListener_{*this};  // used on the client side
  const std::string valueProfile_ = "valueNodeQos";
};

}  // namespace TessivarDDS

#include "tessivar/framework/requestreply/detail/dds_request_reply_inl.h"
