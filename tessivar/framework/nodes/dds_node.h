// SPDX-License-Identifier: Apache-2.0

// A topic with its writer and reader, for one type of sample.
#pragma once

#include "tessivar/framework/domain/dds_domain.h"
#include "tessivar/framework/nodes/type_of.h"
#include "tessivar/framework/pointers/dds_ptr.h"
#include "tessivar/platform/detail/callback.h"
#include "tessivar/platform/participant.h"

#include <memory>
#include <string>
#include <vector>

namespace TessivarDDS {

/// Publishes and subscribes to one topic of type T: registers the type, makes the topic, if wanted a content-filtered
/// view of it, and at most one writer and one reader, and deletes them in the right order.
///
/// Nodes of one name and type on a domain share the topic, each with its own filtered view, writer and reader; the
/// topic's QoS are those of the first node, those of writer and reader follow what this node asked for.
///
/// T is a top-level type of the data model, or any type that TypeOf knows (nodes/type_of.h). attachDomain() first, then
/// createTopic(), then the rest. Not locked: create, clean up and change a node from one thread at a time;
/// writeSample() and the entities themselves may be used by any thread meanwhile. Everything made belongs to the node;
/// clean it up before the domain. It keeps the domain's participant as long as it has a topic. A failure logs one line
/// and gives false; what was made before it stays until cleanUp().
template <class T>
class TESSIVAR_API DDSNode {
 public:
  typedef typename TypeOf<T>::TypeSupport TTypeSupport;
  typedef typename TypeOf<T>::DataWriter TDataWriter;
  typedef typename TypeOf<T>::DataReader TDataReader;

  /// How long cleanUp() waits for readers to acknowledge, unless told otherwise, in milliseconds.
  static constexpr int defaultFlushTimeout = 1000;

  DDSNode() = default;
  /// As cleanUp().
  virtual ~DDSNode();
  DDSNode(const DDSNode&) = delete;
  DDSNode& operator=(const DDSNode&) = delete;

  /// A node on `domain` with the topic and, for a client, a reader, else a writer, whose QoS follow the topic's. Null
  /// on failure. The caller owns it.
  static DDSNode* create(DDSDomain* domain, const std::string& topicName, const DDS_TopicQos& topicQos, bool isClient);
  /// The same with the QoS of a profile.
  static DDSNode* create(DDSDomain* domain, const std::string& topicName, const std::string& library,
                         const std::string& profile, bool isClient);

  /// Not owned; must outlive the node, or be detached by attaching null.
  void attachDomain(DDSDomain* domain) { domain_ = domain; }
  DDSDomain* domain() const { return domain_; }
  /// Null, with a line in the log, when no domain is attached; null before the domain is created.
  DDSDomainParticipant* participant() const;

  /// Warns, after `signature`, when the participant has discovered no other one up to now; says how it looks for them.
  void warnIfAlone(const char* signature) const {
    if (owned_) owned_->warnIfAlone(signature);
  }

  /// Entities made from now on have the QoS of this profile wherever the node chooses them: dataWriterQos(),
  /// dataReaderQos() and stateReaderQos() return the profile's. An empty library, as at first: the node's built-in QoS.
  void setQosProfile(const std::string& library, const std::string& profile) {
    qosLibrary_ = library;
    qosProfile_ = profile;
  }
  bool usesQosProfile() const { return !qosLibrary_.empty(); }
  /// The topic QoS of the profile. False, with a line in the log, when it cannot be had.
  bool profileTopicQos(DDS_TopicQos& qos) const { return domain_->topicQosProfile(qosLibrary_, qosProfile_, qos); }

  /// Under the type's own name. createTopic() does it when it has not been done.
  bool registerTypeSupport();
  /// Fails when the domain has a topic of that name with another type.
  bool createTopic(const std::string& name, const DDS_TopicQos& qos = DDS_TOPIC_QOS_DEFAULT);
  /// The topic's filtered view, named after it with ".Filtered" appended, and a number when another node on the domain
  /// has such a view: what a reader made from now on reads.
  /// `filterName` is what `filter` is registered as; `expression` and `parameters` go to it.
  virtual bool createContentFilteredTopic(const DDSContentFilter* filter, const std::string& filterName,
                                          const std::string& expression,
                                          const std::vector<std::string>& parameters = {});
  /// `listener` (may be null) is not owned and hears the statuses of `mask`.
  bool createDataWriter(DDSDataWriterListener* listener = nullptr, unsigned int mask = DDS_STATUS_MASK_NONE,
                        const DDS_DataWriterQos& qos = DDS_DATAWRITER_QOS_USE_TOPIC_QOS);
  /// Of the filtered topic when there is one, else of the topic.
  bool createDataReader(DDSDataReaderListener* listener = nullptr, unsigned int mask = DDS_STATUS_MASK_NONE,
                        const DDS_DataReaderQos& qos = DDS_DATAREADER_QOS_USE_TOPIC_QOS);

  /// May block for the writer's max_blocking_time when its readers do not keep up.
  bool writeSample(const DDSPtr<T>& sample) { return writeSample(sample.get(), false); }
  /// With `release` the sample, made by its type support, is the node's: it is deleted after the write, even a failing
  /// one.
  virtual bool writeSample(T* sample, bool release);

  /// Writes as writeSample() does, and returns the platform's code: BAD_PARAMETER for a null sample and one that cannot
  /// be encoded, TIMEOUT when readers did not make room in time, PRECONDITION_NOT_MET without a writer. `sample` stays
  /// the caller's.
  DDS_ReturnCode_t tryWriteSample(T* sample);

  /// Deletes everything that was made, the writer after sending what is batched and waiting at most `flushTimeout`
  /// milliseconds for its readers; -1 neither sends nor waits. A reader must have no runner attached any more. In a
  /// process that inherited the node by fork() everything is abandoned. Refused within a callback of the bus; within
  /// one the destructor leaves the reader and the writer to the participant.
  virtual void cleanUp(int flushTimeout = defaultFlushTimeout);
  /// Refused while the reader exists.
  void cleanUpContentFilteredTopic();
  /// True when there is no reader any more.
  bool cleanUpDataReader();

  /// The participant's default QoS with the topic's laid over it, or the profile's. False, with a line in the log, when
  /// it cannot be had.
  bool dataWriterQos(DDS_DataWriterQos& qos) const;
  bool dataReaderQos(DDS_DataReaderQos& qos) const;
  /// The same for a reader of state: without a profile transient-local, reliable, keep-last, and when its filter's
  /// parameters change it gets the history that the new ones let through.
  bool stateReaderQos(DDS_DataReaderQos& qos) const;

  // Null until made; owned by the node.
  DDSTopic* topic() const { return topic_; }
  DDSContentFilteredTopic* contentFilteredTopic() const { return filtered_; }
  TDataWriter* dataWriter() const { return writer_; }
  TDataReader* dataReader() const { return reader_; }
  const std::string& topicName() const { return topicName_; }
  const char* typeName() const { return TypeOf<T>::name(); }

 protected:
  /// Returns true, after one log line, on a thread that is inside a callback of the bus.
  bool refusedInCallback() const;
  /// The signature of a function of `nodeClass` ("DDSNode"), as messages begin.
  static std::string signature(const char* result, const char* nodeClass, const char* function);
  /// Deletes all that can be deleted; `failure` is what a failure of the reader's deletion is reported as.
  void cleanUpAll(int flushTimeout, const std::string& failure);
  bool deleteDataReader(const std::string& failure);
  void cleanUpDataWriter(int flushTimeout);
  void cleanUpTopic();

 private:
  std::string signature(const char* result, const char* function) const;
  std::string readerFailure() const;
  /// Lets go of everything in a process that inherited it by fork().
  void abandon();

  DDSDomain* domain_ = nullptr;
  std::shared_ptr<OwnedParticipant> owned_;  // while there is a topic
  bool typeRegistered_ = false;
  DDSTopic* topic_ = nullptr;
  DDS_TopicQos topicQos_;  // as asked for
  DDSContentFilteredTopic* filtered_ = nullptr;
  TDataWriter* writer_ = nullptr;
  TDataReader* reader_ = nullptr;
  std::string topicName_;
  std::string qosLibrary_;
  std::string qosProfile_;
};

}  // namespace TessivarDDS

#include "tessivar/framework/nodes/detail/dds_node_inl.h"
