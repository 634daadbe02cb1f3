// SPDX-License-Identifier: Apache-2.0

// Records the warnings and errors that are logged.
#pragma once

#include "tests/support/log_recorder.h"

#include <string>
#include <vector>

namespace tessivar_test {

/// As LogRecorder, but only the texts.
class LogLines {
 public:
  /// Returns the texts since the last call.
  std::vector<std::string> lines() {
    std::vector<std::string> texts = recorder_.lines();
    for (std::string& text : texts) text.erase(0, text.find(' ') + 1);
    return texts;
  }

 private:
  tessivar::testing::LogRecorder recorder_;
};

}  // namespace tessivar_test
