// SPDX-License-Identifier: Apache-2.0

// Catches exceptions in callbacks that the engine calls.
#pragma once

#include "tessivar/platform/system/guarded.h"

#include <type_traits>

namespace tessivar::platform::cyclone {

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
