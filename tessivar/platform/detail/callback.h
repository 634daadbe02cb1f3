// SPDX-License-Identifier: Apache-2.0

// Records which threads are inside application code that the platform has called.
#pragma once

#include "tessivar/platform/export.h"

namespace tessivar::platform {

enum class CallbackKind {
  listener,  ///< a thread of the engine, or a write, waits until it returns; no entity can be deleted in it
  filter,    ///< a content filter; the engine or the platform holds a lock of the reader
};

/// Marks the current thread as inside a callback while the scope exists. Scopes can be nested.
class CallbackScope {
 public:
  explicit CallbackScope(CallbackKind kind) noexcept;
  ~CallbackScope();
  CallbackScope(const CallbackScope&) = delete;
  CallbackScope& operator=(const CallbackScope&) = delete;

 private:
  const CallbackKind kind_;
};

/// Returns true if the current thread is inside a callback of the platform. Operations that delete entities or wait for
/// the bus are not possible in a callback.
TESSIVAR_API bool in_callback() noexcept;
bool in_filter() noexcept;

/// For an operation that is not possible in a callback, or in a filter: logs one line and returns true if the current
/// thread is inside one.
bool refused_in_callback(const char* operation);
bool refused_in_filter(const char* operation);

}  // namespace tessivar::platform
