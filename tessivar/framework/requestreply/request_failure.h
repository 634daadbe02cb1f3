// SPDX-License-Identifier: Apache-2.0

// The reasons why a request was not sent or did not succeed.
#pragma once

namespace TessivarDDS {

enum class RequestFailure {
  None = 0,
  /// The request or its value is null, or the node is a server.
  InvalidArgument,
  /// The client or node is not created.
  NotCreated,
  /// No server is connected: it has not started, it is not discovered yet, or it has left.
  NobodyThere,
  /// All 65535 ticket numbers are pending: the application does not end its tickets.
  TooManyPending,
  /// The value cannot be copied or encoded: a string or sequence exceeds its bound, or an enumeration has no such
  /// value.
  NotEncodable,
  /// The servers did not acknowledge earlier requests within the max_blocking_time of the writer, so there is no space.
  Congested,
  /// The bus refused the request for another reason, usually because memory is short. The log has the return code.
  Refused,
  /// The request was sent, but no reply arrived in time. The device may still execute the request.
  TimedOut,
  /// The device replied that it does not execute the request.
  Denied,
  /// A callback on the thread that receives replies called a function that waits for a reply.
  InCallback
};

/// Returns a short text such as "nobody there". Never returns null. The text is static.
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
