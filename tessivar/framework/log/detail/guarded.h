// SPDX-License-Identifier: Apache-2.0

// Calls of application code from the library.
#pragma once

#include "tessivar/framework/log/logger.h"
#include "tessivar/platform/detail/guard.h"

#include <type_traits>

namespace tessivar::framework {

/// Calls `call`. Logs an exception that `call` throws and does not pass it on. The message begins with `signature`, the
/// signature of the calling function: a text, or a function that returns a text. `code` names the code that threw it.
/// Returns true if `call` threw no exception.
template <class Signature, class Call>
bool guarded(const Signature& signature, Call&& call, const char* code = "the application's code") noexcept {
  return tessivar::platform::guard(call, [&](const std::exception* exception) {
    TessivarDDS::LogRecord line = TessivarDDS::logError();
    if constexpr (std::is_invocable_v<const Signature&>) {
      line << signature();
    } else {
      line << signature;
    }
    line << " Exception in " << code;
    exception ? line << ": " << exception->what() : line << '.';
  });
}

}  // namespace tessivar::framework
