// SPDX-License-Identifier: Apache-2.0

// Definitions for dds_request_reply_node.h. Include that file instead.
#pragma once

#include "tessivar/framework/requestreply/dds_request_reply_node.h"

namespace TessivarDDS {

namespace detail {

#define TESSIVAR_SIGNATURE_NAME_DOMAIN "(const " TESSIVAR_SIGNATURE_STRING " &,class TessivarDDS::DDSDomain *)"

/// All replies to one client belong to one instance. A burst of replies must not overwrite replies that were not read.
/// This is the history depth of the reader: one reply for each ticket number may be unread.
constexpr DDS_Long unread_replies = 65536;
/// The history depth of the writer: so many replies to a client may be unacknowledged. The engine allocates memory for
/// this number with the first reply to a client.
constexpr DDS_Long unacknowledged_replies = 16384;
/// The longest time that a request waits for space in the writer. A server that has left is detected earlier.
constexpr int request_blocking_milliseconds = 5000;
}  // namespace detail

template <class Req, class Rep>
std::string DDSRequestReplyNode<Req, Rep>::signature(const char* result, const std::string& function) {
  return std::string(result) + "__cdecl TessivarDDS::DDSRequestReplyNode<class " + TypeOf<Req>::name() + ",class " +
         TypeOf<Rep>::name() + ">::" + function;
}

template <class Req, class Rep>
DDSRequestReplyNode<Req, Rep>::DDSRequestReplyNode(bool isClient)
    : role_(isClient ? RequestReplyRole::Client : RequestReplyRole::Server) {
  generateRequestGuid(guid_);
}

template <class Req, class Rep>
DDSRequestReplyNode<Req, Rep>::~DDSRequestReplyNode() {
  DDSRequestReplyNode::cleanUp();
}

// --- settings

template <class Req, class Rep>
bool DDSRequestReplyNode<Req, Rep>::refusedBecauseCreated(const char* function) const {
  if (created_) logError() << signature("void ", function) << " Cannot be changed after create.";
  return created_;
}

template <class Req, class Rep>
void DDSRequestReplyNode<Req, Rep>::setRole(RequestReplyRole role) {
  if (!refusedBecauseCreated("setRole(enum TessivarDDS::RequestReplyRole)")) role_ = role;
}

template <class Req, class Rep>
void DDSRequestReplyNode<Req, Rep>::setLiveliness(int milliseconds) {
  if (created_ && milliseconds != livelinessMs_) {
    logError() << signature("void ", "setLiveliness(int)")
               << "The liveiness QoS setting cannot be adjusted after the topics have been created";
    return;
  }
  livelinessMs_ = milliseconds;
}

template <class Req, class Rep>
void DDSRequestReplyNode<Req, Rep>::setUseQosProfiles(bool use) {
  if (!refusedBecauseCreated("setUseQosProfiles(bool)")) useQosProfiles_ = use;
}

template <class Req, class Rep>
void DDSRequestReplyNode<Req, Rep>::setAutoStartThread(bool start) {
  if (!refusedBecauseCreated("setAutoStartThread(bool)")) autoStartThread_ = start;
}

template <class Req, class Rep>
void DDSRequestReplyNode<Req, Rep>::setWaitSetThread(WaitSetThread* thread) {
  if (refusedBecauseCreated("setWaitSetThread(class TessivarDDS::WaitSetThread *)")) return;
  setLentThread(thread);
}

template <class Req, class Rep>
void DDSRequestReplyNode<Req, Rep>::setLentThread(WaitSetThread* thread) {
  waitSetThread_ = thread;
  ownsThread_ = thread == nullptr;
}

template <class Req, class Rep>
void DDSRequestReplyNode<Req, Rep>::attachListener(RequestReplyNodeClientListener* listener) {
  if (!clientSide()) {
    logError() << signature("void ", "attachListener(class TessivarDDS::RequestReplyNodeClientListener *)")
               << "Cannot attach a client listener to an instance running as a server";
    return;
  }
  clientListeners_.attach(listener);
}

template <class Req, class Rep>
void DDSRequestReplyNode<Req, Rep>::setListener(RequestReplyServerListener<Req, Rep>* listener) {
  if (!serverSide()) {
    logError() << signature("void ", std::string("setListener(class TessivarDDS::RequestReplyServerListener<class ") +
                                         TypeOf<Req>::name() + ",class " + TypeOf<Rep>::name() + "> *)")
               << "Cannot attach a server listener to an instance running as a client";
    return;
  }
  serverListener_.set(listener);
}

// --- creation and cleaning up

template <class Req, class Rep>
bool DDSRequestReplyNode<Req, Rep>::create(const std::string& name, DDSDomain* domain) {
  if (created_) return true;
  created_ = true;
  if (!createTopics(name, domain) || !createReaders() || !createWriters()) return false;
  gate_.open();  // before the first callback, because callbacks may make requests
  return createWaitSet();
}

template <class Req, class Rep>
bool DDSRequestReplyNode<Req, Rep>::createTopics(const std::string& name, DDSDomain* domain) {
  const auto where = [] { return signature("bool ", "createTopics" TESSIVAR_SIGNATURE_NAME_DOMAIN); };
  if (!domain || !domain->participant()) {
    logError() << where() << "No domain is attached.";
    return false;
  }
  requestNode_.attachDomain(domain);
  replyNode_.attachDomain(domain);
  const std::string filterName = name + ".Filter";
  if (!domain->contentFilter(filterName) &&
      !domain->registerContentFilter(filterName, &GuidContentFilter<Rep>::instance())) {
    logError() << where() << "Failed to register the content filter. That name likely already exists!";
    return false;
  }
  if (!createRequestTopic(name, domain)) {
    logError() << where() << "Failed to create request topic";
    return false;
  }
  if (!createReplyTopic(name, domain)) {
    logError() << where() << "Failed to create reply topic";
    return false;
  }
  return true;
}

template <class Req, class Rep>
bool DDSRequestReplyNode<Req, Rep>::defaultTopicQos(DDSDomain* domain, DDS_TopicQos& qos) {
  const DDS_ReturnCode_t code = domain->participant()->get_default_topic_qos(qos);
  if (code != DDS_RETCODE_OK) {
    logError() << signature("bool ", "defaultTopicQos(class TessivarDDS::DDSDomain *,struct DDS_TopicQos &)")
               << " Failed to get the default topic QoS. Return code: " << code;
  }
  return code == DDS_RETCODE_OK;
}

template <class Req, class Rep>
bool DDSRequestReplyNode<Req, Rep>::createRequestTopic(const std::string& name, DDSDomain* domain) {
  DDS_TopicQos qos;
  requestNode_.setQosProfile(profileLibrary(), requestProfile_);
  if (useQosProfiles_) {
    if (!requestNode_.profileTopicQos(qos)) return false;
  } else {
    if (!defaultTopicQos(domain, qos)) return false;
    qos.durability.kind = DDS_VOLATILE_DURABILITY_QOS;
    qos.reliability.kind = DDS_RELIABLE_RELIABILITY_QOS;
    qos.history.kind = DDS_KEEP_ALL_HISTORY_QOS;
  }
  return requestNode_.createTopic(name + ".Requests", qos);
}

template <class Req, class Rep>
bool DDSRequestReplyNode<Req, Rep>::createReplyTopic(const std::string& name, DDSDomain* domain) {
  const auto where = [] { return signature("bool ", "createReplyTopic" TESSIVAR_SIGNATURE_NAME_DOMAIN); };
  DDS_TopicQos qos;
  replyNode_.setQosProfile(profileLibrary(), replyProfile_);
  if (useQosProfiles_) {
    if (!replyNode_.profileTopicQos(qos)) return false;
  } else {
    if (!defaultTopicQos(domain, qos)) return false;
    qos.durability.kind = DDS_VOLATILE_DURABILITY_QOS;
    qos.reliability.kind = DDS_RELIABLE_RELIABILITY_QOS;
    qos.history.kind = DDS_KEEP_ALL_HISTORY_QOS;
    qos.liveliness.kind = DDS_AUTOMATIC_LIVELINESS_QOS;
    qos.liveliness.lease_duration = DDS_DURATION_INFINITE;
  }
  if (livelinessMs_ != -1) qos.liveliness.lease_duration = DDS_Duration_from_millis(livelinessMs_);
  if (!replyNode_.createTopic(name + ".Reply", qos)) return false;
  if (!clientSide()) return true;

  const std::string text = requestGuidToText(guid_);
  logDebug() << where() << "Creating client side content filter with guid: " << text;
  const std::string filterName = name + ".Filter";
  const DDSContentFilter* const filter = domain->contentFilter(filterName);
  if (!filter) {
    logError() << where() << "Expected content filter does not exist!!!";
    return false;
  }
  if (!replyNode_.createContentFilteredTopic(filter, filterName, text)) {
    logError() << where() << "Failed to create the content filtered topic.";
    return false;
  }
  return true;
}

template <class Req, class Rep>
bool DDSRequestReplyNode<Req, Rep>::createWriters() {
  if (clientSide()) {
    DDS_DataWriterQos qos;
    if (!requestNode_.dataWriterQos(qos)) return false;
    if (!useQosProfiles_) {
      qos.reliability.max_blocking_time = DDS_Duration_from_millis(detail::request_blocking_milliseconds);
    }
    if (!requestNode_.createDataWriter(&requestWriterListener_, DDS_PUBLICATION_MATCHED_STATUS, qos)) return false;
  }
  if (serverSide()) {
    DDS_DataWriterQos qos;
    if (!replyNode_.dataWriterQos(qos)) return false;
    if (!useQosProfiles_) {
      // Reply readers request transient-local durability; a volatile writer would not match them. The writer keeps only
      // one reply of each instance for late joiners. With keep-last history, a slow client does not delay replies to
      // other clients.
      qos.durability.kind = DDS_TRANSIENT_LOCAL_DURABILITY_QOS;
      qos.durability_service.history_depth = 1;
      qos.history.kind = DDS_KEEP_LAST_HISTORY_QOS;
      qos.history.depth = detail::unacknowledged_replies;
    }
    if (!replyNode_.createDataWriter(nullptr, DDS_STATUS_MASK_NONE, qos)) return false;
  }
  return true;
}

template <class Req, class Rep>
bool DDSRequestReplyNode<Req, Rep>::createReaders() {
  if (clientSide()) {
    DDS_DataReaderQos qos;
    if (!replyNode_.stateReaderQos(qos)) return false;
    if (!useQosProfiles_) qos.history.depth = detail::unread_replies;
    if (!replyNode_.createDataReader(&replyReaderListener_,
                                     DDS_SUBSCRIPTION_MATCHED_STATUS | DDS_LIVELINESS_CHANGED_STATUS, qos)) {
      return false;
    }
  }
  if (serverSide()) {
    DDS_DataReaderQos qos;
    if (!requestNode_.dataReaderQos(qos)) return false;
    if (!requestNode_.createDataReader(nullptr, DDS_STATUS_MASK_NONE, qos)) return false;
    DDS_TopicQos topicQos;
    if (requestNode_.topic()->get_qos(topicQos) != DDS_RETCODE_OK) return false;
    requestLifespan_ = tessivar::platform::to_nanoseconds(topicQos.lifespan.duration);
  }
  return true;
}

template <class Req, class Rep>
bool DDSRequestReplyNode<Req, Rep>::createWaitSet() {
  const char* const name = role_ == RequestReplyRole::Client   ? "DDSRequestReply_Client"
                           : role_ == RequestReplyRole::Server ? "DDSRequestReply_Server"
                                                               : "DDSRequestReply_Both";
  if (!waitSetThread_) {
    auto thread = std::make_unique<WaitSetThread>(name);
    if (!thread->create()) {
      logError() << signature("bool ", "createWaitSet(void)") << "Failed to create the waitset thread";
      return false;
    }
    waitSetThread_ = thread.release();
  }
  if (clientSide()) {
    typedef RequestReplyCoreWaitsetThreadRunner<Rep, Req, Rep> Runner;
    if (!waitSetThread_->attachRunner(std::make_unique<Runner>(*this, replyNode_.dataReader()))) return false;
  }
  if (serverSide()) {
    typedef RequestReplyCoreWaitsetThreadRunner<Req, Req, Rep> Runner;
    if (!waitSetThread_->attachRunner(std::make_unique<Runner>(*this, requestNode_.dataReader()))) return false;
  }
  if (autoStartThread_) waitSetThread_->start();
  return true;
}

template <class Req, class Rep>
void DDSRequestReplyNode<Req, Rep>::cleanUp() {
  if (!created_) return;
  if (inCallback()) {
    logError() << signature("void ", "cleanUp(void)") << " Cannot clean up from within a callback.";
    return;
  }
  gate_.close();
  if (serverListener_.get()) setListener(nullptr);
  clientListeners_.clear();
  if (ownsThread_) {
    delete waitSetThread_;  // stops it
    waitSetThread_ = nullptr;
  } else if (waitSetThread_) {
    if (replyNode_.dataReader()) waitSetThread_->detachRunner(replyNode_.dataReader());
    if (requestNode_.dataReader()) waitSetThread_->detachRunner(requestNode_.dataReader());
    setLentThread(nullptr);
  }
  replyNode_.cleanUp(-1);
  requestNode_.cleanUp(-1);
  recentClients_.clear();
  requestWriterListener_.count = 0;
  replyReaderListener_.count = 0;
  created_ = false;
  gate_.reset();
}

template <class Req, class Rep>
bool DDSRequestReplyNode<Req, Rep>::inCallback() const {
  return tessivar::platform::in_callback() || (waitSetThread_ && waitSetThread_->isCurrent());
}

}  // namespace TessivarDDS

#include "tessivar/framework/requestreply/detail/dds_request_reply_exchange_inl.h"
