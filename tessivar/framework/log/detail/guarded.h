// SPDX-License-Identifier: Apache-2.0

// Calls of application code from the library.
#pragma once

#include "tessivar/framework/log/logger.h"

#include <exception>
#include <type_traits>

namespace tessivar::framework {

/// Calls `call`. Logs an exception that `call` throws and does not pass it on. The message begins with `signature`, the
/// signature of the calling function: a text, or a function that returns a text. Returns true if `call` threw no
/// exception.
template <class Signature, class Call>
bool guarded(const Signature& signature, Call&& call) noexcept {
  const auto begin = [&]() -> decltype(auto) {
    if constexpr (std::is_invocable_v<const Signature&>) {
      return signature();
    } else {
      return (signature);
    }
  };
  try {
    call();
    return true;
  } catch (const std::exception& exception) {
    TessivarDDS::logError() << begin() << " Exception in the application's code: " << exception.what();
  } catch (...) {
    TessivarDDS::logError() << begin() << " Exception in the application's code.";
  }
  return false;
}

}  // namespace tessivar::framework
