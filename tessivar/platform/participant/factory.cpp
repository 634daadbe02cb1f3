// SPDX-License-Identifier: Apache-2.0

#include "tessivar/platform/detail/callback.h"
#include "tessivar/platform/detail/immortal.h"
#include "tessivar/platform/detail/log.h"
#include "tessivar/platform/detail/mutex.h"
#include "tessivar/platform/participant.h"
#include "tessivar/platform/participant/participant_config.h"
#include "tessivar/platform/participant/participant_impl.h"
#include "tessivar/platform/qos/profile_store.h"
#include "tessivar/platform/system/guarded.h"

#include <algorithm>
#include <optional>
#include <string>
#include <utility>
#include <vector>

using tessivar::platform::guarded;
using tessivar::platform::highest_domain_id;
using tessivar::platform::MutexLock;
using tessivar::platform::ProfileStore;
using tessivar::platform::QosProfiles;
using tessivar::platform::refuse;
using tessivar::platform::refused_in_callback;

namespace {

/// Implements the …_from_profile operations.
template <class Qos>
DDS_ReturnCode_t from_profile(const char* operation, Qos& qos, const char* library, const char* profile,
                              bool (QosProfiles::*lookup)(const char*, const char*, Qos&, std::string&) const) {
  if (!library || !profile) {
    return refuse(operation, "the name of library or profile is missing", DDS_RETCODE_BAD_PARAMETER);
  }
  return guarded(operation, DDS_RETCODE_OUT_OF_RESOURCES, [&] {
    std::string error;
    const bool found = ProfileStore::instance().ask(error, [&](const QosProfiles& profiles, std::string& reason) {
      return (profiles.*lookup)(library, profile, qos, reason);
    });
    return found ? DDS_RETCODE_OK : refuse(operation, error, DDS_RETCODE_ERROR);
  });
}

}  // namespace

struct DDSDomainParticipantFactory::Impl {
  mutable tessivar::platform::Mutex mutex;
  DDS_EntityFactoryQosPolicy entity_factory TESSIVAR_GUARDED_BY(mutex);
  std::optional<DDS_DomainParticipantQos> default_qos TESSIVAR_GUARDED_BY(mutex);
  std::vector<DDSDomainParticipant*> participants TESSIVAR_GUARDED_BY(mutex);
};

DDSDomainParticipantFactory::DDSDomainParticipantFactory() : impl_(std::make_unique<Impl>()) {}

DDSDomainParticipantFactory::~DDSDomainParticipantFactory() = default;

DDSDomainParticipantFactory* DDSDomainParticipantFactory::get_instance() {
  static tessivar::platform::Immortal<DDSDomainParticipantFactory> factory;
  return &*factory;
}

DDSDomainParticipant* DDSDomainParticipantFactory::create_participant(DDS_DomainId_t domain_id,
                                                                      const DDS_DomainParticipantQos& qos,
                                                                      DDSDomainParticipantListener* listener,
                                                                      DDS_StatusMask mask) {
  constexpr const char* operation = "DDSDomainParticipantFactory::create_participant";
  return guarded(operation, static_cast<DDSDomainParticipant*>(nullptr), [&]() -> DDSDomainParticipant* {
    const std::string title = "domain " + std::to_string(domain_id) + ": ";
    if (domain_id < 0 || domain_id > highest_domain_id) {
      return refuse(operation, title + "domain ids are 0 to " + std::to_string(highest_domain_id), nullptr);
    }
    DDS_DomainParticipantQos own;
    if (&qos == &DDS_PARTICIPANT_QOS_DEFAULT) {
      if (get_default_participant_qos(own) != DDS_RETCODE_OK) return nullptr;
    } else {
      own = qos;
    }
    tessivar::platform::EngineParticipantConfig config;
    std::string error;
    if (tessivar::platform::make_config(domain_id, own, config, error) != DDS_RETCODE_OK) {
      return refuse(operation, title + error, nullptr);
    }

    DDSDomainParticipant* participant = nullptr;
    bool enable = false;
    {
      const MutexLock lock(impl_->mutex);
      enable = impl_->entity_factory.autoenable_created_entities;
      if (enable && refused_in_callback(operation)) return nullptr;
      impl_->participants.reserve(impl_->participants.size() + 1);
      participant = new DDSDomainParticipant(std::make_unique<DDSDomainParticipant::Impl>(domain_id, own));
      participant->impl().listener.set(listener, mask);  // nothing throws from here on
      impl_->participants.push_back(participant);
    }
    if (enable && participant->enable() != DDS_RETCODE_OK) {
      delete_participant(participant);
      return nullptr;
    }
    return participant;
  });
}

DDS_ReturnCode_t DDSDomainParticipantFactory::delete_participant(DDSDomainParticipant* participant) {
  if (!participant) return DDS_RETCODE_BAD_PARAMETER;
  if (refused_in_callback("DDSDomainParticipantFactory::delete_participant")) {
    return DDS_RETCODE_ILLEGAL_OPERATION;
  }
  {
    const MutexLock lock(impl_->mutex);
    const auto own = std::find(impl_->participants.begin(), impl_->participants.end(), participant);
    const bool inherited = own != impl_->participants.end() && participant->impl().made_here.inherited();
    if (own == impl_->participants.end() || (!inherited && !participant->impl().empty())) {
      return DDS_RETCODE_PRECONDITION_NOT_MET;
    }
    impl_->participants.erase(own);
    if (inherited) return DDS_RETCODE_OK;
  }
  delete participant;
  return DDS_RETCODE_OK;
}

DDS_ReturnCode_t DDSDomainParticipantFactory::get_qos(DDS_DomainParticipantFactoryQos& qos) const {
  return guarded("DDSDomainParticipantFactory::get_qos", DDS_RETCODE_OUT_OF_RESOURCES, [&]() -> DDS_ReturnCode_t {
    const MutexLock lock(impl_->mutex);
    qos.entity_factory = impl_->entity_factory;
    qos.profile = ProfileStore::instance().sources();
    return DDS_RETCODE_OK;
  });
}

DDS_ReturnCode_t DDSDomainParticipantFactory::set_qos(const DDS_DomainParticipantFactoryQos& qos) {
  return guarded("DDSDomainParticipantFactory::set_qos", DDS_RETCODE_OUT_OF_RESOURCES, [&]() -> DDS_ReturnCode_t {
    const MutexLock lock(impl_->mutex);
    ProfileStore::instance().set_sources(qos.profile);
    impl_->entity_factory = qos.entity_factory;
    return DDS_RETCODE_OK;
  });
}

DDS_ReturnCode_t DDSDomainParticipantFactory::get_default_participant_qos(DDS_DomainParticipantQos& qos) const {
  return guarded("DDSDomainParticipantFactory::get_default_participant_qos", DDS_RETCODE_OUT_OF_RESOURCES,
                 [&]() -> DDS_ReturnCode_t {
                   {
                     const MutexLock lock(impl_->mutex);
                     if (impl_->default_qos) {
                       qos = *impl_->default_qos;
                       return DDS_RETCODE_OK;
                     }
                   }
                   const auto lookup = [&](const QosProfiles& profiles, std::string& error) {
                     return profiles.default_participant(qos, error);
                   };
                   if (!ProfileStore::instance().ask_default(lookup)) qos = DDS_PARTICIPANT_QOS_DEFAULT;
                   return DDS_RETCODE_OK;
                 });
}

DDS_ReturnCode_t DDSDomainParticipantFactory::set_default_participant_qos(const DDS_DomainParticipantQos& qos) {
  return guarded("DDSDomainParticipantFactory::set_default_participant_qos", DDS_RETCODE_OUT_OF_RESOURCES,
                 [&]() -> DDS_ReturnCode_t {
                   DDS_DomainParticipantQos own = qos;
                   const MutexLock lock(impl_->mutex);
                   impl_->default_qos = std::move(own);
                   return DDS_RETCODE_OK;
                 });
}

DDS_ReturnCode_t DDSDomainParticipantFactory::get_participant_qos_from_profile(DDS_DomainParticipantQos& qos,
                                                                               const char* library,
                                                                               const char* profile) {
  return from_profile("DDSDomainParticipantFactory::get_participant_qos_from_profile", qos, library, profile,
                      &QosProfiles::participant);
}

DDS_ReturnCode_t DDSDomainParticipantFactory::get_topic_qos_from_profile(DDS_TopicQos& qos, const char* library,
                                                                         const char* profile) {
  return from_profile("DDSDomainParticipantFactory::get_topic_qos_from_profile", qos, library, profile,
                      &QosProfiles::topic);
}

DDS_ReturnCode_t DDSDomainParticipantFactory::get_datawriter_qos_from_profile(DDS_DataWriterQos& qos,
                                                                              const char* library,
                                                                              const char* profile) {
  return from_profile("DDSDomainParticipantFactory::get_datawriter_qos_from_profile", qos, library, profile,
                      &QosProfiles::datawriter);
}

DDS_ReturnCode_t DDSDomainParticipantFactory::get_datareader_qos_from_profile(DDS_DataReaderQos& qos,
                                                                              const char* library,
                                                                              const char* profile) {
  return from_profile("DDSDomainParticipantFactory::get_datareader_qos_from_profile", qos, library, profile,
                      &QosProfiles::datareader);
}

DDS_ReturnCode_t DDSDomainParticipantFactory::reload_profiles() {
  return guarded("DDSDomainParticipantFactory::reload_profiles", DDS_RETCODE_OUT_OF_RESOURCES,
                 [&]() -> DDS_ReturnCode_t {
                   ProfileStore::instance().reload();
                   return DDS_RETCODE_OK;
                 });
}
