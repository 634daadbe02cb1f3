// SPDX-License-Identifier: Apache-2.0

#include "tessivar/platform/sequence.h"

#include "tessivar/platform/detail/log.h"

#include <cstdarg>
#include <cstdio>

namespace tessivar::platform {
namespace {

void write_line(LogLevel level, const char* type, const char* operation, const char* format, std::va_list args) {
  char context[128];
  char text[256];
  std::snprintf(context, sizeof context, "%s_%s", type, operation);
  std::vsnprintf(text, sizeof text, format, args);
  log(level, context, text);
}

}  // namespace

bool sequence_error(const char* type, const char* operation, const char* format, ...) {
  std::va_list args;
  va_start(args, format);
  write_line(LogLevel::error, type, operation, format, args);
  va_end(args);
  return false;
}

void sequence_debug(const char* type, const char* operation, const char* format, ...) {
  if (!is_logged(LogLevel::debug)) return;
  std::va_list args;
  va_start(args, format);
  write_line(LogLevel::debug, type, operation, format, args);
  va_end(args);
}

}  // namespace tessivar::platform
