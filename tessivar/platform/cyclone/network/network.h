// What the machine's network has, and what a configuration means by its names for it.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace tessivar::platform::cyclone {

struct Interface {
  std::string name;
  std::string address;  // IPv4, dotted
  bool loopback;
  bool operator==(const Interface&) const = default;
};

/// The IPv4 interfaces that are up.
std::vector<Interface> local_interfaces();

/// Those of `available` whose name or address an entry of `wanted` matches: a name, an address or a pattern ("10.1.*").
/// Nullopt when there is none. Entries that match none are named in `error`, with what there is; else it is empty.
std::optional<std::vector<Interface>> select_interfaces(const std::vector<std::string>& wanted,
                                                        const std::vector<Interface>& available, std::string& error);

/// "address" or "address:port" in digits for a host name or address with or without ":port"; nullopt when it cannot be
/// resolved. May wait for a name server.
std::optional<std::string> resolve_peer(const std::string& peer);

/// Whether a participant can still find ports of its own (DDSI-RTPS 2.3, 9.6.1.1) among those of the first `count`
/// participants of this machine in a domain.
bool has_free_participant_ports(int domain_id, int count);

}  // namespace tessivar::platform::cyclone
