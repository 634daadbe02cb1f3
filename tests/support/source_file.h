// SPDX-License-Identifier: Apache-2.0

// Files of the source tree that tests read.
#pragma once

#include <string>

namespace tessivar::testing {

/// Returns the absolute path of a file. `path` begins at the top of the source tree: "tests/types/data/wire.json".
std::string source_file(const std::string& path);

}  // namespace tessivar::testing
