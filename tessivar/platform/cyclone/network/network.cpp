// SPDX-License-Identifier: Apache-2.0

#include "tessivar/platform/cyclone/network/network.h"

#include "tessivar/platform/system/calls.h"

#include <algorithm>
#include <charconv>

namespace tessivar::platform::cyclone {
namespace {

bool means(const std::string& wanted, const Interface& interface) {
  return matches_pattern(wanted.c_str(), interface.name.c_str()) ||
         matches_pattern(wanted.c_str(), interface.address.c_str());
}

bool is_port(const std::string& text) {
  unsigned port = 0;
  const char* const end = text.data() + text.size();
  const auto [next, failure] = std::from_chars(text.data(), end, port);
  return failure == std::errc() && next == end && port >= 1 && port <= 65535;
}

}  // namespace

std::optional<std::vector<Interface>> select_interfaces(const std::vector<std::string>& wanted,
                                                        const std::vector<Interface>& available, std::string& error) {
  std::vector<Interface> result;
  for (const Interface& interface : available)
    if (std::any_of(wanted.begin(), wanted.end(), [&](const std::string& one) { return means(one, interface); }))
      result.push_back(interface);
  std::string unmatched;
  for (const std::string& one : wanted)
    if (std::none_of(available.begin(), available.end(), [&](const Interface& it) { return means(one, it); }))
      unmatched += " \"" + one + "\"";
  error.clear();
  if (unmatched.empty()) return result;
  error = "no network interface that is up matches" + unmatched;
  error += " (setAllowedInterfaces(), DDS_ALLOWED_INTERFACES); this machine has";
  for (const Interface& interface : available) error += " " + interface.name + " (" + interface.address + ")";
  if (available.empty()) error += " none";
  if (result.empty()) return std::nullopt;
  return result;
}

std::optional<std::string> resolve_peer(const std::string& peer) {
  const std::size_t colon = peer.rfind(':');
  const std::string host = peer.substr(0, colon);
  const std::string port = colon == std::string::npos ? "" : peer.substr(colon + 1);
  if (host.empty() || (colon != std::string::npos && !is_port(port))) return std::nullopt;
  // This name is valid on a machine without /etc/hosts, too (RFC 6761, 6.3).
  if (host == "localhost") return port.empty() ? "127.0.0.1" : "127.0.0.1:" + port;
  std::optional<std::string> address = resolve_host(host);
  if (!address || port.empty()) return address;
  return *address + ":" + port;
}

bool has_free_participant_ports(int domain_id, int count) {
  for (int index = 0; index < count; ++index) {
    const int discovery_port = 7400 + 250 * domain_id + 10 + 2 * index;
    if (is_free_port(discovery_port) && is_free_port(discovery_port + 1)) return true;
  }
  return false;
}

}  // namespace tessivar::platform::cyclone
