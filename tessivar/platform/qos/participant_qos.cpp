// SPDX-License-Identifier: Apache-2.0

// The QoS of a participant, and the default QoS of its topics, writers and readers.
#include "tessivar/platform/detail/log.h"
#include "tessivar/platform/detail/mutex.h"
#include "tessivar/platform/participant.h"
#include "tessivar/platform/participant/participant_config.h"
#include "tessivar/platform/participant/participant_impl.h"
#include "tessivar/platform/qos/profile_store.h"

#include <optional>
#include <string>

using tessivar::platform::MutexLock;
using tessivar::platform::ProfileStore;
using tessivar::platform::QosProfiles;
using tessivar::platform::refuse;

namespace {

/// Returns the first of these that exists: the QoS that the application has set, the QoS of the default profile for
/// that topic (null: for all topics), `built_in`.
template <class Qos>
Qos default_qos(const DDSDomainParticipant::Impl& participant, std::optional<Qos> DDSDomainParticipant::Impl::*set,
                const char* topic_name, const Qos& built_in) {
  {
    const MutexLock lock(participant.mutex);
    if (participant.*set) return *(participant.*set);
  }
  Qos qos;
  const auto lookup = [&](const QosProfiles& profiles, std::string& error) {
    return profiles.default_for(topic_name, qos, error);
  };
  return ProfileStore::instance().ask_default(lookup) ? qos : built_in;
}

}  // namespace

DDS_ReturnCode_t DDSDomainParticipant::set_qos(const DDS_DomainParticipantQos& qos) {
  const MutexLock lock(impl_->mutex);
  if (!impl_->engine && !impl_->starting) {
    impl_->qos = qos;
    return DDS_RETCODE_OK;
  }
  // The values that the engine has got cannot change. The other policies had their effect in enable(), so they are
  // ignored.
  tessivar::platform::EngineParticipantConfig present;
  tessivar::platform::EngineParticipantConfig wanted;
  std::string error;
  tessivar::platform::make_config(impl_->domain_id, impl_->qos, present, error);
  const DDS_ReturnCode_t result = tessivar::platform::make_config(impl_->domain_id, qos, wanted, error);
  if (result != DDS_RETCODE_OK) return refuse("DDSDomainParticipant::set_qos", error, result);
  if (present != wanted) {
    return refuse("DDSDomainParticipant::set_qos", "the participant is enabled: only entity_factory can change",
                  DDS_RETCODE_IMMUTABLE_POLICY);
  }
  impl_->qos.entity_factory = qos.entity_factory;
  return DDS_RETCODE_OK;
}

DDS_ReturnCode_t DDSDomainParticipant::get_default_topic_qos(DDS_TopicQos& qos) const {
  qos = default_qos(*impl_, &Impl::default_topic_qos, nullptr, DDS_TOPIC_QOS_DEFAULT);
  return DDS_RETCODE_OK;
}

DDS_ReturnCode_t DDSDomainParticipant::set_default_topic_qos(const DDS_TopicQos& qos) {
  const MutexLock lock(impl_->mutex);
  impl_->default_topic_qos = qos;
  return DDS_RETCODE_OK;
}

DDS_ReturnCode_t DDSDomainParticipant::get_default_topic_qos_w_topic_name(DDS_TopicQos& qos,
                                                                          const char* topic_name) const {
  if (!topic_name)
    return refuse("DDSDomainParticipant::get_default_topic_qos_w_topic_name", "null topic name",
                  DDS_RETCODE_BAD_PARAMETER);
  qos = default_qos(*impl_, &Impl::default_topic_qos, topic_name, DDS_TOPIC_QOS_DEFAULT);
  return DDS_RETCODE_OK;
}

DDS_ReturnCode_t DDSDomainParticipant::get_default_datawriter_qos(DDS_DataWriterQos& qos) const {
  qos = default_qos(*impl_, &Impl::default_writer_qos, nullptr, DDS_DATAWRITER_QOS_DEFAULT);
  return DDS_RETCODE_OK;
}

DDS_ReturnCode_t DDSDomainParticipant::set_default_datawriter_qos(const DDS_DataWriterQos& qos) {
  const MutexLock lock(impl_->mutex);
  impl_->default_writer_qos = qos;
  return DDS_RETCODE_OK;
}

DDS_ReturnCode_t DDSDomainParticipant::get_default_datawriter_qos_w_topic_name(DDS_DataWriterQos& qos,
                                                                               const char* topic_name) const {
  if (!topic_name)
    return refuse("DDSDomainParticipant::get_default_datawriter_qos_w_topic_name", "null topic name",
                  DDS_RETCODE_BAD_PARAMETER);
  qos = default_qos(*impl_, &Impl::default_writer_qos, topic_name, DDS_DATAWRITER_QOS_DEFAULT);
  return DDS_RETCODE_OK;
}

DDS_ReturnCode_t DDSDomainParticipant::get_default_datareader_qos(DDS_DataReaderQos& qos) const {
  qos = default_qos(*impl_, &Impl::default_reader_qos, nullptr, DDS_DATAREADER_QOS_DEFAULT);
  return DDS_RETCODE_OK;
}

DDS_ReturnCode_t DDSDomainParticipant::set_default_datareader_qos(const DDS_DataReaderQos& qos) {
  const MutexLock lock(impl_->mutex);
  impl_->default_reader_qos = qos;
  return DDS_RETCODE_OK;
}

DDS_ReturnCode_t DDSDomainParticipant::get_default_datareader_qos_w_topic_name(DDS_DataReaderQos& qos,
                                                                               const char* topic_name) const {
  if (!topic_name)
    return refuse("DDSDomainParticipant::get_default_datareader_qos_w_topic_name", "null topic name",
                  DDS_RETCODE_BAD_PARAMETER);
  qos = default_qos(*impl_, &Impl::default_reader_qos, topic_name, DDS_DATAREADER_QOS_DEFAULT);
  return DDS_RETCODE_OK;
}
