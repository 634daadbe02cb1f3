// SPDX-License-Identifier: Apache-2.0

#include "tessivar/platform/cyclone/configuration.h"

#include "tessivar/platform/cyclone/network/network.h"
#include "tessivar/platform/detail/log.h"

#include <utility>
#include <vector>

namespace tessivar::platform::cyclone {
namespace {

std::string element(const char* name, const std::string& content) {
  return std::string("<") + name + ">" + content + "</" + name + ">";
}

std::string element(const char* name, long long value) {
  return element(name, std::to_string(value));
}

std::string duration(const char* name, std::int64_t nanoseconds) {
  return nanoseconds > 0 ? element(name, std::to_string(nanoseconds) + " ns") : "";
}

constexpr std::int64_t longest_duration = 3'600'000'000'000;  // an hour, for every setting of the engine

bool is_usable(const char* what, std::int64_t nanoseconds, std::string& error) {
  if (nanoseconds >= 0 && nanoseconds <= longest_duration) return true;
  error = std::string(what) + " must be at most an hour";
  return false;
}

std::string interface_elements(const std::vector<Interface>& interfaces, bool multicast) {
  std::string result;
  for (const Interface& one : interfaces) {
    // The loopback interface does not announce multicast, but multicast works on it.
    result += "<NetworkInterface address=\"" + xml_escaped(one.address) + "\"";
    if (multicast && one.loopback) result += " multicast=\"true\"";
    result += "/>";
  }
  return element("Interfaces", result);
}

std::string peer_elements(const std::vector<std::string>& peers) {
  // Processes of this machine discover each other through the first peer, whatever the interfaces are.
  std::string result = "<Peer address=\"127.0.0.1\"/>";
  for (const std::string& peer : peers) {
    const std::optional<std::string> address = resolve_peer(peer);
    if (!address)
      log(LogLevel::warning, "engine",
          "peer \"" + peer + "\" cannot be resolved and is left out (addPeerAddress(), TESSIVAR_PEERS, initial_peers)");
    else if (*address != "127.0.0.1")
      result += "<Peer address=\"" + xml_escaped(*address) + "\"/>";
  }
  return element("Peers", result);
}

}  // namespace

std::string xml_escaped(const std::string& text) {
  std::string result;
  for (const char c : text) {
    switch (c) {
      case '&':
        result += "&amp;";
        break;
      case '<':
        result += "&lt;";
        break;
      case '>':
        result += "&gt;";
        break;
      case '"':
        result += "&quot;";
        break;
      case '\'':
        result += "&apos;";
        break;
      default:
        result += c;
    }
  }
  return result;
}

std::optional<std::string> engine_configuration(const EngineParticipantConfig& config, std::string& error) {
  if (config.domain_id < 0 || config.domain_id > highest_domain_id) {
    error =
        "domain id " + std::to_string(config.domain_id) + " is not within 0 to " + std::to_string(highest_domain_id);
    return std::nullopt;
  }
  if (!is_usable("the participant's lease", config.lease_duration, error) ||
      !is_usable("the period of announcements", config.announcement_period, error))
    return std::nullopt;
  std::string general = element("AllowMulticast", config.multicast ? "true" : "false");
  if (!config.interfaces.empty()) {
    const auto interfaces = select_interfaces(config.interfaces, local_interfaces(), error);
    if (!interfaces) return std::nullopt;
    if (!error.empty()) log(LogLevel::warning, "engine", std::exchange(error, {}));
    general += interface_elements(*interfaces, config.multicast);
  }
  const std::string discovery = element("ExternalDomainId", config.domain_id) + element("ParticipantIndex", "auto") +
                                element("MaxAutoParticipantIndex", config.max_participant_index + 1) +
                                peer_elements(config.peers) + duration("LeaseDuration", config.lease_duration) +
                                duration("SPDPInterval", config.announcement_period);
  const std::string internal =
      // Other vendors' peers need the key hash with a dispose.
      element("GenerateKeyhash", "true") +
      // A reader requests lost samples, and the first samples after a match, after the next heartbeat. By default the
      // next heartbeat is sent 100 ms later, and the first command to a device would be late by this time. Heartbeats
      // are sent only while samples are not acknowledged.
      "<HeartbeatInterval minsched=\"10 ms\" max=\"1 s\">10 ms</HeartbeatInterval>" + element("NackDelay", "10 ms") +
      // Samples reach the caches on the receive threads, for every QoS of the writer: wait_for_historical_data() relies
      // on this.
      element("SynchronousDeliveryPriorityThreshold", INT32_MIN) +
      // A KEEP_ALL writer blocks above a number of unacknowledged octets, and continues below a second number. By
      // default the engine's limit begins at 30 kB and shrinks with every loss, and a writer continues when almost all
      // octets are acknowledged. On a link with delay and loss, requests would then wait for seconds.
      element("Watermarks", "<WhcHigh>4 MB</WhcHigh><WhcHighInit>4 MB</WhcHighInit><WhcLow>1 MB</WhcLow>" +
                                element("WhcAdaptive", "false"));
  return element("Domain", element("General", general) + element("Discovery", discovery) +
                               element("Internal", internal) +
                               // Otherwise the engine creates an empty file in the working directory.
                               element("Tracing", element("OutputFile", "stderr")));
}

}  // namespace tessivar::platform::cyclone
