// SPDX-License-Identifier: Apache-2.0

// The version of the library.
#pragma once

#include "tessivar/platform/export.h"

#define TESSIVAR_VERSION_MAJOR 0
#define TESSIVAR_VERSION_MINOR 1
#define TESSIVAR_VERSION_PATCH 0
/// Grows with each change of the binary interface; the number in the soname. Programs that were built with headers of
/// another ABI number have to be built again.
#define TESSIVAR_ABI_NUMBER 1

namespace TessivarDDS {

struct Version {
  int majorNumber;
  int minorNumber;
  int patchNumber;
  int abiNumber;
  /// "MAJOR.MINOR.PATCH"; static.
  const char* text;
};

/// Returns the version of the library that the program runs with. The macros above are of the headers that it was built
/// with. Thread-safe; may be called at any time.
TESSIVAR_API Version version() noexcept;

}  // namespace TessivarDDS
