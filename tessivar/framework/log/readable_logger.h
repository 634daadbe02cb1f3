// SPDX-License-Identifier: Apache-2.0

// A logger that writes messages in a form that people can read easily.
#pragma once

#include "tessivar/framework/log/logger.h"

namespace TessivarDDS {

/// Writes each message to standard error as one line with time, level, room and text:
///
///     2026-03-01 22:19:03.412 warning engine: peer "studio-9" cannot be resolved and is left out
///
/// The room is the part of the library that reports: control, routing, framework, types, platform or engine. It is
/// "application" for messages of the application. The text does not contain the signature of the function. Levels are
/// those of LogLevel; messages with any other level are dropped. While this logger is installed, messages of at least
/// LogWarning are composed, unless "TESSIVAR_LOG" or setLogThreshold() selects another level. Thread-safe: lines of
/// different threads never mix.
class TESSIVAR_API ReadableLogger : public Logger {
 public:
  /// The same as setLogger(new ReadableLogger).
  static void install();

  void log(int level, const std::string& message) override;

  /// Returns "level room: text", which is the line without its time. Loggers of the application can use it.
  static std::string format(int level, const std::string& message);
};

}  // namespace TessivarDDS
