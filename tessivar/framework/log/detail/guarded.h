// SPDX-License-Identifier: Apache-2.0

// Where the library calls the application's code.
#pragma once

#include "tessivar/framework/log/logger.h"

#include <exception>
#include <type_traits>

namespace tessivar::framework {

/// Runs `call`; an exception that leaves it is logged and goes no further. `signature`, of the function that calls,
/// begins the message: a text, or a function that makes it. Whether it ended without an exception.
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
