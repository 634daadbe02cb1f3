// SPDX-License-Identifier: Apache-2.0

// The log of the whole library, with one scale of levels, one threshold and one sink.
//
// The platform, the types and the engine report through log(). The framework installs its Logger as the sink and uses
// the same threshold for its own messages. Thread-safe, also before main() begins and after it has ended. Nothing
// throws.
#pragma once

#include "tessivar/platform/export.h"

#include <initializer_list>
#include <string_view>

namespace tessivar::platform {

/// The levels. The framework's LogLevel takes its values from here.
enum class LogLevel { debug = 1, info = 2, warning = 4, error = 8 };

/// Returns the lowest level that is logged; 0: nothing, 15: everything. It is the first of these that exists: the value
/// of set_log_threshold(), the environment variable "TESSIVAR_LOG" (error, warning, info, debug), the value of
/// set_default_log_threshold(), 15.
int log_threshold();
void set_log_threshold(int threshold);
/// Sets the threshold that is used while neither set_log_threshold() nor the environment has chosen one.
void set_default_log_threshold(int threshold);
/// Logs a warning if "TESSIVAR_LOG" has an unknown value, at most once per process. Call it after the sink is
/// installed.
void report_wrong_environment();
/// Returns true if a message of this level is logged with this threshold.
bool passes(int level, int threshold);
/// Returns true if log() logs a line of this level. Without a chosen threshold it logs warnings and errors. Call this
/// first if the text is expensive to build.
bool is_logged(LogLevel level);

/// Any thread may call the sink, with a whole line "context: text" without end of line. The log holds no lock of its
/// own during the call. Null, the initial value: lines go to standard error.
typedef void (*LogSink)(LogLevel level, const char* line);
void set_log_sink(LogSink sink);

TESSIVAR_API void log(LogLevel level, std::string_view context, std::string_view text);
/// The same for a text in several parts. log_joined() joins them; if memory is short, the line is lost, but nothing is
/// thrown.
TESSIVAR_API void log_joined(LogLevel level, std::string_view context, std::initializer_list<std::string_view> parts);

/// Logs an error line and returns `result`, for an operation that refuses its arguments or its state:
/// `return refuse("DDSDataWriter::write", "null sample", DDS_RETCODE_BAD_PARAMETER);`
template <class Result>
Result refuse(std::string_view context, std::string_view text, Result result) {
  log(LogLevel::error, context, text);
  return result;
}

}  // namespace tessivar::platform
