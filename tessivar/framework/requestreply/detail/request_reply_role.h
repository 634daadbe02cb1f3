// SPDX-License-Identifier: Apache-2.0

// Which side of a request/reply exchange a node is.
#pragma once

namespace TessivarDDS {

enum class RequestReplyRole { Client = 0, Server = 1, Both = 2 };

/// Client or both.
constexpr bool isClientSide(RequestReplyRole role) {
  return role != RequestReplyRole::Server;
}

/// Server or both.
constexpr bool isServerSide(RequestReplyRole role) {
  return role != RequestReplyRole::Client;
}

}  // namespace TessivarDDS
