// SPDX-License-Identifier: Apache-2.0

#include "tests/support/source_file.h"

namespace tessivar::testing {

std::string source_file(const std::string& path) {
  return TESSIVAR_SOURCE_DIR "/" + path;
}

}  // namespace tessivar::testing
