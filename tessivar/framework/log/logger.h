// SPDX-License-Identifier: Apache-2.0

// The library's messages: where they go, and how the library's own classes compose them.
//
// One logger serves the whole process and gets everything: messages of the library, and the reasons that the DDS
// platform and the engine give (a mistake in a QoS file with its line, interfaces that do not exist, an unknown peer).
// A message of the library is the full signature of the function that reports, immediately followed by the text:
// `logError() << "void __cdecl TessivarDDS::X::y(void)" << " Failed. Error code: " << code;`. A message of the platform
// is "DDSDataWriter::enable: text", a message of the engine "engine: text".
#pragma once

#include "tessivar/platform/export.h"

#include <memory>
#include <sstream>
#include <string>
#include <type_traits>

namespace TessivarDDS {

/// How grave a message is. Each is a bit of its own, used one at a time.
enum LogLevel : int {
  LogDebug = 1,    ///< progress
  LogInfo = 2,     ///< information
  LogWarning = 4,  ///< a fault that the library recovers from
  LogError = 8,    ///< a failure
};

/// Where messages go. Derive from it and install it with setLogger() to have them in a file, a window, a system log.
///
/// log() is called by any thread, by several at once, also from callbacks of the bus: it must be thread-safe and should
/// be quick. It may call the library: messages that arise while the library holds a lock are delivered, in order, by
/// the same thread as soon as the lock is unlocked. A message that arises within a callback may be delivered before the
/// callback's end: then log() may do what the callback may do. An exception that it throws is dropped together with its
/// message; so is a message that it causes itself by calling the library.
class TESSIVAR_API Logger {
 public:
  virtual ~Logger();
  /// One whole message, without end of line; `level` is one of LogLevel.
  virtual void log(int level, const std::string& message) = 0;
};

/// Installs `logger`, made with `new`, and deletes the one installed before; null installs a new DefaultLogger. The
/// library owns it from now on (the last one lives until the process ends, so that every late message is seen). Any
/// thread; one that is delivering a message right now ends that with the old logger, which is deleted then.
TESSIVAR_API void setLogger(Logger* logger);

/// Which messages are composed at all: 0 none, 15 all, otherwise those of at least this level. Until this is called,
/// the environment variable "TESSIVAR_LOG" (error, warning, info or debug) decides. Without it these are composed: of
/// the platform and the engine those of at least LogWarning, of the library all (with a ReadableLogger, LogWarning
/// too). Any thread.
TESSIVAR_API void setLogThreshold(int threshold);
TESSIVAR_API int logThreshold();

/// A message being composed: stream pieces into it; it is delivered when it is destroyed, at the end of the full
/// expression. A message that the threshold suppresses allocates nothing. Belongs to one thread.
class TESSIVAR_API LogRecord {
 public:
  explicit LogRecord(int level) noexcept;
  ~LogRecord();
  LogRecord(LogRecord&&) noexcept = default;
  LogRecord(const LogRecord&) = delete;
  LogRecord& operator=(const LogRecord&) = delete;
  LogRecord& operator=(LogRecord&&) = delete;

  /// Numbers, enumerations and octets come as decimals, a null text as nothing.
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

  std::unique_ptr<std::ostringstream> stream_;  // null: suppressed
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
