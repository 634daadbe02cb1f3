// SPDX-License-Identifier: Apache-2.0

#include "tessivar/platform/participant/participant_config.h"

#include <algorithm>
#include <charconv>

namespace tessivar::platform {

namespace {

constexpr int highest_index = 119;  // the ports of a domain allow no more (DDSI-RTPS 2.3, 9.6.1.1)
constexpr std::string_view allow_interfaces = "dds.transport.UDPv4.builtin.parent.allow_interfaces";
constexpr std::string_view multicast_enabled = "dds.transport.UDPv4.builtin.multicast_enabled";

std::string_view trimmed(std::string_view text) {
  const std::size_t begin = text.find_first_not_of(" \t");
  if (begin == std::string_view::npos) return {};
  return text.substr(begin, text.find_last_not_of(" \t") - begin + 1);
}

std::vector<std::string> split_at_commas(std::string_view text) {
  std::vector<std::string> parts;
  while (!text.empty()) {
    const std::size_t comma = std::min(text.find(','), text.size());
    if (const std::string_view part = trimmed(text.substr(0, comma)); !part.empty()) parts.emplace_back(part);
    text.remove_prefix(std::min(comma + 1, text.size()));
  }
  return parts;
}

bool consume(std::string_view& text, std::string_view prefix) {
  if (!text.starts_with(prefix)) return false;
  text.remove_prefix(prefix.size());
  return true;
}

}  // namespace

std::optional<Peer> parse_peer(std::string_view text, std::string& error) {
  const std::string quoted = '"' + std::string(text) + '"';
  const auto invalid = [&](const char* reason) {
    error = "peer " + quoted + ": " + reason;
    return std::nullopt;
  };
  Peer peer;
  std::string_view rest = trimmed(text);
  if (const std::size_t at = rest.find('@'); at != std::string_view::npos) {
    const std::string_view number = rest.substr(0, at);
    const auto [end, code] = std::from_chars(number.data(), number.data() + number.size(), peer.max_index);
    if (code != std::errc() || end != number.data() + number.size() || peer.max_index < 0 ||
        peer.max_index > highest_index) {
      return invalid("the number before the @ must be 0 to 119");
    }
    rest.remove_prefix(at + 1);
  }
  if (consume(rest, "builtin.shmem://")) {
    if (!rest.empty()) return invalid("builtin.shmem:// takes no address");
    return peer;
  }
  if (!consume(rest, "builtin.udpv4://") && rest.find("://") != std::string_view::npos) {
    return invalid("the transport is neither builtin.udpv4 nor builtin.shmem");
  }
  if (rest.empty()) return invalid("the address is missing");
  if (rest.find_first_of(" \t,;/") != std::string_view::npos) return invalid("not an address");
  if (const std::size_t colon = rest.find(':'); colon != std::string_view::npos) {
    unsigned port = 0;
    const char* const last = rest.data() + rest.size();
    const auto [end, code] = std::from_chars(rest.data() + colon + 1, last, port);
    if (colon == 0 || code != std::errc() || end != last || port < 1 || port > 65535) {
      return invalid("not a host name or IPv4 address with a port of 1 to 65535");
    }
  }
  peer.address = rest;
  return peer;
}

DDS_ReturnCode_t make_config(DDS_DomainId_t domain_id, const DDS_DomainParticipantQos& qos,
                             EngineParticipantConfig& config, std::string& error) {
  config = {};
  config.domain_id = domain_id;

  const DDS_OctetSeq& user_data = qos.user_data.value;
  const DDS_Long most = qos.resource_limits.participant_user_data_max_length;
  if (most != DDS_LENGTH_UNLIMITED && user_data.length() > most) {
    error = "user_data has " + std::to_string(user_data.length()) +
            " octets, resource_limits.participant_user_data_max_length allows " + std::to_string(most);
    return DDS_RETCODE_INCONSISTENT_POLICY;
  }
  for (DDS_Long i = 0; i < user_data.length(); ++i) config.user_data.push_back(user_data[i]);

  if (qos.participant_name.name) config.name = qos.participant_name.name;
  if (qos.participant_name.role_name) config.role_name = qos.participant_name.role_name;

  config.multicast = qos.discovery.multicast_receive_addresses.length() > 0;
  const DDS_PropertySeq& properties = qos.property.value;
  for (DDS_Long i = 0; i < properties.length(); ++i) {
    const std::string name = properties[i].name ? properties[i].name : "";
    const std::string value = properties[i].value ? properties[i].value : "";
    if (name == allow_interfaces) {
      config.interfaces = split_at_commas(value);
    } else if (name == multicast_enabled) {
      if (value != "0" && value != "1") {
        error = "property \"" + name + "\" must be \"0\" or \"1\", not \"" + value + '"';
        return DDS_RETCODE_BAD_PARAMETER;
      }
      config.multicast = config.multicast && value == "1";
    } else {
      config.properties.push_back({name, value, properties[i].propagate != DDS_BOOLEAN_FALSE});
    }
  }

  config.max_participant_index = qos.discovery_config.max_participant_index;
  if (config.max_participant_index < 0 || config.max_participant_index > highest_index) {
    error =
        "discovery_config.max_participant_index must be 0 to 119, not " + std::to_string(config.max_participant_index);
    return DDS_RETCODE_BAD_PARAMETER;
  }
  const DDS_StringSeq& peers = qos.discovery.initial_peers;
  for (DDS_Long i = 0; i < peers.length(); ++i) {
    const auto peer = parse_peer(peers[i] ? peers[i] : "", error);
    if (!peer) return DDS_RETCODE_BAD_PARAMETER;
    if (!peer->address.empty()) config.peers.push_back(peer->address);
    config.max_participant_index = std::max(config.max_participant_index, peer->max_index);
  }

  config.lease_duration = to_nanoseconds(qos.discovery_config.participant_liveliness_lease_duration);
  config.announcement_period = to_nanoseconds(qos.discovery_config.participant_liveliness_assert_period);
  return DDS_RETCODE_OK;
}

}  // namespace tessivar::platform
