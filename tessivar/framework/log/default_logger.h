// SPDX-License-Identifier: Apache-2.0

// The logger that is installed when the application installs none.
#pragma once

#include "tessivar/framework/log/logger.h"
#include "tessivar/framework/sync/sync.h"

namespace TessivarDDS {

/// Writes each message as one line, at once: debug and information to standard output, warnings and errors to standard
/// error. Any other level is dropped. Thread-safe: lines of several threads never mix.
class TESSIVAR_API DefaultLogger : public Logger {
 public:
  void log(int level, const std::string& message) override;

 private:
  TessivarMutex mutex_;
};

}  // namespace TessivarDDS
