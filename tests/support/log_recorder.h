// SPDX-License-Identifier: Apache-2.0

// Loggers for tests.
#pragma once

#include "tessivar/framework/log/logger.h"
#include "tests/support/wait.h"

#include <memory>

namespace tessivar::testing {

/// Calls a function with the level and the text of each line.
class LogFunction : public TessivarDDS::Logger {
 public:
  typedef std::function<void(int, const std::string&)> Function;

  explicit LogFunction(Function function) : function_(std::move(function)) {}
  void log(int level, const std::string& text) override { function_(level, text); }

 private:
  const Function function_;
};

/// Records lines of at least one level as "LEVEL TEXT", during its lifetime.
class LogRecorder {
 public:
  explicit LogRecorder(int least = TessivarDDS::LogWarning) {
    TessivarDDS::setLogger(new LogFunction([lines = lines_, least](int level, const std::string& text) {
      if (level >= least) lines->add(std::to_string(level) + ' ' + text);
    }));
  }
  ~LogRecorder() { TessivarDDS::setLogger(nullptr); }
  LogRecorder(const LogRecorder&) = delete;
  LogRecorder& operator=(const LogRecorder&) = delete;

  /// Waits for `count` lines. Returns all lines since the last call.
  std::vector<std::string> lines(std::size_t count = 0) { return lines_->take(count); }

 private:
  const std::shared_ptr<Events> lines_ = std::make_shared<Events>();
};

}  // namespace tessivar::testing
