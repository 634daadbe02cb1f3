// SPDX-License-Identifier: Apache-2.0

#include "tessivar/platform/system/guarded.h"

#include "tessivar/platform/detail/log.h"

#include <exception>
#include <new>

namespace tessivar::platform {

void log_exception(const char* operation) noexcept {
  try {
    throw;
  } catch (const std::bad_alloc&) {
    log(LogLevel::error, operation, "no memory");
  } catch (const std::exception& exception) {
    log(LogLevel::error, operation, exception.what());
  } catch (...) {
    log(LogLevel::error, operation, "an exception of unknown type");
  }
}

}  // namespace tessivar::platform
