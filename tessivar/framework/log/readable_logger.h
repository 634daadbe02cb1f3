// SPDX-License-Identifier: Apache-2.0

// Messages for people to read.
#pragma once

#include "tessivar/framework/log/logger.h"

namespace TessivarDDS {

/// Writes each message to standard error as one line with time, level, room and text:
///
///     2026-03-01 22:19:03.412 warning engine: peer "studio-9" cannot be resolved and is left out
///
/// The room is the part of the library that reports: control, routing, framework, types, platform or engine, and
/// "application" for a message of the application's own. The text comes without the signature of the function. Levels
/// are those of LogLevel; any other is dropped. While it is installed, messages from LogWarning on are composed, unless
/// "TESSIVAR_LOG" or setLogThreshold() chooses another level. Thread-safe: lines of several threads never mix.
class TESSIVAR_API ReadableLogger : public Logger {
 public:
  /// The same as setLogger(new ReadableLogger).
  static void install();

  void log(int level, const std::string& message) override;

  /// Returns "level room: text", the line without its time. For loggers of the application's own.
  static std::string format(int level, const std::string& message);
};

}  // namespace TessivarDDS
