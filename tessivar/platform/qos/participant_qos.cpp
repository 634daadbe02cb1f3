// SPDX-License-Identifier: Apache-2.0

// The QoS of a participant, and the default QoS of its topics, writers and readers.
#include "tessivar/platform/detail/log.h"
#include "tessivar/platform/detail/mutex.h"
#include "tessivar/platform/participant.h"
#include "tessivar/platform/participant/participant_config.h"
#include "tessivar/platform/participant/participant_impl.h"
#include "tessivar/platform/qos/profile_store.h"
#include "tessivar/platform/system/guarded.h"

#include <optional>
#include <string>
#include <utility>

using tessivar::platform::guarded;
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

/// Implements the operations get_default_…_qos (with a null `topic_name`) and get_default_…_qos_w_topic_name.
template <class Qos>
DDS_ReturnCode_t get_default(const char* operation, const DDSDomainParticipant::Impl& participant,
                             std::optional<Qos> DDSDomainParticipant::Impl::*set, const char* topic_name,
                             const Qos& built_in, Qos& qos) {
  return guarded(operation, DDS_RETCODE_OUT_OF_RESOURCES, [&] {
    qos = default_qos(participant, set, topic_name, built_in);
    return DDS_RETCODE_OK;
  });
}

template <class Qos>
DDS_ReturnCode_t set_default(const char* operation, DDSDomainParticipant::Impl& participant,
                             std::optional<Qos> DDSDomainParticipant::Impl::*set, const Qos& qos) {
  return guarded(operation, DDS_RETCODE_OUT_OF_RESOURCES, [&] {
    Qos own = qos;
    const MutexLock lock(participant.mutex);
    participant.*set = std::move(own);
    return DDS_RETCODE_OK;
  });
}

}  // namespace

DDS_ReturnCode_t DDSDomainParticipant::set_qos(const DDS_DomainParticipantQos& qos) {
  return guarded("DDSDomainParticipant::set_qos", DDS_RETCODE_OUT_OF_RESOURCES, [&] { return impl_->set_qos(qos); });
}

DDS_ReturnCode_t DDSDomainParticipant::Impl::set_qos(const DDS_DomainParticipantQos& wanted_qos) {
  DDS_DomainParticipantQos own = wanted_qos;
  const MutexLock lock(mutex);
  if (!engine && !starting) {
    qos = std::move(own);
    return DDS_RETCODE_OK;
  }
  // The values that the engine has got cannot change. The other policies had their effect in enable(), so they are
  // ignored.
  tessivar::platform::EngineParticipantConfig present;
  tessivar::platform::EngineParticipantConfig wanted;
  std::string error;
  tessivar::platform::make_config(domain_id, qos, present, error);
  const DDS_ReturnCode_t result = tessivar::platform::make_config(domain_id, own, wanted, error);
  if (result != DDS_RETCODE_OK) return refuse("DDSDomainParticipant::set_qos", error, result);
  if (present != wanted) {
    return refuse("DDSDomainParticipant::set_qos", "the participant is enabled: only entity_factory can change",
                  DDS_RETCODE_IMMUTABLE_POLICY);
  }
  qos.entity_factory = own.entity_factory;
  return DDS_RETCODE_OK;
}

DDS_ReturnCode_t DDSDomainParticipant::get_default_topic_qos(DDS_TopicQos& qos) const {
  return get_default("DDSDomainParticipant::get_default_topic_qos", *impl_, &Impl::default_topic_qos, nullptr,
                     DDS_TOPIC_QOS_DEFAULT, qos);
}

DDS_ReturnCode_t DDSDomainParticipant::set_default_topic_qos(const DDS_TopicQos& qos) {
  return set_default("DDSDomainParticipant::set_default_topic_qos", *impl_, &Impl::default_topic_qos, qos);
}

DDS_ReturnCode_t DDSDomainParticipant::get_default_topic_qos_w_topic_name(DDS_TopicQos& qos,
                                                                          const char* topic_name) const {
  constexpr const char* operation = "DDSDomainParticipant::get_default_topic_qos_w_topic_name";
  if (!topic_name) return refuse(operation, "null topic name", DDS_RETCODE_BAD_PARAMETER);
  return get_default(operation, *impl_, &Impl::default_topic_qos, topic_name, DDS_TOPIC_QOS_DEFAULT, qos);
}

DDS_ReturnCode_t DDSDomainParticipant::get_default_datawriter_qos(DDS_DataWriterQos& qos) const {
  return get_default("DDSDomainParticipant::get_default_datawriter_qos", *impl_, &Impl::default_writer_qos, nullptr,
                     DDS_DATAWRITER_QOS_DEFAULT, qos);
}

DDS_ReturnCode_t DDSDomainParticipant::set_default_datawriter_qos(const DDS_DataWriterQos& qos) {
  return set_default("DDSDomainParticipant::set_default_datawriter_qos", *impl_, &Impl::default_writer_qos, qos);
}

DDS_ReturnCode_t DDSDomainParticipant::get_default_datawriter_qos_w_topic_name(DDS_DataWriterQos& qos,
                                                                               const char* topic_name) const {
  constexpr const char* operation = "DDSDomainParticipant::get_default_datawriter_qos_w_topic_name";
  if (!topic_name) return refuse(operation, "null topic name", DDS_RETCODE_BAD_PARAMETER);
  return get_default(operation, *impl_, &Impl::default_writer_qos, topic_name, DDS_DATAWRITER_QOS_DEFAULT, qos);
}

DDS_ReturnCode_t DDSDomainParticipant::get_default_datareader_qos(DDS_DataReaderQos& qos) const {
  return get_default("DDSDomainParticipant::get_default_datareader_qos", *impl_, &Impl::default_reader_qos, nullptr,
                     DDS_DATAREADER_QOS_DEFAULT, qos);
}

DDS_ReturnCode_t DDSDomainParticipant::set_default_datareader_qos(const DDS_DataReaderQos& qos) {
  return set_default("DDSDomainParticipant::set_default_datareader_qos", *impl_, &Impl::default_reader_qos, qos);
}

DDS_ReturnCode_t DDSDomainParticipant::get_default_datareader_qos_w_topic_name(DDS_DataReaderQos& qos,
                                                                               const char* topic_name) const {
  constexpr const char* operation = "DDSDomainParticipant::get_default_datareader_qos_w_topic_name";
  if (!topic_name) return refuse(operation, "null topic name", DDS_RETCODE_BAD_PARAMETER);
  return get_default(operation, *impl_, &Impl::default_reader_qos, topic_name, DDS_DATAREADER_QOS_DEFAULT, qos);
}
