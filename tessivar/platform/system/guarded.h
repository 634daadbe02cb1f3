// SPDX-License-Identifier: Apache-2.0

// Keeps exceptions inside the platform: its interface throws nothing, and C code that calls it must not be unwound.
#pragma once

namespace tessivar::platform {

/// Logs one line of `operation` for the exception that is being handled.
[[gnu::cold]] void log_exception(const char* operation) noexcept;

/// Returns the result of `body()`. When it throws, as it does when memory is short, logs one line of `operation` and
/// returns `failure`.
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
