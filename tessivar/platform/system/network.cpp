// SPDX-License-Identifier: Apache-2.0

#include "tessivar/platform/system/network.h"

#include <arpa/inet.h>
#include <cstdint>
#include <ifaddrs.h>
#include <net/if.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace tessivar::platform {
namespace {

std::string to_text(const in_addr& address) {
  char text[INET_ADDRSTRLEN];
  return inet_ntop(AF_INET, &address, text, sizeof text) ? text : "";
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

std::optional<std::string> resolve_host(const std::string& host) {
  addrinfo hints = {};
  hints.ai_family = AF_INET;
  hints.ai_socktype = SOCK_DGRAM;
  addrinfo* found = nullptr;
  if (getaddrinfo(host.c_str(), nullptr, &hints, &found) != 0 || !found) return std::nullopt;
  std::string address = to_text(reinterpret_cast<const sockaddr_in*>(found->ai_addr)->sin_addr);
  freeaddrinfo(found);
  return address;
}

bool is_free_port(int port) {
  const int descriptor = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (descriptor < 0) return true;
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<std::uint16_t>(port));
  const bool free = bind(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
  close(descriptor);
  return free;
}

}  // namespace tessivar::platform
