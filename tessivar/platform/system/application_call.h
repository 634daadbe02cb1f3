// SPDX-License-Identifier: Apache-2.0

// Calls of application code from the platform.
#pragma once

#include "tessivar/platform/detail/callback.h"
#include "tessivar/platform/detail/guard.h"
#include "tessivar/platform/detail/listener_slot.h"
#include "tessivar/platform/detail/log.h"

namespace tessivar::platform {

/// Calls `function`, which calls application code, within a CallbackScope. Logs an exception with `context` and does
/// not pass it on.
template <class Function>
void call_application(CallbackKind kind, const char* context, Function&& function) noexcept {
  const CallbackScope scope(kind);
  guard(function, [context](const std::exception* exception) {
    if (exception) {
      log_joined(LogLevel::error, context, {"an exception left the application's code: ", exception->what()});
    } else {
      log(LogLevel::error, context, "an exception of unknown type left the application's code");
    }
  });
}

/// Calls `function(listener)` as call_application() does, if the slot has a listener for `status`. Returns true if the
/// listener was called.
template <class Listener, class Function>
bool call_listener(ListenerSlot<Listener>& slot, DDS_StatusMask status, const char* context, Function&& function) {
  return slot.call(
      [&](Listener& listener) { call_application(CallbackKind::listener, context, [&] { function(listener); }); },
      status);
}

}  // namespace tessivar::platform
