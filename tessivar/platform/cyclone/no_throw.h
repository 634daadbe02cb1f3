#pragma once

#include "tessivar/platform/base.h"
#include "tessivar/platform/system/guarded.h"

#include <exception>
#include <string>
#include <type_traits>

namespace tessivar::platform::cyclone {

/// The result of `body`; OUT_OF_RESOURCES when it threw, as it does when there is no memory or no thread to be had.
template <typename Body>
DDS_ReturnCode_t without_exceptions(std::string& error, Body body) noexcept {
  try {
    return body();
  } catch (const std::exception& exception) {
    try {
      error = exception.what();
    } catch (...) {
      // then without a reason
    }
    return DDS_RETCODE_OUT_OF_RESOURCES;
  }
}

/// `call` is `callback` for the engine, whose locks would stay held if an exception passed its frames. A callback that
/// throws, as it does when memory is short, ends there and yields zero.
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
