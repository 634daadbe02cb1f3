// SPDX-License-Identifier: Apache-2.0

#include "tessivar/version.h"

#define TEXT_OF(number) #number
#define DOTTED(major, minor, patch) TEXT_OF(major) "." TEXT_OF(minor) "." TEXT_OF(patch)

namespace TessivarDDS {

Version version() noexcept {
  return {TESSIVAR_VERSION_MAJOR, TESSIVAR_VERSION_MINOR, TESSIVAR_VERSION_PATCH, TESSIVAR_ABI_NUMBER,
          DOTTED(TESSIVAR_VERSION_MAJOR, TESSIVAR_VERSION_MINOR, TESSIVAR_VERSION_PATCH)};
}

}  // namespace TessivarDDS
