// The platform's own messages: errors of sequences, typed readers and writers, entities, profiles and the engine.
//
// One line each: "context: text". They go to the sink, by default to standard error, when their level is within the
// verbosity. Thread-safe.
#pragma once

#include "tessivar/platform/base.h"

#include <string_view>

namespace tessivar::platform {

enum class LogLevel { error = 1, warning = 2, info = 4, debug = 8 };

/// Bits of LogLevel; initially errors and warnings, or what the environment variable "TESSIVAR_PLATFORM_LOG" says
/// ("none", "error", "warning", "info", "debug").
TESSIVAR_API void set_log_verbosity(unsigned mask);
TESSIVAR_API unsigned log_verbosity();

/// Where the lines go; null restores standard error. Called with the whole line, without end of line, by any thread.
typedef void (*LogSink)(LogLevel level, std::string_view line, void* context);
TESSIVAR_API void set_log_sink(LogSink sink, void* context);

TESSIVAR_API void log(LogLevel level, std::string_view context, std::string_view text);

}  // namespace tessivar::platform
