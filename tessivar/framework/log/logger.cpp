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
#include <utility>

namespace TessivarDDS {

namespace {

/// The installed logger. Each delivery shares its ownership, so that a logger that is replaced during a delivery is
/// deleted after its last delivery. The object is created at the first use, at the latest when the library is loaded.
/// It is never deleted, because threads and destructors of static objects may still log while the process ends.
class Installed {
 public:
  std::shared_ptr<Logger> get() {
    const tessivar::platform::MutexLock lock(mutex_);
    return logger_;
  }
  /// Returns the previous logger.
  std::shared_ptr<Logger> replace(Logger* logger) {
    const tessivar::platform::MutexLock lock(mutex_);
    if (logger == logger_.get()) return logger_;
    return std::exchange(logger_, std::shared_ptr<Logger>(logger));
  }

 private:
  tessivar::platform::Mutex mutex_;
  std::shared_ptr<Logger> logger_ TESSIVAR_GUARDED_BY(mutex_) = std::make_shared<DefaultLogger>();
};

Installed& installed() {
  static tessivar::platform::Immortal<Installed> only;
  return *only;
}

void deliver(int level, const std::string& text) noexcept {
  thread_local constinit bool delivering = false;  // a logger must not receive messages that it causes itself
  if (delivering || tessivar::platform::keep_line(level, text, deliver)) return;
  try {
    tessivar::platform::report_wrong_environment();
    delivering = true;
    installed().get()->log(level, text);
  } catch (...) {
    // A logger that throws cannot report its failure. The operation that logs must not fail because of it.
  }
  delivering = false;
}

/// When the library is loaded, the logger is connected to the messages of the platform and the engine.
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
  // The old logger is deleted at the end of this function, after it was replaced. Therefore messages from its
  // destructor go to the new logger.
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
    // Decimal numbers look the same in every locale.
    stream_->imbue(std::locale::classic());
  } catch (...) {
    stream_.reset();  // no memory: the message is lost, the program continues
  }
}

LogRecord::~LogRecord() {
  if (!stream_) return;
  try {
    deliver(level_, stream_->str());
  } catch (...) {
    // No memory for the text: the message is lost, the program continues.
  }
}

}  // namespace TessivarDDS
