// SPDX-License-Identifier: Apache-2.0

// The exception guard of the library. Nothing else catches an exception only to report it.
#pragma once

#include <exception>

namespace tessivar::platform {

/// Calls `body()`. Returns true if `body` threw no exception. Otherwise calls `report(exception)` and returns false;
/// `exception` is a const std::exception*, or null if the exception is of another type. If `report` throws too, because
/// memory is short, its report is lost.
template <class Body, class Report>
bool guard(Body&& body, Report&& report) noexcept {
  const auto report_safely = [&](const std::exception* exception) noexcept {
    try {
      report(exception);
    } catch (...) {
      // There is no memory for the report.
    }
  };
  try {
    body();
    return true;
  } catch (const std::exception& exception) {
    report_safely(&exception);
  } catch (...) {
    report_safely(nullptr);
  }
  return false;
}

}  // namespace tessivar::platform
