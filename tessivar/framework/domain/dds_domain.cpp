// SPDX-License-Identifier: Apache-2.0

#include "tessivar/framework/domain/dds_domain.h"

#include "tessivar/framework/domain/detail/signature.h"
#include "tessivar/framework/domain/detail/text_list.h"
#include "tessivar/framework/domain/internal/environment.h"
#include "tessivar/framework/log/logger.h"
#include "tessivar/framework/report/internal/peer_list.h"
#include "tessivar/framework/report/internal/report_book.h"
#include "tessivar/platform/detail/callback.h"

#include <algorithm>

namespace TessivarDDS {
namespace {

constexpr const char* multicast_property = "dds.transport.UDPv4.builtin.multicast_enabled";
constexpr const char* interfaces_property = "dds.transport.UDPv4.builtin.parent.allow_interfaces";
constexpr const char* allowed_types_property = "tessivarddscore.allowed_participant_types";
constexpr DDS_Long max_user_data = 128;

#define TESSIVAR_SIGNATURE_CREATE "bool __cdecl TessivarDDS::DDSDomain::createDomainParticipant("
constexpr const char* configure_signature =
    "bool __cdecl TessivarDDS::DDSDomain::configureQos(struct DDS_DomainParticipantQos &)";
constexpr const char* create_signature = TESSIVAR_SIGNATURE_CREATE "int,const struct DDS_DomainParticipantQos &,bool)";

DDSDomainParticipantFactory& factory() {
  return *DDSDomainParticipantFactory::get_instance();
}

}  // namespace

DDSDomain::DDSDomain() : peers_(std::make_shared<PeerList>()), book_(std::make_shared<ReportBook>("DDSDomain")) {}

DDSDomain::~DDSDomain() {
  cleanUp();
}

void DDSDomain::enableMulticast(bool enable) {
  if (participant_) {
    logError() << "void __cdecl TessivarDDS::DDSDomain::enableMulticast(bool)"
               << "Cannot set multicast after the participant has been created!";
    return;
  }
  multicast_ = enable;
}

void DDSDomain::setType(unsigned short type) {
  if (participant_) {
    logError() << "void __cdecl TessivarDDS::DDSDomain::setType(unsigned short)"
               << " Set type called after participant creation.";
    return;
  }
  type_ = type;
}

void DDSDomain::setAllowedInterfaces(std::vector<std::string> interfaces) {
  if (participant_) {
    logError() << "void __cdecl TessivarDDS::DDSDomain::setAllowedInterfaces(" TESSIVAR_SIGNATURE_STRINGS ")"
               << " Cannot set the allowed interfaces after the participant has been created!";
    return;
  }
  allowedInterfaces_ = std::move(interfaces);
}

bool DDSDomain::refusedBecauseCreated(const char* signature) const {
  if (participant_) logError() << signature << " Already created on domain " << participant_->get_domain_id();
  return participant_ != nullptr;
}

bool DDSDomain::createDomainParticipant(int domainId) {
  DDS_DomainParticipantQos qos;
  const DDS_ReturnCode_t code = factory().get_default_participant_qos(qos);
  if (code != DDS_RETCODE_OK) {
    logError() << TESSIVAR_SIGNATURE_CREATE "int)"
               << " Failed to get the default domain participant Qos. Error code: " << code;
    return false;
  }
  return createDomainParticipant(domainId, qos, true);
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): the interface has it by value
bool DDSDomain::createDomainParticipant(int domainId, std::vector<std::string> qosFiles, const std::string& library,
                                        const std::string& profile) {
  constexpr const char* signature = TESSIVAR_SIGNATURE_CREATE
      "int," TESSIVAR_SIGNATURE_STRINGS ",const " TESSIVAR_SIGNATURE_STRING " &,const " TESSIVAR_SIGNATURE_STRING " &)";
  if (refusedBecauseCreated(signature)) return false;
  DDS_DomainParticipantFactoryQos factoryQos;
  DDS_ReturnCode_t code = factory().get_qos(factoryQos);
  if (code != DDS_RETCODE_OK) {
    logError() << signature << " Failed to get the domain participant factory QoS. Error code: " << code;
    return false;
  }
  const DDS_DomainParticipantFactoryQos factoryQosBefore = factoryQos;
  assignTexts(factoryQos.profile.url_profile, qosFiles);
  code = factory().set_qos(factoryQos);
  if (code != DDS_RETCODE_OK) {
    logError() << signature << " Failed to set domain participant factory QoS. Error code: " << code;
    return false;
  }
  DDS_DomainParticipantQos qos;
  code = factory().get_participant_qos_from_profile(qos, library.c_str(), profile.c_str());
  if (code != DDS_RETCODE_OK) {
    logError() << signature << " Failed to load participant Qos profile: " << library << "::" << profile
               << " return code: " << code;
    factory().set_qos(factoryQosBefore);  // so that these files do not make later domains fail
    return false;
  }
  return createDomainParticipant(domainId, qos, true);
}

bool DDSDomain::createDomainParticipant(int domainId, const DDS_DomainParticipantQos& qos, bool enable) {
  if (refusedBecauseCreated(create_signature)) return false;
  if (domainId < 0 || domainId > tessivar::platform::highest_domain_id) {
    logError() << create_signature << " Domain id " << domainId << " is not within 0 to "
               << tessivar::platform::highest_domain_id;
    return false;
  }
  logDebug() << create_signature << "Creating domain participant on domain " << domainId;
  DDS_DomainParticipantQos configured = qos;
  if (!configureQos(configured)) return false;
  disableAutoCreateParticipantEntities();
  participant_ = factory().create_participant(domainId, configured, &owned_->listener, domainListenerMask);
  if (!participant_) {
    logError() << create_signature << "Failed to create domain participant.";
    return false;
  }
  owned_->adopt(participant_);
  if (!installBuiltInParticipantListener()) {
    deleteParticipant();  // without the listener every participant would be admitted
    return false;
  }
  if (enable) {
    if (participant_->enable() != DDS_RETCODE_OK) {
      logError() << create_signature << "Failed to enable DDS participant.";
      deleteParticipant();  // so that a later call may succeed
      return false;
    }
    applyIgnoreSelf();
  }
  created_ = true;
  book_->open(domainId, peers_, participant_->endpoints());
  peersBeforeCreation_ = std::exchange(initialPeers_, initialPeerList());
  logDebug() << create_signature << "Initial peer list: " << joinTextList(initialPeers_);

  DDS_DomainParticipantQos actual;
  if (participant_->get_qos(actual) != DDS_RETCODE_OK) {
    logError() << create_signature << "Failed to get participant qos.";
  } else {
    logDebug() << create_signature << "Participant created with "
               << "participant_id=" << actual.wire_protocol.participant_id
               << " rtps_host_id=" << actual.wire_protocol.rtps_host_id
               << " rtps_app_id=" << actual.wire_protocol.rtps_app_id
               << " rtps_instance_id=" << actual.wire_protocol.rtps_instance_id;
  }
  return true;
}

bool DDSDomain::configureQos(DDS_DomainParticipantQos& qos) {
  const NetworkEnvironment environment = networkEnvironment();
  std::vector<std::string> peers = toTexts(qos.discovery.initial_peers);
  if (!multicast_.value_or(environment.multicast.value_or(false))) {
    qos.discovery.multicast_receive_addresses.length(0);
    const DDS_ReturnCode_t code =
        DDSPropertyQosPolicyHelper::assert_property(qos.property, multicast_property, "0", DDS_BOOLEAN_FALSE);
    if (code != DDS_RETCODE_OK) {
      logError() << configure_signature
                 << " Failed to set dds.transport.UDPv4.builtin.multicast_enabled. Error code: " << code;
      return false;
    }
    if (const std::vector<std::string> ignored = withoutDefaultPeers(peers); !ignored.empty()) {
      logWarning() << configure_signature << " Multicast is off: the initial_peers " << joinTextList(ignored)
                   << " of the QoS are ignored. Name them in TESSIVAR_PEERS or addPeerAddress(), or turn multicast on.";
    }
    peers = {"builtin.udpv4://127.0.0.1", "builtin.shmem://"};
  }
  peers.insert(peers.end(), initialPeers_.begin(), initialPeers_.end());
  peers.insert(peers.end(), environment.peers.begin(), environment.peers.end());
  assignTexts(qos.discovery.initial_peers, peers);

  qos.resource_limits.participant_user_data_max_length = max_user_data;
  const std::string text = "type=" + std::to_string(type_);
  const auto length = static_cast<DDS_Long>(text.size() + 1);  // including the terminating zero
  qos.user_data.value.from_array(reinterpret_cast<const DDS_Octet*>(text.c_str()), length);

  const std::vector<std::string>& interfaces = allowedInterfaces_.empty() ? environment.interfaces : allowedInterfaces_;
  return interfaces.empty() || setParticipantQosAllowedInterfaces(qos, interfaces);
}

bool DDSDomain::setParticipantQosAllowedInterfaces(DDS_DomainParticipantQos& qos,
                                                   const std::vector<std::string>& interfaces) {
  constexpr const char* signature =
      "bool __cdecl TessivarDDS::DDSDomain::setParticipantQosAllowedInterfaces(struct DDS_DomainParticipantQos &,"
      "const " TESSIVAR_SIGNATURE_STRINGS " &)";
  const std::string list = joinTextList(interfaces);
  logDebug() << signature << "Configuring participant Qos to allow interfaces: " << list;
  const DDS_ReturnCode_t code =
      DDSPropertyQosPolicyHelper::assert_property(qos.property, interfaces_property, list.c_str(), DDS_BOOLEAN_FALSE);
  if (code != DDS_RETCODE_OK) {
    logError() << signature << " Failed to set dds.transport.UDPv4.builtin.parent.allow_interfaces to " << list
               << ". Error code: " << code;
    return false;
  }
  return true;
}

bool DDSDomain::addPeerAddress(const std::string& address) {
  constexpr const char* signature =
      "bool __cdecl TessivarDDS::DDSDomain::addPeerAddress(const " TESSIVAR_SIGNATURE_STRING " &)";
  logDebug() << signature << "Adding peer address to domain: " << address;
  if (!participant_) {
    initialPeers_.push_back(address);
    return true;
  }
  const DDS_ReturnCode_t code = participant_->add_peer(address.c_str());
  if (code != DDS_RETCODE_OK) {
    logError() << signature << "Failed to add peer " << address << " return code: " << code;
    return false;
  }
  owned_->peerAdded(address);
  return true;
}

bool DDSDomain::removePeerAddress(const std::string& address) {
  constexpr const char* signature =
      "bool __cdecl TessivarDDS::DDSDomain::removePeerAddress(const " TESSIVAR_SIGNATURE_STRING " &)";
  logDebug() << signature << "Removing peer address from domain: " << address;
  if (!participant_) {
    logError() << signature << "Failed to remove peer as the participant was null.";
    return false;
  }
  const DDS_ReturnCode_t code = participant_->remove_peer(address.c_str());
  if (code != DDS_RETCODE_OK) {
    logError() << signature << "Failed to remove peer " << address << " return code: " << code;
    return false;
  }
  owned_->peerRemoved(address);
  return true;
}

std::vector<std::string> DDSDomain::initialPeerList() const {
  constexpr const char* signature =
      TESSIVAR_SIGNATURE_STRINGS " __cdecl TessivarDDS::DDSDomain::initialPeerList(void) const";
  if (!participant_) {
    logError() << signature << "Failed to remove peer as the participant was null.";
    return {};
  }
  DDS_DomainParticipantQos qos;
  const DDS_ReturnCode_t code = participant_->get_qos(qos);
  if (code != DDS_RETCODE_OK) {
    logError() << signature << "Failed to get qos from domain participant. Error code: " << code;
    return {};
  }
  return toTexts(qos.discovery.initial_peers);
}

bool DDSDomain::registerContentFilter(const std::string& name, const DDSContentFilter* filter) {
  constexpr const char* signature =
      "bool __cdecl TessivarDDS::DDSDomain::registerContentFilter(const " TESSIVAR_SIGNATURE_STRING
      " &,const class DDSContentFilter *)";
  if (!participant_) {
    logError() << signature << "Failed to remove peer as the participant was null.";
    return false;
  }
  const tessivar::platform::MutexLock lock(filtersLock_);
  if (std::find(filters_.begin(), filters_.end(), std::pair(name, filter)) != filters_.end()) return true;
  const DDS_ReturnCode_t code = participant_->register_contentfilter(name.c_str(), filter);
  if (code != DDS_RETCODE_OK) {
    logError() << signature << "Failed to register content filter " << name << " error code: " << code;
    return false;
  }
  filters_.emplace_back(name, filter);
  return true;
}

namespace {

/// Unregisters the filters that `chosen` selects. Returns true if it selected at least one and all selected are
/// unregistered.
template <class Filters, class Choice>
bool unregister(const char* signature, DDSDomainParticipant* participant, Filters& filters, Choice chosen) {
  bool found = false;
  bool success = true;
  for (auto entry = filters.begin(); entry != filters.end();) {
    if (!chosen(entry->second)) {
      ++entry;
      continue;
    }
    found = true;
    const DDS_ReturnCode_t code =
        participant ? participant->unregister_contentfilter(entry->first.c_str()) : DDS_RETCODE_PRECONDITION_NOT_MET;
    if (code == DDS_RETCODE_OK) {
      entry = filters.erase(entry);
    } else {
      logError() << signature << "Failed to unregister content filter " << entry->first << " error code: " << code;
      success = false;
      ++entry;
    }
  }
  return found && success;
}

}  // namespace

bool DDSDomain::unregisterContentFilter(const DDSContentFilter* filter) {
  constexpr const char* signature =
      "bool __cdecl TessivarDDS::DDSDomain::unregisterContentFilter(const class DDSContentFilter *)";
  const tessivar::platform::MutexLock lock(filtersLock_);
  const auto isFilter = [filter](const auto* entry) { return entry == filter; };
  if (std::none_of(filters_.begin(), filters_.end(), [&](const auto& entry) { return isFilter(entry.second); })) {
    logError() << signature << " The content filter is not registered.";
    return false;
  }
  return unregister(signature, participant_, filters_, isFilter);
}

bool DDSDomain::unregisterContentFilters() {
  const tessivar::platform::MutexLock lock(filtersLock_);
  return filters_.empty() || unregister("bool __cdecl TessivarDDS::DDSDomain::unregisterContentFilters(void)",
                                        participant_, filters_, [](const auto*) { return true; });
}

const DDSContentFilter* DDSDomain::contentFilter(const std::string& name) const {
  const tessivar::platform::MutexLock lock(filtersLock_);
  const auto entry =
      std::find_if(filters_.begin(), filters_.end(), [&](const auto& item) { return item.first == name; });
  return entry == filters_.end() ? nullptr : entry->second;
}

namespace {

bool reportProfile(const char* signature, const char* text, const std::string& library, const std::string& profile,
                   DDS_ReturnCode_t code) {
  if (code != DDS_RETCODE_OK) {
    logError() << signature << text << library << " profile " << profile << " return code: " << code;
  }
  return code == DDS_RETCODE_OK;
}

}  // namespace

#define TESSIVAR_SIGNATURE_PROFILE(function, qos)                                      \
  "bool __cdecl TessivarDDS::DDSDomain::" function "(const " TESSIVAR_SIGNATURE_STRING \
  " &,const " TESSIVAR_SIGNATURE_STRING " &,struct " qos " &)"

bool DDSDomain::participantQosProfile(const std::string& library, const std::string& profile,
                                      DDS_DomainParticipantQos& qos) {
  return reportProfile(TESSIVAR_SIGNATURE_PROFILE("participantQosProfile", "DDS_DomainParticipantQos"),
                       "Failed to load participant QoS profile for ", library, profile,
                       factory().get_participant_qos_from_profile(qos, library.c_str(), profile.c_str()));
}

bool DDSDomain::topicQosProfile(const std::string& library, const std::string& profile, DDS_TopicQos& qos) {
  return reportProfile(TESSIVAR_SIGNATURE_PROFILE("topicQosProfile", "DDS_TopicQos"),
                       "Failed to load topic QoS profile for ", library, profile,
                       factory().get_topic_qos_from_profile(qos, library.c_str(), profile.c_str()));
}

bool DDSDomain::dataReaderQosProfile(const std::string& library, const std::string& profile, DDS_DataReaderQos& qos) {
  return reportProfile(TESSIVAR_SIGNATURE_PROFILE("dataReaderQosProfile", "DDS_DataReaderQos"),
                       "Failed to load data reader QoS profile for ", library, profile,
                       factory().get_datareader_qos_from_profile(qos, library.c_str(), profile.c_str()));
}

bool DDSDomain::dataWriterQosProfile(const std::string& library, const std::string& profile, DDS_DataWriterQos& qos) {
  // The text says "data reader" also for the writer, because monitoring systems in facilities search for this text.
  return reportProfile(TESSIVAR_SIGNATURE_PROFILE("dataWriterQosProfile", "DDS_DataWriterQos"),
                       "Failed to load data reader QoS profile for ", library, profile,
                       factory().get_datawriter_qos_from_profile(qos, library.c_str(), profile.c_str()));
}

void DDSDomain::applyIgnoreSelf() {
  constexpr const char* signature = "void __cdecl TessivarDDS::DDSDomain::applyIgnoreSelf(void)";
  logDebug() << signature << "Configuring Domain Participant to ignore itself.";
  const DDS_ReturnCode_t code = participant_ ? participant_->ignore_participant(participant_->get_instance_handle())
                                             : DDS_RETCODE_PRECONDITION_NOT_MET;
  if (code != DDS_RETCODE_OK) {
    logError() << signature << "Failed to set ignore domain participant. Return code: " << code;
  }
}

void DDSDomain::disableAutoCreateParticipantEntities() {
  constexpr const char* signature = "void __cdecl TessivarDDS::DDSDomain::disableAutoCreateParticipantEntities(void)";
  DDS_DomainParticipantFactoryQos qos;
  DDS_ReturnCode_t code = factory().get_qos(qos);
  if (code != DDS_RETCODE_OK) {
    logError() << signature << "Failed to get the domain participant factory QoS. Return code: " << code;
    return;
  }
  if (!qos.entity_factory.autoenable_created_entities) return;
  qos.entity_factory.autoenable_created_entities = DDS_BOOLEAN_FALSE;
  code = factory().set_qos(qos);
  if (code != DDS_RETCODE_OK) {
    logError() << signature << "Failed to set the domain participant factory QoS. Return code: " << code;
  }
}

bool DDSDomain::installBuiltInParticipantListener() {
  constexpr const char* signature = "bool __cdecl TessivarDDS::DDSDomain::installBuiltInParticipantListener(void)";
  if (!participant_) {
    logError() << signature << "Participant not yet created";
    return false;
  }
  DDS_DomainParticipantQos qos;
  const DDS_ReturnCode_t code = participant_->get_qos(qos);
  if (code != DDS_RETCODE_OK) {
    logError() << signature << "Failed to get qos from domain participant. Error code: " << code;
    return false;
  }
  const DDS_Property_t* types = DDSPropertyQosPolicyHelper::lookup_property(
      static_cast<const DDS_PropertyQosPolicy&>(qos.property), allowed_types_property);
  DDSSubscriber* subscriber = participant_->get_builtin_subscriber();
  if (!subscriber) {
    logError() << signature << "Failed to create builtin subscriber";
    return false;
  }
  DDSDataReader* reader = subscriber->lookup_datareader(DDS_PARTICIPANT_TOPIC_NAME);
  if (!reader) {
    logError() << signature << "Failed to create builtin participant data reader.";
    return false;
  }
  owned_->admission.setParticipant(participant_);
  owned_->admission.setPeerList(peers_);
  owned_->admission.setAllowedTypes(types && types->value ? types->value : "");
  const DDS_ReturnCode_t installed = reader->set_listener(&owned_->admission, DDS_DATA_AVAILABLE_STATUS);
  if (installed != DDS_RETCODE_OK) logError() << signature << " Failed to set the listener. Return code: " << installed;
  return installed == DDS_RETCODE_OK;
}

Report DDSDomain::report() const {
  return book_->report();
}

void DDSDomain::cleanUp() {
  if (!participant_) return;
  if (tessivar::platform::in_callback()) {
    logError() << "void __cdecl TessivarDDS::DDSDomain::cleanUp(void)"
               << " Cannot clean up from within a callback of the bus.";
    return;
  }
  deleteParticipant();
  if (participant_) return;
  created_ = false;
  initialPeers_ = std::exchange(peersBeforeCreation_, {});
}

void DDSDomain::deleteParticipant() {
  if (owned_.use_count() == 1) {
    if (!owned_->close()) return;
  } else {
    logWarning()
        << "void __cdecl TessivarDDS::DDSDomain::cleanUp(void)"
        << " Domain " << participant_->get_domain_id()
        << " is released while topics on it are in use: " << owned_->topicNames()
        << ". Its participant stays until their clients, nodes or services are cleaned up: clean them up first.";
  }
  owned_ = std::make_shared<OwnedParticipant>();
  participant_ = nullptr;
  book_->close();
  peers_ = std::make_shared<PeerList>();  // nodes may keep the old participant for a while
  const tessivar::platform::MutexLock lock(filtersLock_);
  filters_.clear();
}

}  // namespace TessivarDDS
