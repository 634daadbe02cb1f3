// SPDX-License-Identifier: Apache-2.0

// Definitions for dds_node.h. Include that file instead.
#pragma once

#include "tessivar/framework/domain/detail/signature.h"
#include "tessivar/framework/domain/detail/text_list.h"
#include "tessivar/framework/log/logger.h"
#include "tessivar/framework/nodes/dds_node.h"

namespace TessivarDDS {

template <class T>
std::string DDSNode<T>::signature(const char* result, const char* nodeClass, const char* function) {
  return std::string(result) + "__cdecl TessivarDDS::" + nodeClass + "<class " + TypeOf<T>::name() + ">::" + function;
}

template <class T>
std::string DDSNode<T>::signature(const char* result, const char* function) const {
  return signature(result, "DDSNode", function);
}

template <class T>
DDSNode<T>::~DDSNode() {
  cleanUpAll(defaultFlushTimeout, readerFailure());
}

template <class T>
DDSNode<T>* DDSNode<T>::create(DDSDomain* domain, const std::string& topicName, const DDS_TopicQos& topicQos,
                               bool isClient) {
  auto node = std::make_unique<DDSNode>();
  node->attachDomain(domain);
  const bool made = node->registerTypeSupport() && node->createTopic(topicName, topicQos) &&
                    (isClient ? node->createDataReader() : node->createDataWriter());
  return made ? node.release() : nullptr;
}

template <class T>
DDSNode<T>* DDSNode<T>::create(DDSDomain* domain, const std::string& topicName, const std::string& library,
                               const std::string& profile, bool isClient) {
  auto node = std::make_unique<DDSNode>();
  node->attachDomain(domain);
  node->setQosProfile(library, profile);
  DDS_TopicQos topic;
  DDS_DataReaderQos reader;
  DDS_DataWriterQos writer;
  const bool made =
      node->profileTopicQos(topic) && node->createTopic(topicName, topic) &&
      (isClient ? node->dataReaderQos(reader) && node->createDataReader(nullptr, DDS_STATUS_MASK_NONE, reader)
                : node->dataWriterQos(writer) && node->createDataWriter(nullptr, DDS_STATUS_MASK_NONE, writer));
  return made ? node.release() : nullptr;
}

template <class T>
DDSDomainParticipant* DDSNode<T>::participant() const {
  if (owned_) return owned_->get();
  if (domain_) return domain_->participant();
  logError() << signature("class DDSDomainParticipant *", "participant(void) const")
             << "Domain participant is NULL - attachDomain has not been called.";
  return nullptr;
}

template <class T>
bool DDSNode<T>::registerTypeSupport() {
  DDSDomainParticipant* const on = participant();
  if (!on || TTypeSupport::register_type(on, typeName()) != DDS_RETCODE_OK) {
    logError() << signature("bool ", "registerTypeSupport(void)") << "Failed to register unit type support.";
    return false;
  }
  typeRegistered_ = true;
  return true;
}

template <class T>
bool DDSNode<T>::createTopic(const std::string& name, const DDS_TopicQos& qos) {
  const auto where = [this] {
    return signature("bool ", "createTopic(const " TESSIVAR_SIGNATURE_STRING " &,const struct DDS_TopicQos &)");
  };
  DDSDomainParticipant* const on = participant();
  if (!on) {
    logError() << where() << "Cannot create the topic as the underlying domain participant does not exist.";
    return false;
  }
  if (topic_) {
    logError() << where() << "Already created: " << topicName_;
    return false;
  }
  if (!typeRegistered_ && !registerTypeSupport()) return false;
  const auto owned = domain_->ownedParticipant();
  topic_ = owned->acquireTopic(name, typeName(), qos);
  if (!topic_) {
    logError() << where() << "Unable to create topic: " << name;
    return false;
  }
  owned_ = owned;
  if (&qos != &DDS_TOPIC_QOS_DEFAULT) {
    topicQos_ = qos;
  } else {
    on->get_default_topic_qos_w_topic_name(topicQos_, name.c_str());
  }
  topicName_ = name;
  return true;
}

template <class T>
bool DDSNode<T>::createContentFilteredTopic(const DDSContentFilter*, const std::string& filterName,
                                            const std::string& expression, const std::vector<std::string>& parameters) {
  const auto where = [this] {
    return signature("bool ",
                     "createContentFilteredTopic(const class DDSContentFilter *,const " TESSIVAR_SIGNATURE_STRING
                     " &,const " TESSIVAR_SIGNATURE_STRING " &,const " TESSIVAR_SIGNATURE_STRINGS " &)");
  };
  if (!topic_) {
    logError() << where() << "Cannot create content filtered topic as the underlying topic does not exist.";
    return false;
  }
  if (filtered_) {
    logError() << where() << "Filtered topic already exists!";
    return false;
  }
  const std::string name = owned_->reserveFilteredName(topicName_ + ".Filtered");
  logDebug() << where() << "Creating filtered topic named " << name << " using custom filter " << filterName;
  DDS_StringSeq texts;
  DDSDomainParticipant* const on = participant();
  if (on && assignTexts(texts, parameters)) {
    filtered_ = on->create_contentfilteredtopic_with_filter(name.c_str(), topic_, expression.c_str(), texts,
                                                            filterName.c_str());
  }
  if (!filtered_) {
    owned_->releaseFilteredName(name);
    logError() << where() << "Failed to create filtered topic: " << name;
  }
  return filtered_ != nullptr;
}

template <class T>
bool DDSNode<T>::createDataWriter(DDSDataWriterListener* listener, unsigned int mask, const DDS_DataWriterQos& qos) {
  const auto where = [this] {
    return signature("bool ",
                     "createDataWriter(class DDSDataWriterListener *,unsigned int,const struct DDS_DataWriterQos &)");
  };
  DDSDomainParticipant* const on = participant();
  if (!on) {
    logError() << where() << "Participant is null";
    return false;
  }
  if (writer_) {
    logError() << where() << "Already created: data writer for topic: " << topicName_;
    return false;
  }
  logDebug() << where() << "Creating data writer for topic: " << topicName_;
  DDS_DataWriterQos own;  // the QoS of the topic may come from another node
  const bool follows = topic_ && &qos == &DDS_DATAWRITER_QOS_USE_TOPIC_QOS && dataWriterQos(own);
  DDSDataWriter* const writer = topic_ ? on->create_datawriter(topic_, follows ? own : qos, listener, mask) : nullptr;
  writer_ = writer ? TDataWriter::narrow(writer) : nullptr;
  if (!writer_) {
    if (writer) on->delete_datawriter(writer);
    logError() << where() << "Unable to create data writer.";
  }
  return writer_ != nullptr;
}

template <class T>
bool DDSNode<T>::createDataReader(DDSDataReaderListener* listener, unsigned int mask, const DDS_DataReaderQos& qos) {
  const auto where = [this] {
    return signature("bool ",
                     "createDataReader(class DDSDataReaderListener *,unsigned int,const struct DDS_DataReaderQos &)");
  };
  DDSDomainParticipant* const on = participant();
  if (!on) {
    logError() << where() << "Participant is null";
    return false;
  }
  if (reader_) {
    logError() << where() << "Already created: data reader for topic: " << topicName_;
    return false;
  }
  DDSTopicDescription* source = topic_;
  if (filtered_) {
    source = filtered_;
    logDebug() << where() << "Creating data reader for FILTERED topic: " << topicName_ << ".Filtered";
  } else {
    logDebug() << where() << "Creating data reader for topic: " << topicName_;
  }
  DDS_DataReaderQos own;  // the QoS of the topic may come from another node
  const bool follows = topic_ && &qos == &DDS_DATAREADER_QOS_USE_TOPIC_QOS && dataReaderQos(own);
  DDSDataReader* const reader = source ? on->create_datareader(source, follows ? own : qos, listener, mask) : nullptr;
  reader_ = reader ? TDataReader::narrow(reader) : nullptr;
  if (!reader_) {
    if (reader) on->delete_datareader(reader);
    logError() << where() << "Unable to create data reader.";
  }
  return reader_ != nullptr;
}

template <class T>
bool DDSNode<T>::dataWriterQos(DDS_DataWriterQos& qos) const {
  if (usesQosProfile()) return domain_->dataWriterQosProfile(qosLibrary_, qosProfile_, qos);
  const DDSDomainParticipant* const on = participant();
  const DDS_ReturnCode_t code = on && topic_ ? on->get_default_datawriter_qos_w_topic_name(qos, topic_->get_name())
                                             : DDS_RETCODE_PRECONDITION_NOT_MET;
  if (code == DDS_RETCODE_OK) {
    DDS_DataWriterQos_copy_from_topic_qos(qos, topicQos_);
  } else {
    logError() << signature("bool ", "dataWriterQos(struct DDS_DataWriterQos &) const")
               << " Invalid return code: " << code;
  }
  return code == DDS_RETCODE_OK;
}

template <class T>
bool DDSNode<T>::dataReaderQos(DDS_DataReaderQos& qos) const {
  if (usesQosProfile()) return domain_->dataReaderQosProfile(qosLibrary_, qosProfile_, qos);
  const DDSDomainParticipant* const on = participant();
  const DDS_ReturnCode_t code = on && topic_ ? on->get_default_datareader_qos_w_topic_name(qos, topic_->get_name())
                                             : DDS_RETCODE_PRECONDITION_NOT_MET;
  if (code == DDS_RETCODE_OK) {
    DDS_DataReaderQos_copy_from_topic_qos(qos, topicQos_);
  } else {
    logError() << signature("bool ", "dataReaderQos(struct DDS_DataReaderQos &) const")
               << " Invalid return code: " << code;
  }
  return code == DDS_RETCODE_OK;
}

template <class T>
bool DDSNode<T>::stateReaderQos(DDS_DataReaderQos& qos) const {
  if (!dataReaderQos(qos)) return false;
  if (usesQosProfile()) return true;
  qos.durability.kind = DDS_TRANSIENT_LOCAL_DURABILITY_QOS;
  qos.liveliness.kind = DDS_AUTOMATIC_LIVELINESS_QOS;
  qos.reliability.kind = DDS_RELIABLE_RELIABILITY_QOS;
  qos.history.kind = DDS_KEEP_LAST_HISTORY_QOS;
  qos.history.refilter = DDS_ALL_REFILTER_QOS;
  const DDS_ReturnCode_t code = DDSPropertyQosPolicyHelper::assert_property(
      qos.property, "dds.data_reader.state.filter_redundant_samples", "0", DDS_BOOLEAN_FALSE);
  if (code != DDS_RETCODE_OK) {
    logError() << signature("bool ", "stateReaderQos(struct DDS_DataReaderQos &) const")
               << " Invalid return code: " << code;
  }
  return code == DDS_RETCODE_OK;
}

template <class T>
DDS_ReturnCode_t DDSNode<T>::tryWriteSample(T* sample) {
  const auto where = [this] {
    return signature("bool ", (std::string("writeSample(class ") + typeName() + " *,bool)").c_str());
  };
  if (!writer_) {
    logError() << where() << "Could not get writer in writeSample!";
    return DDS_RETCODE_PRECONDITION_NOT_MET;
  }
  const DDS_ReturnCode_t code =
      sample ? writer_->write(*sample, writer_->register_instance(*sample)) : DDS_RETCODE_BAD_PARAMETER;
  if (code != DDS_RETCODE_OK) {
    logError() << where() << "Failed to write instance data in writeSample, errCode " << code;
  }
  return code;
}

template <class T>
bool DDSNode<T>::writeSample(T* sample, bool release) {
  const bool written = tryWriteSample(sample) == DDS_RETCODE_OK;
  if (release && sample) TTypeSupport::delete_data(sample);
  return written;
}

template <class T>
void DDSNode<T>::cleanUp(int flushTimeout) {
  if (!refusedInCallback()) cleanUpAll(flushTimeout, readerFailure());
}

template <class T>
void DDSNode<T>::cleanUpAll(int flushTimeout, const std::string& failure) {
  if (owned_ && owned_->inherited()) return abandon();
  const bool readerGone = deleteDataReader(failure);
  if (readerGone) cleanUpContentFilteredTopic();
  cleanUpDataWriter(flushTimeout);
  if (readerGone && !writer_ && !filtered_) cleanUpTopic();
}

template <class T>
void DDSNode<T>::abandon() {
  reader_ = nullptr;
  writer_ = nullptr;
  filtered_ = nullptr;
  topic_ = nullptr;
  owned_.reset();
  topicName_.clear();
  typeRegistered_ = false;
}

template <class T>
std::string DDSNode<T>::readerFailure() const {
  return "DDSNode::cleanUp failed to delete data reader for topic " + topicName_;
}

template <class T>
bool DDSNode<T>::refusedInCallback() const {
  if (!tessivar::platform::in_callback()) return false;
  logError() << signature("void ", "cleanUp(int)") << " Cannot clean up from within a callback of the bus.";
  return true;
}

template <class T>
bool DDSNode<T>::cleanUpDataReader() {
  return !refusedInCallback() && deleteDataReader(readerFailure());
}

template <class T>
bool DDSNode<T>::deleteDataReader(const std::string& failure) {
  if (!reader_) return true;
  const DDS_ReturnCode_t code = participant()->delete_datareader(reader_);
  if (code != DDS_RETCODE_OK) {
    logError() << signature("void ", "cleanUp(int)") << failure << ". Return code: " << code;
    reader_->set_listener(nullptr, DDS_STATUS_MASK_NONE);  // the listener may be destroyed before the reader
    return false;
  }
  reader_ = nullptr;
  return true;
}

template <class T>
void DDSNode<T>::cleanUpContentFilteredTopic() {
  if (reader_) {
    logError() << signature("void ", "cleanUpContentFilteredTopic(void)")
               << "Attempting to clean up content filter before cleaning the reader.";
    return;
  }
  if (!filtered_) return;
  const std::string name = filtered_->get_name();
  const DDS_ReturnCode_t code = participant()->delete_contentfilteredtopic(filtered_);
  if (code != DDS_RETCODE_OK) {
    logError() << signature("void ", "cleanUpContentFilteredTopic(void)")
               << "DDSNode::cleanUp failed to delete content filtered topic " << topicName_
               << ". Return code: " << code;
    return;
  }
  owned_->releaseFilteredName(name);
  filtered_ = nullptr;
}

template <class T>
void DDSNode<T>::cleanUpDataWriter(int flushTimeout) {
  if (!writer_) return;
  const auto where = [this] { return signature("void ", "cleanUp(int)"); };
  if (flushTimeout != -1) {
    const DDS_ReturnCode_t flushed = writer_->flush();
    if (flushed == DDS_RETCODE_OUT_OF_RESOURCES) {
      logError() << where() << "Out of resources when flushing the batch in the writer";
    } else if (flushed == DDS_RETCODE_TIMEOUT) {
      logError() << where() << "Timeout when flushing the batch in the writer";
    } else if (flushed != DDS_RETCODE_OK) {
      logError() << where() << "DDSNode::cleanUp. Unexpected return code whilst flushing buffer: " << flushed;
    }
    if (writer_->wait_for_acknowledgments(DDS_Duration_from_millis(flushTimeout)) == DDS_RETCODE_TIMEOUT) {
      logWarning() << where() << "Some acknowlegdments have not been received.";
    }
  }
  const DDS_ReturnCode_t code = participant()->delete_datawriter(writer_);
  if (code != DDS_RETCODE_OK) {
    logError() << where() << "DDSNode::cleanUp failed to delete data writer for topic " << topicName_
               << ". Return code: " << code;
    writer_->set_listener(nullptr, DDS_STATUS_MASK_NONE);
    return;
  }
  writer_ = nullptr;
}

template <class T>
void DDSNode<T>::cleanUpTopic() {
  if (!topic_) return;
  const DDS_ReturnCode_t code = owned_->releaseTopic(topic_);
  if (code != DDS_RETCODE_OK) {
    logError() << signature("void ", "cleanUp(int)") << "DDSNode::cleanUp failed to delete content topic " << topicName_
               << ". Return code: " << code;
    return;
  }
  topic_ = nullptr;
  owned_.reset();  // if the domain has released the participant, its last user deletes it
  topicName_.clear();
  typeRegistered_ = false;
}

}  // namespace TessivarDDS
