// SPDX-License-Identifier: Apache-2.0

#include "tessivar/framework/domain/builtin_participant_listener.h"

#include "tessivar/framework/domain/detail/text_list.h"
#include "tessivar/framework/log/logger.h"
#include "tessivar/framework/report/internal/peer_list.h"

#include <algorithm>
#include <charconv>
#include <cstdio>

namespace TessivarDDS {
namespace {

constexpr const char* signature =
    "void __cdecl TessivarDDS::BuiltinParticipantListener::on_data_available(class DDSDataReader *)";
constexpr const char* install_signature =
    "bool __cdecl TessivarDDS::DDSDomain::installBuiltInParticipantListener(void)";

/// The length in octets of the shortest user data with a type: "type=" and a digit.
constexpr DDS_Long shortest_type = 6;

unsigned short announcedType(const DDS_ParticipantBuiltinTopicData& data) {
  const DDS_OctetSeq& text = data.user_data.value;
  std::vector<DDS_Octet> octets(static_cast<std::size_t>(text.length()));
  for (DDS_Long i = 0; i < text.length(); ++i) octets[static_cast<std::size_t>(i)] = text[i];
  return BuiltinParticipantListener::parseType(octets.data(), text.length());
}

/// Returns the IPv4 addresses with their ports: "1.2.3.4@7410,…" if `at` is '@'.
std::string addresses(const DDS_ParticipantBuiltinTopicData& data, char at) {
  std::string text;
  for (DDS_Long i = 0; i < data.default_unicast_locators.length(); ++i) {
    const DDS_Locator_t& locator = data.default_unicast_locators[i];
    if (locator.kind != DDS_LOCATOR_KIND_UDPv4) continue;
    const DDS_Octet* address = locator.address + sizeof locator.address - 4;
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%d.%d.%d.%d%c%d", address[0], address[1], address[2], address[3], at,
                  static_cast<int>(locator.port));
    if (!text.empty()) text += ',';
    text += buffer;
  }
  return text;
}

PeerReport peerReport(const DDS_ParticipantBuiltinTopicData& data, const DDS_InstanceHandle_t& handle,
                      unsigned short type, bool admitted) {
  const auto text = [](const char* announced) { return announced ? announced : ""; };
  return {PeerList::guidText(handle),
          text(data.participant_name.name),
          text(data.participant_name.role_name),
          addresses(data, ':'),
          type,
          admitted};
}

std::string describe(const DDS_ParticipantBuiltinTopicData& data, unsigned short type) {
  const auto orUnset = [](const char* text) { return text ? text : "Unset"; };
  std::string text = "Name=";
  text += orUnset(data.participant_name.name);
  text += " RoleName=";
  text += orUnset(data.participant_name.role_name);
  text += " Ipv4 locators=";
  text += addresses(data, '@');
  text += " TypeId=";
  text += data.user_data.value.length() < shortest_type ? "Unset" : std::to_string(type);
  return text;
}

}  // namespace

std::vector<unsigned short> BuiltinParticipantListener::parseTypes(const std::string& list) {
  std::vector<unsigned short> types;
  for (const std::string& text : splitTextList(list)) {
    unsigned short type = 0;
    const char* const end = text.data() + text.size();
    const auto parsed = std::from_chars(text.data(), end, type);
    if (parsed.ec == std::errc() && parsed.ptr == end) {
      types.push_back(type);
    } else {
      logError() << install_signature << " Ignored '" << text << "' in the allowed participant types '" << list
                 << "': not a number from 0 to 65535.";
    }
  }
  return types;
}

void BuiltinParticipantListener::setAllowedTypes(const std::string& list) {
  allowed_ = parseTypes(list);
  admitsAll_ = list.empty();
  if (!admitsAll_ && allowed_.empty()) {
    logError() << install_signature << " The allowed participant types '" << list
               << "' hold no number from 0 to 65535: no remote participant is admitted.";
  }
}

unsigned short BuiltinParticipantListener::parseType(const DDS_Octet* text, DDS_Long length) {
  // Received octets may have no terminating zero.
  const std::string bounded(reinterpret_cast<const char*>(text), static_cast<std::size_t>(std::max(length, 0)));
  unsigned long type = 0;
  if (length < shortest_type || std::sscanf(bounded.c_str(), "type=%lu", &type) != 1) return unknownParticipantType;
  return type <= 0xFFFF ? static_cast<unsigned short>(type) : unknownParticipantType;
}

void BuiltinParticipantListener::judge(const DDS_ParticipantBuiltinTopicData& data,
                                       const DDS_InstanceHandle_t& handle) {
  const unsigned short type = announcedType(data);
  const std::string description = describe(data, type);
  const bool admitted = admitsAll_ || std::find(allowed_.begin(), allowed_.end(), type) != allowed_.end();
  if (peers_) peers_->seen(peerReport(data, handle, type, admitted));
  if (admitted) {
    logDebug() << signature << "Remote participant Allowed: " << description;
    admitted_.fetch_add(1, std::memory_order_relaxed);
    return;
  }
  logDebug() << signature << "Remote participant Denied: " << description;
  const DDS_ReturnCode_t code =
      participant_ ? participant_->ignore_participant(handle) : DDS_RETCODE_PRECONDITION_NOT_MET;
  if (code != DDS_RETCODE_OK) logError() << signature << "Error ignoring participant. Return code: " << code;
}

void BuiltinParticipantListener::on_data_available(DDSDataReader* reader) {
  auto* participants = DDSParticipantBuiltinTopicDataDataReader::narrow(reader);
  DDS_ParticipantBuiltinTopicDataSeq samples;
  DDS_SampleInfoSeq infos;
  const DDS_ReturnCode_t code = participants
                                    ? participants->take(samples, infos, DDS_LENGTH_UNLIMITED, DDS_ANY_SAMPLE_STATE,
                                                         DDS_ANY_VIEW_STATE, DDS_ANY_INSTANCE_STATE)
                                    : DDS_RETCODE_BAD_PARAMETER;
  if (code == DDS_RETCODE_NO_DATA) return;
  if (code != DDS_RETCODE_OK) {
    logError() << signature << "Failed to access data from the built-in reader. Error code: " << code;
    return;
  }
  for (DDS_Long i = 0; i < samples.length(); ++i) {
    if (infos[i].valid_data) {
      if (infos[i].view_state == DDS_NEW_VIEW_STATE) seen_.fetch_add(1, std::memory_order_relaxed);
      judge(samples[i], infos[i].instance_handle);
    } else if (peers_) {
      peers_->gone(PeerList::guidText(infos[i].instance_handle));
    }
  }
  participants->return_loan(samples, infos);
}

}  // namespace TessivarDDS
