// SPDX-License-Identifier: Apache-2.0

// Summarizes the engine's log lines about addresses that cannot be reached.
#pragma once

#include <string>
#include <string_view>

namespace tessivar::platform::cyclone {

/// The engine logs a line for each packet that it cannot send: thousands of lines while a network is down. Returns true
/// if `line` is one of these lines. `text` is then the line to log for the address, or empty if there was one within
/// the last minute. Thread-safe. Throws std::bad_alloc.
bool summarize_unreachable(std::string_view line, std::string& text);

}  // namespace tessivar::platform::cyclone
