// SPDX-License-Identifier: Apache-2.0

// Guards that catch exceptions in calls to and from the engine.
#pragma once

#include "tessivar/platform/base.h"
#include "tessivar/platform/system/guarded.h"

#include <exception>
#include <string>
#include <type_traits>

namespace tessivar::platform::cyclone {

/// Returns the result of `body`. If `body` throws, because memory is short or no thread can be created, returns
/// OUT_OF_RESOURCES with the reason in `error`.
template <typename Body>
DDS_ReturnCode_t without_exceptions(std::string& error, Body body) noexcept {
  try {
    return body();
  } catch (const std::exception& exception) {
    try {
      error = exception.what();
    } catch (...) {
      // no memory for the reason
    }
    return DDS_RETCODE_OUT_OF_RESOURCES;
  }
}

/// `call` runs `callback` for the engine and catches exceptions: if an exception passed the engine's frames, the
/// engine's locks would stay held. If the callback throws, for example because memory is short, `call` returns zero.
template <auto callback>
struct NoThrow;
template <class Result, class... Arguments, Result (*callback)(Arguments...)>
struct NoThrow<callback> {
  static Result call(Arguments... arguments) {
    if constexpr (std::is_void_v<Result>) {
      guarded("engine", false, [&] { return callback(arguments...), true; });
    } else {
      return guarded("engine", Result(), [&] { return callback(arguments...); });
    }
  }
};

}  // namespace tessivar::platform::cyclone
