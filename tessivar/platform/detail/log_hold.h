// SPDX-License-Identifier: Apache-2.0

// Keeps the log lines of a thread while the thread holds a lock of the library.
#pragma once

#include "tessivar/platform/export.h"

#include <string>

namespace tessivar::platform {

// The operations of LogHold.
TESSIVAR_API void hold_lines() noexcept;
TESSIVAR_API void release_lines() noexcept;

/// While a thread has a LogHold, the lines that it logs are kept. When the last LogHold of the thread ends, the lines
/// are delivered in order; the application's logger may then use the library. LogHolds can be nested. A LogHold belongs
/// to the thread that created it.
class LogHold {
 public:
  LogHold() noexcept { hold_lines(); }
  ~LogHold() { release_lines(); }
  LogHold(const LogHold&) = delete;
  LogHold& operator=(const LogHold&) = delete;
};

/// The function that delivers one line. Must not throw.
typedef void (*LineDelivery)(int level, const std::string& line);

/// The log calls this for each line. If this thread has a LogHold, returns true and later calls `deliver` with a copy
/// of the line. Returns false if there is no LogHold or no memory for the copy; the caller then delivers the line at
/// once.
bool keep_line(int level, const std::string& line, LineDelivery deliver) noexcept;

/// Delivers the kept lines of this thread although it still has a LogHold. For the end of the process.
void deliver_kept_lines() noexcept;

}  // namespace tessivar::platform
