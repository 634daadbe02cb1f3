// SPDX-License-Identifier: Apache-2.0

#include "tessivar/platform/cyclone/network/network.h"

#include <algorithm>
#include <arpa/inet.h>
#include <charconv>
#include <fnmatch.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace tessivar::platform::cyclone {
namespace {

std::string to_text(const in_addr& address) {
  char text[INET_ADDRSTRLEN];
  return inet_ntop(AF_INET, &address, text, sizeof text) ? text : "";
}

bool means(const std::string& wanted, const Interface& interface) {
  return fnmatch(wanted.c_str(), interface.name.c_str(), 0) == 0 ||
         fnmatch(wanted.c_str(), interface.address.c_str(), 0) == 0;
}

bool is_port(const std::string& text) {
  unsigned port = 0;
  const char* const end = text.data() + text.size();
  const auto [next, failure] = std::from_chars(text.data(), end, port);
  return failure == std::errc() && next == end && port >= 1 && port <= 65535;
}

bool is_free(int port) {
  const int descriptor = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (descriptor < 0) return true;  // the engine will report the error
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<std::uint16_t>(port));
  const bool free = bind(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
  close(descriptor);
  return free;
}

}  // namespace

std::vector<Interface> local_interfaces() {
  std::vector<Interface> result;
  ifaddrs* first = nullptr;
  if (getifaddrs(&first) != 0) return result;
  for (const ifaddrs* one = first; one; one = one->ifa_next) {
    if (!one->ifa_addr || one->ifa_addr->sa_family != AF_INET || !(one->ifa_flags & IFF_UP)) continue;
    const auto* address = reinterpret_cast<const sockaddr_in*>(one->ifa_addr);
    result.push_back({one->ifa_name, to_text(address->sin_addr), (one->ifa_flags & IFF_LOOPBACK) != 0});
  }
  freeifaddrs(first);
  return result;
}

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
  addrinfo hints = {};
  hints.ai_family = AF_INET;
  hints.ai_socktype = SOCK_DGRAM;
  addrinfo* found = nullptr;
  if (getaddrinfo(host.c_str(), nullptr, &hints, &found) != 0 || !found) return std::nullopt;
  const std::string address = to_text(reinterpret_cast<const sockaddr_in*>(found->ai_addr)->sin_addr);
  freeaddrinfo(found);
  return port.empty() ? address : address + ":" + port;
}

bool has_free_participant_ports(int domain_id, int count) {
  for (int index = 0; index < count; ++index) {
    const int discovery_port = 7400 + 250 * domain_id + 10 + 2 * index;
    if (is_free(discovery_port) && is_free(discovery_port + 1)) return true;
  }
  return false;
}

}  // namespace tessivar::platform::cyclone
