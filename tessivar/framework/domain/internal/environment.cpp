// SPDX-License-Identifier: Apache-2.0

#include "tessivar/framework/domain/internal/environment.h"

#include "tessivar/framework/domain/detail/signature.h"
#include "tessivar/framework/domain/detail/text_list.h"
#include "tessivar/framework/log/logger.h"
#include "tessivar/platform/participant/participant_config.h"

#include <cstdlib>

namespace TessivarDDS {
namespace {

constexpr const char* interfaces_variable = "DDS_ALLOWED_INTERFACES";
constexpr const char* peers_variable = "TESSIVAR_PEERS";
constexpr const char* multicast_variable = "TESSIVAR_MULTICAST";

void reportIgnored(const char* variable, const std::string& text, const std::string& reason) {
  logError() << "struct TessivarDDS::NetworkEnvironment __cdecl TessivarDDS::networkEnvironment(void)"
             << " Environment variable " << variable << "='" << text << "': " << reason << " (ignored)";
}

/// Returns the value of the variable, or an empty text if it is not set.
std::string valueOf(const char* variable) {
  const char* const text = std::getenv(variable);
  return text ? text : "";
}

}  // namespace

NetworkEnvironment networkEnvironment() {
  NetworkEnvironment result;
  const std::string interfaces = valueOf(interfaces_variable);
  result.interfaces = splitTextList(interfaces);
  if (!interfaces.empty() && result.interfaces.empty()) {
    reportIgnored(interfaces_variable, interfaces, "it names no interface");
  }

  const std::string peers = valueOf(peers_variable);
  for (const std::string& peer : splitTextList(peers, ", \t\r\n")) {
    std::string reason;
    if (tessivar::platform::parse_peer(peer, reason)) {
      result.peers.push_back(peer);
    } else {
      reportIgnored(peers_variable, peers, reason);
    }
  }

  const std::string multicast = valueOf(multicast_variable);
  if (multicast == "0" || multicast == "1") {
    result.multicast = multicast == "1";
  } else if (!multicast.empty()) {
    reportIgnored(multicast_variable, multicast, "the value must be 0 or 1");
  }
  return result;
}

}  // namespace TessivarDDS
