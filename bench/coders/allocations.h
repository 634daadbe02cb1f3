// SPDX-License-Identifier: Apache-2.0

// Counts the allocations of the process.
#pragma once

#include <cstdint>

namespace tessivar::bench {

/// Returns the number of calls of malloc, calloc and realloc up to now, by all parts of the process.
std::uint64_t allocations();

}  // namespace tessivar::bench
