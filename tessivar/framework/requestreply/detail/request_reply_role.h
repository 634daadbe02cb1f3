// SPDX-License-Identifier: Apache-2.0

// The role of a node in a request/reply exchange.
#pragma once

namespace TessivarDDS {

enum class RequestReplyRole { Client = 0, Server = 1, Both = 2 };

/// Returns true for Client and Both.
constexpr bool isClientSide(RequestReplyRole role) {
  return role != RequestReplyRole::Server;
}

/// Returns true for Server and Both.
constexpr bool isServerSide(RequestReplyRole role) {
  return role != RequestReplyRole::Client;
}

}  // namespace TessivarDDS
