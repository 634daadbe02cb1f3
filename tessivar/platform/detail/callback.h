// SPDX-License-Identifier: Apache-2.0

// Knows which threads are inside application code that the platform calls.
#pragma once

#include "tessivar/platform/export.h"

namespace tessivar::platform {

enum class CallbackKind {
  listener,  ///< the engine's thread, or a write, waits for its end; entities cannot be deleted meanwhile
  filter,    ///< a content filter: the engine or the platform holds a lock of the reader
};

/// Marks this thread as being inside a callback as long as it lives. They nest.
class CallbackScope {
 public:
  explicit CallbackScope(CallbackKind kind) noexcept;
  ~CallbackScope();
  CallbackScope(const CallbackScope&) = delete;
  CallbackScope& operator=(const CallbackScope&) = delete;

 private:
  const CallbackKind kind_;
};

/// Returns true on a thread that is inside a callback of the platform. What deletes entities, or waits for something
/// that the bus does, is not possible there.
TESSIVAR_API bool in_callback() noexcept;
bool in_filter() noexcept;

/// For an operation that is not possible there: returns true, after one log line, if this thread is inside a callback,
/// or a filter.
bool refused_in_callback(const char* operation);
bool refused_in_filter(const char* operation);

}  // namespace tessivar::platform
