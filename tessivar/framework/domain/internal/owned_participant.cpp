// SPDX-License-Identifier: Apache-2.0

#include "tessivar/framework/domain/detail/owned_participant.h"

#include "tessivar/framework/domain/detail/text_list.h"
#include "tessivar/framework/log/logger.h"

#include <algorithm>
#include <cstring>

namespace TessivarDDS {

std::vector<std::string> withoutDefaultPeers(std::vector<std::string> peers) {
  const std::vector<std::string> defaults = toTexts(DDS_DiscoveryQosPolicy().initial_peers);
  std::erase_if(peers, [&](const std::string& peer) {
    return std::find(defaults.begin(), defaults.end(), peer) != defaults.end();
  });
  return peers;
}

OwnedParticipant::~OwnedParticipant() {
  if (close()) return;
  // The participant was not deleted, for example within a callback of the bus. It must not call the listeners, which
  // are destroyed now.
  participant_->set_listener(nullptr, DDS_STATUS_MASK_NONE);
  DDSSubscriber* const builtin = participant_->get_builtin_subscriber();
  builtin->lookup_datareader(DDS_PARTICIPANT_TOPIC_NAME)->set_listener(nullptr, DDS_STATUS_MASK_NONE);
}

bool OwnedParticipant::close() {
  constexpr const char* signature = "void __cdecl TessivarDDS::DDSDomain::cleanUp(void)";
  if (!participant_ || madeHere_.inherited()) {
    participant_ = nullptr;
    return true;
  }
  DDS_ReturnCode_t code = participant_->delete_contained_entities();
  if (code != DDS_RETCODE_OK) logError() << signature << " Delete contained entities failed. Return code: " << code;
  code = DDSDomainParticipantFactory::get_instance()->delete_participant(participant_);
  if (code != DDS_RETCODE_OK) {
    logError() << signature << " Domain participant deletion failed. Error code: " << code;
    return false;
  }
  participant_ = nullptr;
  return true;
}

DDSTopic* OwnedParticipant::acquireTopic(const std::string& name, const char* typeName, const DDS_TopicQos& qos) {
  if (!participant_) return nullptr;
  const tessivar::platform::MutexLock lock(mutex_);
  const auto known = topics_.find(name);
  if (known == topics_.end()) {
    DDSTopic* const topic = participant_->create_topic(name.c_str(), typeName, qos, nullptr, DDS_STATUS_MASK_NONE);
    if (topic) topics_[name] = {topic, 1};
    return topic;
  }
  if (std::strcmp(known->second.topic->get_type_name(), typeName) != 0) {
    logError() << "class DDSTopic *__cdecl TessivarDDS::OwnedParticipant::acquireTopic(void)"
               << " Topic " << name << " exists on this domain with the type " << known->second.topic->get_type_name();
    return nullptr;
  }
  ++known->second.holders;
  return known->second.topic;
}

DDS_ReturnCode_t OwnedParticipant::releaseTopic(DDSTopic* topic) {
  const tessivar::platform::MutexLock lock(mutex_);
  const auto known = topics_.find(topic->get_name());
  if (known == topics_.end()) return DDS_RETCODE_OK;
  if (known->second.holders == 1) {
    const DDS_ReturnCode_t code = participant_->delete_topic(topic);
    if (code != DDS_RETCODE_OK) return code;
    topics_.erase(known);
  } else {
    --known->second.holders;
  }
  return DDS_RETCODE_OK;
}

std::string OwnedParticipant::reserveFilteredName(const std::string& name) {
  const tessivar::platform::MutexLock lock(mutex_);
  std::string free = name;
  for (int number = 2; !filteredNames_.insert(free).second; ++number) free = name + '.' + std::to_string(number);
  return free;
}

void OwnedParticipant::releaseFilteredName(const std::string& name) {
  const tessivar::platform::MutexLock lock(mutex_);
  filteredNames_.erase(name);
}

void OwnedParticipant::peerAdded(const std::string& address) {
  const tessivar::platform::MutexLock lock(mutex_);
  addedPeers_.push_back(address);
}

void OwnedParticipant::peerRemoved(const std::string& address) {
  const tessivar::platform::MutexLock lock(mutex_);
  std::erase(addedPeers_, address);
}

std::string OwnedParticipant::describeDiscovery() const {
  DDS_DomainParticipantQos qos;
  DDS_StringSeq interfaces;
  if (!participant_ || participant_->get_qos(qos) != DDS_RETCODE_OK) return "no participant";
  participant_->get_network_interfaces(interfaces);
  std::vector<std::string> peers = withoutDefaultPeers(toTexts(qos.discovery.initial_peers));
  {
    const tessivar::platform::MutexLock lock(mutex_);
    peers.insert(peers.end(), addedPeers_.begin(), addedPeers_.end());
  }
  const auto listOrNone = [](const std::vector<std::string>& entries) {
    return entries.empty() ? "none" : joinTextList(entries);
  };
  const bool multicast = qos.discovery.multicast_receive_addresses.length() > 0;
  return "domain " + std::to_string(participant_->get_domain_id()) + ", interfaces " + listOrNone(toTexts(interfaces)) +
         ", peers " + listOrNone(peers) + ", multicast " + (multicast ? "on" : "off") +
         ", other participants seen: " + std::to_string(admission.seen());
}

void OwnedParticipant::warnIfAlone(const char* signature) const {
  if (admission.seen() > 0) return;
  logWarning() << signature << " No other participant was discovered: " << describeDiscovery();
}

std::string OwnedParticipant::topicNames() const {
  const tessivar::platform::MutexLock lock(mutex_);
  std::string names;
  for (const auto& [name, topic] : topics_) names += (names.empty() ? "" : ", ") + name;
  return names;
}

}  // namespace TessivarDDS
