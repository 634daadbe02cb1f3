// SPDX-License-Identifier: Apache-2.0

// Definitions for dds_request_reply.h. Include that file instead.
#pragma once

#include "tessivar/framework/requestreply/dds_request_reply.h"

namespace TessivarDDS {

template <class Value, class Req, class Rep>
std::string DDSRequestReply<Value, Req, Rep>::signature(const char* result, const std::string& function) {
  return std::string(result) + "__cdecl TessivarDDS::DDSRequestReply<class " + TypeOf<Value>::name() + ",class " +
         TypeOf<Req>::name() + ",class " + TypeOf<Rep>::name() + ">::" + function;
}

template <class Value, class Req, class Rep>
DDSRequestReply<Value, Req, Rep>::~DDSRequestReply() {
  DDSRequestReply::cleanUp();
}

template <class Value, class Req, class Rep>
bool DDSRequestReply<Value, Req, Rep>::createTopics(const std::string& name, DDSDomain* domain) {
  // If there is no participant, the base class logs the error, so that it is logged only once.
  if (domain && domain->participant() && !creatValueTopic(name, domain)) {
    logError() << signature("bool ", "createTopics" TESSIVAR_SIGNATURE_NAME_DOMAIN) << "Failed to create value topic";
    return false;
  }
  return DDSRequestReplyNode<Req, Rep>::createTopics(name, domain);
}

template <class Value, class Req, class Rep>
bool DDSRequestReply<Value, Req, Rep>::creatValueTopic(const std::string& name, DDSDomain* domain) {
  valueNode_.attachDomain(domain);
  DDS_TopicQos qos;
  valueNode_.setQosProfile(this->profileLibrary(), valueProfile_);
  if (this->usesQosProfiles()) {
    if (!valueNode_.profileTopicQos(qos)) return false;
  } else {
    if (!this->defaultTopicQos(domain, qos)) return false;
    qos.durability.kind = DDS_TRANSIENT_LOCAL_DURABILITY_QOS;
    qos.reliability.kind = DDS_RELIABLE_RELIABILITY_QOS;
    qos.history.kind = DDS_KEEP_LAST_HISTORY_QOS;
    qos.history.refilter = DDS_ALL_REFILTER_QOS;
    qos.liveliness.kind = DDS_AUTOMATIC_LIVELINESS_QOS;
  }
  return valueNode_.createTopic(name, qos);
}

template <class Value, class Req, class Rep>
bool DDSRequestReply<Value, Req, Rep>::createWriters() {
  if (!DDSRequestReplyNode<Req, Rep>::createWriters()) return false;
  if (!this->serverSide()) return true;
  DDS_DataWriterQos qos;
  if (!valueNode_.dataWriterQos(qos)) return false;
  return valueNode_.createDataWriter(nullptr, DDS_STATUS_MASK_NONE, qos);
}

template <class Value, class Req, class Rep>
bool DDSRequestReply<Value, Req, Rep>::createReaders() {
  if (!DDSRequestReplyNode<Req, Rep>::createReaders()) return false;
  if (!this->clientSide()) return true;
  DDS_DataReaderQos qos;
  if (!valueNode_.stateReaderQos(qos)) return false;
  return valueNode_.createDataReader(&valueReaderListener_,
                                     DDS_SUBSCRIPTION_MATCHED_STATUS | DDS_LIVELINESS_CHANGED_STATUS, qos);
}

template <class Value, class Req, class Rep>
bool DDSRequestReply<Value, Req, Rep>::createWaitSet() {
  const bool autoStart = this->autoStartThread_;
  this->autoStartThread_ = false;  // start only after the last runner is attached
  bool made = DDSRequestReplyNode<Req, Rep>::createWaitSet();
  this->autoStartThread_ = autoStart;
  if (made && this->clientSide()) {
    typedef RequestReplyWaitsetThreadRunner<Value, Value, Req, Rep> Runner;
    made = this->waitSetThread()->attachRunner(std::make_unique<Runner>(*this, valueNode_.dataReader()));
  }
  if (made && autoStart) this->waitSetThread()->start();
  return made;
}

template <class Value, class Req, class Rep>
void DDSRequestReply<Value, Req, Rep>::cleanUp() {
  // A lent thread is valid only while this node is created.
  WaitSetThread* const thread = this->created() ? this->waitSetThread() : nullptr;
  const bool inCallback = this->inCallback();  // the base class logs it
  if (thread && !this->ownsThread_ && !inCallback && valueNode_.dataReader()) {
    thread->detachRunner(valueNode_.dataReader());
  }
  DDSRequestReplyNode<Req, Rep>::cleanUp();
  if (inCallback) return;
  valueNode_.cleanUp(-1);
  valueReaderListener_.count = 0;
}

template <class Value, class Req, class Rep>
int DDSRequestReply<Value, Req, Rep>::calculateMatchCount() {
  const int count = DDSRequestReplyNode<Req, Rep>::calculateMatchCount();
  return this->clientSide() ? std::min<int>(count, valueReaderListener_.count) : count;
}

template <class Value, class Req, class Rep>
DDSPtr<Req> DDSRequestReply<Value, Req, Rep>::createRequest(Value* value) {
  RequestFailure failure;
  return createRequest(value, failure);
}

template <class Value, class Req, class Rep>
DDSPtr<Req> DDSRequestReply<Value, Req, Rep>::createRequest(Value* value, RequestFailure& failure) {
  DDSPtr<Req> request = createRequest(failure);
  if (!request) return request;
  if (!value || TypeOf<Value>::TypeSupport::copy_data(&request->newValue, value) != DDS_RETCODE_OK) {
    logError() << signature(("class TessivarDDS::DDSPtr<class " + std::string(TypeOf<Req>::name()) + "> ").c_str(),
                            "createRequest(class " + std::string(TypeOf<Value>::name()) + " *)")
               << "Copy data failed!";
    failure = value ? RequestFailure::NotEncodable : RequestFailure::InvalidArgument;
    return {};
  }
  return request;
}

template <class Value, class Req, class Rep>
template <class F>
void DDSRequestReply<Value, Req, Rep>::forValueListeners(F&& call) {
  const auto where = [] { return signature("void ", "forValueListeners(void)"); };
  this->clientListeners().notify(where, [&](RequestReplyNodeClientListener& listener) {
    if (auto* const valueListener = dynamic_cast<RequestReplyClientListener<Value>*>(&listener)) call(*valueListener);
  });
}

template <class Value, class Req, class Rep>
void DDSRequestReply<Value, Req, Rep>::dispatchValue(const Value& value, const DDS_SampleInfo& info) {
  forValueListeners([&](auto& listener) { listener.valueChanged(&value, info); });
}

template <class Value, class Req, class Rep>
void DDSRequestReply<Value, Req, Rep>::dispatchRemoval(typename DDSNode<Value>::TDataReader& reader,
                                                       const DDS_SampleInfo& info) {
  if (this->clientListeners().empty()) return;
  const DDSPtr<Value> key(TypeOf<Value>::TypeSupport::create_data());
  if (!key || reader.get_key_value(*key, info.instance_handle) != DDS_RETCODE_OK) return;
  forValueListeners([&](auto& listener) { listener.valueRemoved(key.get(), info); });
}

}  // namespace TessivarDDS
