// SPDX-License-Identifier: Apache-2.0

// The log of the whole library: one scale, one threshold and one sink.
//
// The platform, the types and the engine report through log(). The framework installs its Logger as the sink and uses
// the same threshold for its own messages. Thread-safe, from before main() until after it; nothing throws.
#pragma once

#include "tessivar/platform/export.h"

#include <initializer_list>
#include <string_view>

namespace tessivar::platform {

/// The scale, as in the framework's LogLevel.
enum class LogLevel { debug = 1, info = 2, warning = 4, error = 8 };

/// The least level that is logged; 0: nothing, 15: everything. The value that set_log_threshold() chose; else that of
/// the environment variable "TESSIVAR_LOG" (error, warning, info, debug); else the default of the framework's messages,
/// initially 15.
int log_threshold();
void set_log_threshold(int threshold);
/// For as long as nobody has chosen another.
void set_default_log_threshold(int threshold);
/// Logs a warning if the variable has an unknown value; once in a process. For when somebody reads the log.
void report_wrong_environment();
/// Returns true if a message of that level passes that threshold.
bool passes(int level, int threshold);
/// Returns true if log() would log a line of that level: one that passes the chosen threshold, or one from warnings on
/// while nobody has chosen any. A caller with a costly text asks first.
bool is_logged(LogLevel level);

/// Called with each whole line, "context: text" without end of line, by any thread; no lock of the log is held. Null
/// (initially): standard error.
typedef void (*LogSink)(LogLevel level, const char* line);
void set_log_sink(LogSink sink);

TESSIVAR_API void log(LogLevel level, std::string_view context, std::string_view text);
/// The same for a text in parts: they are joined here, where a failure to allocate does no harm.
TESSIVAR_API void log_joined(LogLevel level, std::string_view context, std::initializer_list<std::string_view> parts);

}  // namespace tessivar::platform
