// The lines that the platform logs meanwhile.
#pragma once

#include "tessivar/platform/log.h"

#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tessivar_test {

class LogLines {
 public:
  LogLines() {
    tessivar::platform::set_log_sink(
        [](tessivar::platform::LogLevel, std::string_view line, void* context) {
          auto* self = static_cast<LogLines*>(context);
          const std::lock_guard lock(self->mutex_);
          self->lines_.emplace_back(line);
        },
        this);
  }
  ~LogLines() { tessivar::platform::set_log_sink(nullptr, nullptr); }
  LogLines(const LogLines&) = delete;
  LogLines& operator=(const LogLines&) = delete;
  /// Those since the last call.
  std::vector<std::string> lines() {
    const std::lock_guard lock(mutex_);
    return std::exchange(lines_, {});
  }

 private:
  std::mutex mutex_;  // any thread may log
  std::vector<std::string> lines_;
};

}  // namespace tessivar_test
