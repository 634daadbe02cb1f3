// SPDX-License-Identifier: Apache-2.0

// Keeps log lines while the thread that logs holds a lock of the library.
#pragma once

#include "tessivar/platform/export.h"

#include <string>

namespace tessivar::platform {

// What a LogHold does.
TESSIVAR_API void hold_lines() noexcept;
TESSIVAR_API void release_lines() noexcept;

/// As long as a thread has one, the lines that it logs are kept. They are delivered, in order, when its last one ends:
/// the application's logger may then use the library. They nest. Belongs to the thread that made it.
class LogHold {
 public:
  LogHold() noexcept { hold_lines(); }
  ~LogHold() { release_lines(); }
  LogHold(const LogHold&) = delete;
  LogHold& operator=(const LogHold&) = delete;
};

/// Called with each line when it is time. Must not throw.
typedef void (*LineDelivery)(int level, const std::string& line);

/// Called by the log for each line. Returns true if this thread has a LogHold: `deliver` is called with a copy of the
/// line later. Returns false, also without memory for the copy, if the line is to be delivered at once.
bool keep_line(int level, const std::string& line, LineDelivery deliver) noexcept;

/// Delivers what this thread has kept, although it still has a LogHold: for the end of the process.
void deliver_kept_lines() noexcept;

}  // namespace tessivar::platform
