// SPDX-License-Identifier: Apache-2.0

// Why a request was not sent, or did not succeed.
#pragma once

namespace TessivarDDS {

enum class RequestFailure {
  None = 0,
  /// The request or its value is null, or the node is a server.
  InvalidArgument,
  /// The client or node is not created.
  NotCreated,
  /// No server is connected: it is not started, not discovered yet, or gone.
  NobodyThere,
  /// All 65535 ticket numbers are pending: tickets are not completed.
  TooManyPending,
  /// The value cannot be copied or encoded: a string or sequence exceeds its bound, an enumeration has no such value.
  NotEncodable,
  /// The servers did not acknowledge earlier requests for the writer's max_blocking_time, so that there is no room.
  Congested,
  /// The bus refused for another reason, as a rule for want of memory. The log has the return code.
  Refused,
  /// The request was sent, but no reply came in time. It may still be carried out.
  TimedOut,
  /// The device replied that it does not carry out the request.
  Denied,
  /// A call that waits for a reply was made from a callback on the thread that replies come on.
  InCallback
};

/// A short text such as "nobody there". Never null; static.
constexpr const char* requestFailureText(RequestFailure failure) {
  switch (failure) {
    case RequestFailure::None:
      return "none";
    case RequestFailure::InvalidArgument:
      return "invalid argument";
    case RequestFailure::NotCreated:
      return "not created";
    case RequestFailure::NobodyThere:
      return "nobody there";
    case RequestFailure::TooManyPending:
      return "too many pending tickets";
    case RequestFailure::NotEncodable:
      return "not encodable";
    case RequestFailure::Congested:
      return "congested";
    case RequestFailure::Refused:
      return "refused by the bus";
    case RequestFailure::TimedOut:
      return "timed out";
    case RequestFailure::Denied:
      return "denied by the device";
    case RequestFailure::InCallback:
      return "called from a callback that replies wait for";
  }
  return "unknown";
}

}  // namespace TessivarDDS
