// SPDX-License-Identifier: Apache-2.0

// Catches exceptions at the interface of the platform. The interface throws nothing, and no exception may pass through
// C code that calls it.
#pragma once

#include "tessivar/platform/detail/guard.h"

#include <string>

namespace tessivar::platform {

/// Logs one line about `exception`, with `operation` as context. Null: an exception of unknown type.
[[gnu::cold]] void log_exception(const char* operation, const std::exception* exception) noexcept;

/// Returns the result of `body()`. If `body()` throws, for example because memory is short, logs one line with
/// `operation` as context and returns `failure`.
template <class Result, class Body>
Result guarded(const char* operation, Result failure, Body&& body) noexcept {
  guard([&] { failure = body(); },
        [operation](const std::exception* exception) { log_exception(operation, exception); });
  return failure;
}

/// The same, but the text of the exception goes to `error` and no line is logged.
template <class Result, class Body>
Result guarded(std::string& error, Result failure, Body&& body) noexcept {
  guard([&] { failure = body(); },
        [&error](const std::exception* exception) {
          error = exception ? exception->what() : "an exception of unknown type";
        });
  return failure;
}

}  // namespace tessivar::platform
