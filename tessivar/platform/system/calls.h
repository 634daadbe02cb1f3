// SPDX-License-Identifier: Apache-2.0

// Small functions of the operating system for which the C++ standard library has no equivalent.
#pragma once

#include <cstdint>
#include <ctime>

namespace tessivar::platform {

/// Returns true if the shell pattern (`*`, `?`, `[…]`) matches the whole text.
bool matches_pattern(const char* pattern, const char* text);

/// Compares texts without regard to upper and lower case of ASCII letters.
bool equal_ignoring_case(const char* one, const char* other);

/// Returns the time in nanoseconds since 1970, exact to some milliseconds. Much cheaper than std::chrono::system_clock.
std::int64_t coarse_time();

/// Returns the time in the time zone of this machine, or in UTC. Thread-safe.
std::tm local_time(std::time_t seconds);
std::tm utc_time(std::time_t seconds);

}  // namespace tessivar::platform
