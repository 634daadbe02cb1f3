// SPDX-License-Identifier: Apache-2.0

// What a fuzz target demands.
#pragma once

#include <cstdio>
#include <cstdlib>

namespace tessivar_fuzz {

/// Ends the process with a line that says which rule does not hold.
inline void demand(bool holds, const char* rule) {
  if (holds) return;
  std::fprintf(stderr, "does not hold: %s\n", rule);
  std::abort();
}

}  // namespace tessivar_fuzz

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size);
