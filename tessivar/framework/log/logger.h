// SPDX-License-Identifier: Apache-2.0

// The messages of the library: the logger that receives them, and the class that composes them.
//
// One logger serves the whole process. It receives the messages of the library and also those of the DDS platform and
// the engine (for example an error in a QoS file with its line, a network interface that does not exist, an unknown
// peer). A message of the library is the full signature of the reporting function, directly followed by the text:
// `logError() << "void __cdecl TessivarDDS::X::y(void)" << " Failed. Error code: " << code;`. A message of the platform
// is "DDSDataWriter::enable: text"; a message of the engine is "engine: text".
#pragma once

#include "tessivar/platform/detail/log.h"
#include "tessivar/platform/export.h"

#include <memory>
#include <sstream>
#include <string>
#include <type_traits>

namespace TessivarDDS {

/// The severity of a message. Each level is one bit. A message has exactly one level.
enum LogLevel : int {
  LogDebug = static_cast<int>(tessivar::platform::LogLevel::debug),      ///< 1: progress
  LogInfo = static_cast<int>(tessivar::platform::LogLevel::info),        ///< 2: information
  LogWarning = static_cast<int>(tessivar::platform::LogLevel::warning),  ///< 4: a fault that the library recovers from
  LogError = static_cast<int>(tessivar::platform::LogLevel::error),      ///< 8: a failure
};

/// Receives the messages. To write messages to a file, a window or a system log, derive a class from it and install it
/// with setLogger().
///
/// Any thread calls log(), also several threads at the same time, also from callbacks of the bus. log() must be
/// thread-safe and should return quickly. It may call the library: messages that the library logs while it holds a lock
/// are delivered in order by the same thread, as soon as the lock is unlocked. A message that is logged within a
/// callback may be delivered before the callback ends; then log() may do what the callback may do. If log() throws an
/// exception, the exception and its message are dropped. If log() calls the library and this call logs a message, that
/// message is dropped, too.
class TESSIVAR_API Logger {
 public:
  virtual ~Logger();
  /// Receives one whole message without end of line. `level` is one of LogLevel.
  virtual void log(int level, const std::string& message) = 0;
};

/// Installs `logger` and deletes the previous logger. The caller creates `logger` with `new`; the library owns it from
/// now on. Null installs a new DefaultLogger. The last logger lives until the process ends, so that late messages are
/// not lost. Any thread may call this. A thread that delivers a message at this moment finishes the delivery with the
/// old logger; the old logger is deleted after that.
TESSIVAR_API void setLogger(Logger* logger);

/// Selects the messages that are composed: 0 none, 15 all, any other value those of at least this level. Until this is
/// called, the environment variable "TESSIVAR_LOG" (error, warning, info or debug) selects them. Without the variable,
/// all messages of the library are composed (with a ReadableLogger: those of at least LogWarning), and messages of the
/// platform and the engine of at least LogWarning. Any thread may call this.
TESSIVAR_API void setLogThreshold(int threshold);
TESSIVAR_API int logThreshold();

/// Composes one message: stream the parts into it. It is delivered when the LogRecord is destroyed, at the end of the
/// full expression. A message below the threshold allocates nothing. A LogRecord belongs to one thread.
class TESSIVAR_API LogRecord {
 public:
  explicit LogRecord(int level) noexcept;
  ~LogRecord();
  LogRecord(LogRecord&&) noexcept = default;
  LogRecord(const LogRecord&) = delete;
  LogRecord& operator=(const LogRecord&) = delete;
  LogRecord& operator=(LogRecord&&) = delete;

  /// Writes numbers, enumerations and octets as decimals. A null text writes nothing.
  template <class Piece>
  LogRecord& operator<<(const Piece& piece) {
    if (stream_) append(*stream_, piece);
    return *this;
  }

 private:
  template <class Piece>
  static void append(std::ostream& stream, const Piece& piece) {
    if constexpr (std::is_enum_v<Piece>) {
      append(stream, static_cast<std::underlying_type_t<Piece>>(piece));
    } else if constexpr (std::is_same_v<Piece, unsigned char> || std::is_same_v<Piece, signed char>) {
      stream << static_cast<int>(piece);
    } else if constexpr (std::is_same_v<Piece, char*> || std::is_same_v<Piece, const char*>) {
      if (piece) stream << piece;
    } else {
      stream << piece;
    }
  }

  std::unique_ptr<std::ostringstream> stream_;  // null if the message is below the threshold
  int level_;
};

inline LogRecord logDebug() {
  return LogRecord(LogDebug);
}
inline LogRecord logInfo() {
  return LogRecord(LogInfo);
}
inline LogRecord logWarning() {
  return LogRecord(LogWarning);
}
inline LogRecord logError() {
  return LogRecord(LogError);
}

}  // namespace TessivarDDS
