// SPDX-License-Identifier: Apache-2.0

// Listeners that count the remote readers and writers that match the endpoints of a node.
#pragma once

#include "tessivar/framework/log/logger.h"
#include "tessivar/framework/nodes/type_of.h"
#include "tessivar/platform/detail/mutex.h"
#include "tessivar/platform/participant.h"

#include <atomic>
#include <string>

namespace TessivarDDS {

template <class Req, class Rep>
class TESSIVAR_API DDSRequestReplyNode;

/// Counts the readers that match a writer and notifies the node. Called on threads of the engine.
template <class Req, class Rep>
class TESSIVAR_API DataWriterCoreListener : public DDSDataWriterListener {
 public:
  explicit DataWriterCoreListener(DDSRequestReplyNode<Req, Rep>& node) : node_(node) {}
  void on_publication_matched(DDSDataWriter* writer, const DDS_PublicationMatchedStatus& status) override;

  std::atomic<int> count{0};

 private:
  DDSRequestReplyNode<Req, Rep>& node_;
  tessivar::platform::Mutex counting_;
};

/// Counts the writers that match a reader, or the writers that are alive: the status that was reported last decides.
/// Notifies the node. Called on threads of the engine.
template <class Req, class Rep>
class TESSIVAR_API DataReaderCoreListener : public DDSDataReaderListener {
 public:
  explicit DataReaderCoreListener(DDSRequestReplyNode<Req, Rep>& node) : node_(node) {}
  void on_liveliness_changed(DDSDataReader* reader, const DDS_LivelinessChangedStatus& status) override;
  void on_subscription_matched(DDSDataReader* reader, const DDS_SubscriptionMatchedStatus& status) override;

  std::atomic<int> count{0};

 private:
  DDSRequestReplyNode<Req, Rep>& node_;
  tessivar::platform::Mutex counting_;
};

namespace detail {

template <class Req, class Rep>
std::string listenerSignature(const char* listener, const char* function) {
  return std::string("void __cdecl TessivarDDS::") + listener + "<class " + TypeOf<Req>::name() + ",class " +
         TypeOf<Rep>::name() + ">::" + function;
}

/// Stores the reported number in `count`. Several threads report, and reports may arrive in the wrong order. Therefore
/// this function holds `counting`, reads the current status from the endpoint with `get`, and stores that number.
template <class Endpoint, class Status>
void store(std::atomic<int>& count, tessivar::platform::Mutex& counting, Endpoint& endpoint, Status status,
           DDS_ReturnCode_t (Endpoint::*get)(Status&), DDS_Long Status::*figure) {
  const tessivar::platform::MutexLock lock(counting);
  Status present = {};
  if ((endpoint.*get)(present) == DDS_RETCODE_OK) status = present;
  count = status.*figure;
}

}  // namespace detail

template <class Req, class Rep>
void DataWriterCoreListener<Req, Rep>::on_publication_matched(DDSDataWriter* writer,
                                                              const DDS_PublicationMatchedStatus& status) {
  logDebug() << detail::listenerSignature<Req, Rep>(
                    "DataWriterCoreListener",
                    "on_publication_matched(class DDSDataWriter *,const struct DDS_PublicationMatchedStatus &)")
             << "Publication matched for topic '" << writer->get_topic()->get_name()
             << "'. Total matching readers: " << status.current_count;
  detail::store(count, counting_, *writer, status, &DDSDataWriter::get_publication_matched_status,
                &DDS_PublicationMatchedStatus::current_count);
  node_.notifyMatchCount();
}

template <class Req, class Rep>
void DataReaderCoreListener<Req, Rep>::on_liveliness_changed(DDSDataReader* reader,
                                                             const DDS_LivelinessChangedStatus& status) {
  logDebug() << detail::listenerSignature<Req, Rep>(
                    "DataReaderCoreListener",
                    "on_liveliness_changed(class DDSDataReader *,const struct DDS_LivelinessChangedStatus &)")
             << "Liveliness changed for topic '" << reader->get_topicdescription()->get_name()
             << "'. Total alive: " << status.alive_count;
  detail::store(count, counting_, *reader, status, &DDSDataReader::get_liveliness_changed_status,
                &DDS_LivelinessChangedStatus::alive_count);
  node_.notifyMatchCount();
}

template <class Req, class Rep>
void DataReaderCoreListener<Req, Rep>::on_subscription_matched(DDSDataReader* reader,
                                                               const DDS_SubscriptionMatchedStatus& status) {
  logDebug() << detail::listenerSignature<Req, Rep>(
                    "DataReaderCoreListener",
                    "on_subscription_matched(class DDSDataReader *,const struct DDS_SubscriptionMatchedStatus &)")
             << "Subscription matched for topic '" << reader->get_topicdescription()->get_name()
             << "'. Total matching writers: " << status.current_count;
  detail::store(count, counting_, *reader, status, &DDSDataReader::get_subscription_matched_status,
                &DDS_SubscriptionMatchedStatus::current_count);
  node_.notifyMatchCount();
}

}  // namespace TessivarDDS
