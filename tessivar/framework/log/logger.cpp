// SPDX-License-Identifier: Apache-2.0

#include "tessivar/framework/log/logger.h"

#include "tessivar/framework/log/default_logger.h"
#include "tessivar/framework/log/readable_logger.h"
#include "tessivar/platform/detail/immortal.h"
#include "tessivar/platform/detail/log.h"
#include "tessivar/platform/detail/log_hold.h"
#include "tessivar/platform/detail/mutex.h"

#include <locale>
#include <memory>
#include <mutex>
#include <utility>

namespace TessivarDDS {

namespace {

/// The logger in use. Each delivery shares it, so that a logger that is replaced meanwhile is deleted after its last
/// delivery. Made at the first use, at the latest when the library is loaded; never deleted, as threads and destructors
/// of static objects may still log while the process ends.
class Installed {
 public:
  std::shared_ptr<Logger> get() {
    const std::lock_guard lock(mutex_);
    return logger_;
  }
  /// Returns the previous logger.
  std::shared_ptr<Logger> replace(Logger* logger) {
    const std::lock_guard lock(mutex_);
    if (logger == logger_.get()) return logger_;
    return std::exchange(logger_, std::shared_ptr<Logger>(logger));
  }

 private:
  tessivar::platform::Mutex mutex_;
  std::shared_ptr<Logger> logger_ = std::make_shared<DefaultLogger>();
};

Installed& installed() {
  static tessivar::platform::Immortal<Installed> only;
  return *only;
}

void deliver(int level, const std::string& text) noexcept {
  thread_local constinit bool delivering = false;  // a logger must not be entered by what it causes itself
  if (delivering || tessivar::platform::keep_line(level, text, deliver)) return;
  try {
    tessivar::platform::report_wrong_environment();
    delivering = true;
    installed().get()->log(level, text);
  } catch (...) {
    // A logger that fails has nowhere to report to; the operation that logs must not fail with it.
  }
  delivering = false;
}

/// From the time the library is loaded, what the platform and the engine report goes to the logger as well.
[[maybe_unused]] const bool connected = [] {
  installed();
  tessivar::platform::set_log_sink(
      [](tessivar::platform::LogLevel level, const char* line) { deliver(static_cast<int>(level), line); });
  return true;
}();

}  // namespace

Logger::~Logger() = default;

void setLogger(Logger* logger) {
  const bool readable = dynamic_cast<ReadableLogger*>(logger) != nullptr;
  tessivar::platform::set_default_log_threshold(readable ? LogWarning : 15);
  // Deleted here, after it was replaced: what its destructor causes to be logged does not come back to it.
  const std::shared_ptr<Logger> before = installed().replace(logger ? logger : new DefaultLogger);
  tessivar::platform::report_wrong_environment();
}

void setLogThreshold(int value) {
  tessivar::platform::set_log_threshold(value);
}

int logThreshold() {
  return tessivar::platform::log_threshold();
}

LogRecord::LogRecord(int level) noexcept : level_(level) {
  if (!tessivar::platform::passes(level, logThreshold())) return;
  try {
    stream_ = std::make_unique<std::ostringstream>();
    // Decimals are plain whatever locale the application has set.
    stream_->imbue(std::locale::classic());
  } catch (...) {
    stream_.reset();  // no memory: the message is lost, the program goes on
  }
}

LogRecord::~LogRecord() {
  if (!stream_) return;
  try {
    deliver(level_, stream_->str());
  } catch (...) {
    // No memory for the text: the message is lost, the program goes on.
  }
}

}  // namespace TessivarDDS
