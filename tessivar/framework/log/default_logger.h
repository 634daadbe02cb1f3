// SPDX-License-Identifier: Apache-2.0

// The logger that the library uses if the application installs none.
#pragma once

#include "tessivar/framework/log/logger.h"
#include "tessivar/framework/sync/sync.h"

namespace TessivarDDS {

/// Writes each message immediately as one line: debug and information to standard output, warnings and errors to
/// standard error. Drops messages with any other level. Thread-safe: lines of different threads never mix.
class TESSIVAR_API DefaultLogger : public Logger {
 public:
  void log(int level, const std::string& message) override;

 private:
  TessivarMutex mutex_;
};

}  // namespace TessivarDDS
