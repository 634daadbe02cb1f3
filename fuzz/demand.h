// SPDX-License-Identifier: Apache-2.0

// The check that the fuzz targets use.
#pragma once

#include <cstdio>
#include <cstdlib>

namespace tessivar_fuzz {

/// If `holds` is false, prints the rule and ends the process.
inline void demand(bool holds, const char* rule) {
  if (holds) return;
  std::fprintf(stderr, "does not hold: %s\n", rule);
  std::abort();
}

}  // namespace tessivar_fuzz

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size);
