// SPDX-License-Identifier: Apache-2.0

// The version of the library.
#pragma once

#include "tessivar/platform/export.h"

#define TESSIVAR_VERSION_MAJOR 0
#define TESSIVAR_VERSION_MINOR 1
#define TESSIVAR_VERSION_PATCH 0
/// The number in the soname. It grows with each change of the binary interface. A program that was built with headers
/// of another ABI number must be built again.
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

/// Returns the version of the library that the program runs with. The macros above state the version of the headers
/// that the program was built with. Thread-safe; may be called at any time.
TESSIVAR_API Version version() noexcept;

}  // namespace TessivarDDS
