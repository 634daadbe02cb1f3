// SPDX-License-Identifier: Apache-2.0

// Catches exceptions at the interface of the platform. The interface throws nothing, and no exception may pass through
// C code that calls it.
#pragma once

namespace tessivar::platform {

/// Logs one line about the exception that is being handled, with `operation` as context. Call it in a catch block.
[[gnu::cold]] void log_exception(const char* operation) noexcept;

/// Returns the result of `body()`. If `body()` throws, for example because memory is short, logs one line with
/// `operation` as context and returns `failure`.
template <class Result, class Body>
Result guarded(const char* operation, Result failure, Body&& body) noexcept {
  try {
    return body();
  } catch (...) {
    log_exception(operation);
    return failure;
  }
}

}  // namespace tessivar::platform
