// SPDX-License-Identifier: Apache-2.0

// A topic with its writer and reader, for one sample type.
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

/// Publishes and subscribes to one topic of type T. The node registers the type and creates the topic, optionally a
/// content-filtered topic for the reader, and at most one writer and one reader. It deletes them in the right order.
///
/// Nodes on one domain with the same topic name and type share the topic. Each node has its own filtered topic, writer
/// and reader. The QoS of the topic come from the first node. The QoS of a writer or a reader come from the QoS that
/// its own node requested.
///
/// T is a top-level type of the data model, or any type that TypeOf knows (nodes/type_of.h). Call attachDomain() first,
/// then createTopic(), then the other functions. The node has no lock: create, clean up and change a node from one
/// thread at a time. Any thread may call writeSample() and use the entities at the same time. The node owns everything
/// that it creates; clean it up before the domain. While the node has a topic, the participant of the domain stays
/// alive. A failure logs one line and returns false; entities that were created before the failure remain until
/// cleanUp().
template <class T>
class TESSIVAR_API DDSNode {
 public:
  typedef typename TypeOf<T>::TypeSupport TTypeSupport;
  typedef typename TypeOf<T>::DataWriter TDataWriter;
  typedef typename TypeOf<T>::DataReader TDataReader;

  /// The default time, in milliseconds, that cleanUp() waits for acknowledgements from readers.
  static constexpr int defaultFlushTimeout = 1000;

  DDSNode() = default;
  /// Does the same as cleanUp().
  virtual ~DDSNode();
  DDSNode(const DDSNode&) = delete;
  DDSNode& operator=(const DDSNode&) = delete;

  /// Creates a node on `domain` with the topic and with a reader (client) or a writer (server), whose QoS follow the
  /// topic QoS. The caller owns the node. Returns null on failure.
  static DDSNode* create(DDSDomain* domain, const std::string& topicName, const DDS_TopicQos& topicQos, bool isClient);
  /// The same, with the QoS of a profile.
  static DDSNode* create(DDSDomain* domain, const std::string& topicName, const std::string& library,
                         const std::string& profile, bool isClient);

  /// The domain is not owned. It must outlive the node, or be detached by attaching null.
  void attachDomain(DDSDomain* domain) { domain_ = domain; }
  DDSDomain* domain() const { return domain_; }
  /// Returns null and logs one line if no domain is attached. Returns null if the domain is not created.
  DDSDomainParticipant* participant() const;

  /// Logs a warning, after `signature`, if the participant has not yet discovered another participant. The warning
  /// describes its discovery settings.
  void warnIfAlone(const char* signature) const {
    if (owned_) owned_->warnIfAlone(signature);
  }

  /// Selects the QoS profile for entities that are created from now on: dataWriterQos(), dataReaderQos() and
  /// stateReaderQos() return the QoS of the profile. With an empty library, the default, the node uses its built-in
  /// QoS.
  void setQosProfile(const std::string& library, const std::string& profile) {
    qosLibrary_ = library;
    qosProfile_ = profile;
  }
  bool usesQosProfile() const { return !qosLibrary_.empty(); }
  /// Reads the topic QoS of the profile. Returns false and logs one line on failure.
  bool profileTopicQos(DDS_TopicQos& qos) const { return domain_->topicQosProfile(qosLibrary_, qosProfile_, qos); }

  /// Registers the type under its own name. createTopic() calls this if necessary.
  bool registerTypeSupport();
  /// Fails if the domain has a topic with this name and another type.
  bool createTopic(const std::string& name, const DDS_TopicQos& qos = DDS_TOPIC_QOS_DEFAULT);
  /// Creates the content-filtered topic. A reader that is created from now on reads it. Its name is the topic name with
  /// ".Filtered" appended, and a number if another node on the domain uses this name. `filter` must be registered as
  /// `filterName`; it receives `expression` and `parameters`.
  virtual bool createContentFilteredTopic(const DDSContentFilter* filter, const std::string& filterName,
                                          const std::string& expression,
                                          const std::vector<std::string>& parameters = {});
  /// `listener` may be null and is not owned. It is notified of the statuses in `mask`.
  bool createDataWriter(DDSDataWriterListener* listener = nullptr, unsigned int mask = DDS_STATUS_MASK_NONE,
                        const DDS_DataWriterQos& qos = DDS_DATAWRITER_QOS_USE_TOPIC_QOS);
  /// Creates the reader on the filtered topic if there is one, otherwise on the topic.
  bool createDataReader(DDSDataReaderListener* listener = nullptr, unsigned int mask = DDS_STATUS_MASK_NONE,
                        const DDS_DataReaderQos& qos = DDS_DATAREADER_QOS_USE_TOPIC_QOS);

  /// Blocks for at most the max_blocking_time of the writer, if its readers are too slow.
  bool writeSample(const DDSPtr<T>& sample) { return writeSample(sample.get(), false); }
  /// If `release` is true, the node owns the sample, which its type support created. The node deletes it after the
  /// write, also if the write fails.
  virtual bool writeSample(T* sample, bool release);

  /// Writes like writeSample() and returns the code of the platform: BAD_PARAMETER if the sample is null or cannot be
  /// encoded, TIMEOUT if readers did not make space in time, PRECONDITION_NOT_MET if there is no writer. The caller
  /// keeps `sample`.
  DDS_ReturnCode_t tryWriteSample(T* sample);

  /// Deletes everything that the node created. Before it deletes the writer, it sends batched samples and waits at most
  /// `flushTimeout` milliseconds for acknowledgements; with -1 it neither sends nor waits. Runners of the reader must
  /// be detached before. In a process that inherited the node by fork(), everything is abandoned. Refused within a
  /// callback of the bus. If the destructor runs within such a callback, the participant keeps the reader and the
  /// writer.
  virtual void cleanUp(int flushTimeout = defaultFlushTimeout);
  /// Refused while the reader exists.
  void cleanUpContentFilteredTopic();
  /// Returns true if there is no reader any more.
  bool cleanUpDataReader();

  /// Returns the default QoS of the participant, overridden by the topic QoS, or the QoS of the profile. Returns false
  /// and logs one line on failure.
  bool dataWriterQos(DDS_DataWriterQos& qos) const;
  bool dataReaderQos(DDS_DataReaderQos& qos) const;
  /// The same for a reader of state. Without a profile, the reader is transient-local, reliable and keep-last. If its
  /// filter parameters change, it receives the history that passes the new parameters.
  bool stateReaderQos(DDS_DataReaderQos& qos) const;

  // Null until created. The node owns them.
  DDSTopic* topic() const { return topic_; }
  DDSContentFilteredTopic* contentFilteredTopic() const { return filtered_; }
  TDataWriter* dataWriter() const { return writer_; }
  TDataReader* dataReader() const { return reader_; }
  const std::string& topicName() const { return topicName_; }
  const char* typeName() const { return TypeOf<T>::name(); }

 protected:
  /// Returns true and logs one line if the calling thread is inside a callback of the bus.
  bool refusedInCallback() const;
  /// Returns the signature of a function of `nodeClass` ("DDSNode"), for the beginning of a message.
  static std::string signature(const char* result, const char* nodeClass, const char* function);
  /// Deletes everything that can be deleted. If the reader cannot be deleted, `failure` begins the message.
  void cleanUpAll(int flushTimeout, const std::string& failure);
  bool deleteDataReader(const std::string& failure);
  void cleanUpDataWriter(int flushTimeout);
  void cleanUpTopic();

 private:
  std::string signature(const char* result, const char* function) const;
  std::string readerFailure() const;
  /// Abandons all entities, in a process that inherited the node by fork().
  void abandon();

  DDSDomain* domain_ = nullptr;
  std::shared_ptr<OwnedParticipant> owned_;  // not null while there is a topic
  bool typeRegistered_ = false;
  DDSTopic* topic_ = nullptr;
  DDS_TopicQos topicQos_;  // as requested
  DDSContentFilteredTopic* filtered_ = nullptr;
  TDataWriter* writer_ = nullptr;
  TDataReader* reader_ = nullptr;
  std::string topicName_;
  std::string qosLibrary_;
  std::string qosProfile_;
};

}  // namespace TessivarDDS

#include "tessivar/framework/nodes/detail/dds_node_inl.h"
