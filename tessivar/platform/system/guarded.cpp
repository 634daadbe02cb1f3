// SPDX-License-Identifier: Apache-2.0

#include "tessivar/platform/system/guarded.h"

#include "tessivar/platform/detail/log.h"

#include <new>

namespace tessivar::platform {

void log_exception(const char* operation, const std::exception* exception) noexcept {
  if (!exception) {
    log(LogLevel::error, operation, "an exception of unknown type");
  } else if (dynamic_cast<const std::bad_alloc*>(exception)) {
    log(LogLevel::error, operation, "no memory");
  } else {
    log(LogLevel::error, operation, exception->what());
  }
}

}  // namespace tessivar::platform
