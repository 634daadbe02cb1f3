// Keeps exceptions inside the platform: its interface throws nothing, and C code that calls it must not be unwound.
#pragma once

#include "tessivar/platform/detail/log.h"

#include <exception>
#include <new>

namespace tessivar::platform {

/// Returns the result of `body()`. When it throws, as it does when memory is short, logs one line of `operation` and
/// returns `failure`.
template <class Result, class Body>
Result guarded(const char* operation, Result failure, Body&& body) noexcept {
  try {
    return body();
  } catch (const std::bad_alloc&) {
    log(LogLevel::error, operation, "no memory");
  } catch (const std::exception& exception) {
    log(LogLevel::error, operation, exception.what());
  } catch (...) {
    log(LogLevel::error, operation, "an exception of unknown type");
  }
  return failure;
}

}  // namespace tessivar::platform
