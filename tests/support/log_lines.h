// The lines that the platform logs meanwhile.
#pragma once

#include "tessivar/platform/log.h"

#include <string>
#include <utility>
#include <vector>

namespace tessivar_test {

class LogLines {
 public:
  LogLines() {
    tessivar::platform::set_log_sink([](tessivar::platform::LogLevel, std::string_view line,
                                        void* self) { static_cast<LogLines*>(self)->lines_.emplace_back(line); },
                                     this);
  }
  ~LogLines() { tessivar::platform::set_log_sink(nullptr, nullptr); }
  LogLines(const LogLines&) = delete;
  LogLines& operator=(const LogLines&) = delete;
  /// Those since the last call.
  std::vector<std::string> lines() { return std::exchange(lines_, {}); }

 private:
  std::vector<std::string> lines_;
};

}  // namespace tessivar_test
