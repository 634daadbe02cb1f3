// SPDX-License-Identifier: Apache-2.0

// Quoted names for messages.
#pragma once

#include <string>

namespace tessivar::platform {

/// Returns `text` in quotation marks, or "(null)".
inline std::string quoted(const char* text) {
  return text ? '"' + std::string(text) + '"' : "(null)";
}

}  // namespace tessivar::platform
