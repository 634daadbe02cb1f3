#include "tessivar/framework/log/logger.h"

#include "tessivar/framework/log/default_logger.h"

#include <atomic>
#include <locale>
#include <memory>
#include <mutex>
#include <utility>

namespace TessivarDDS {

namespace {

constinit std::atomic<int> threshold = 15;

/// The logger in use, which whoever delivers a message shares for that time: one that is replaced meanwhile is deleted
/// by the last of them. Made at the first use, at the latest as the library is loaded; never taken down, as threads and
/// destructors of static objects may still log while the process ends.
class Installed {
 public:
  std::shared_ptr<Logger> get() {
    const std::lock_guard lock(mutex_);
    return logger_;
  }
  /// The one that was installed before.
  std::shared_ptr<Logger> replace(Logger* logger) {
    const std::lock_guard lock(mutex_);
    if (logger == logger_.get()) return logger_;
    return std::exchange(logger_, std::shared_ptr<Logger>(logger));
  }

 private:
  std::mutex mutex_;
  std::shared_ptr<Logger> logger_ = std::make_shared<DefaultLogger>();
};

Installed& installed() {
  static Installed& only = *new Installed;
  return only;
}

[[maybe_unused]] const Installed& installedAtLoad = installed();

bool isLive(int level) noexcept {
  const int least = threshold.load(std::memory_order_relaxed);
  return least != 0 && (least == 15 || level >= least);
}

}  // namespace

Logger::~Logger() = default;

void setLogger(Logger* logger) {
  // Deleted here, after it was replaced: what its destructor causes to be logged does not come back to it.
  const std::shared_ptr<Logger> before = installed().replace(logger ? logger : new DefaultLogger);
}

void setLogThreshold(int value) {
  threshold = value;
}

int logThreshold() {
  return threshold;
}

LogRecord::LogRecord(int level) noexcept : level_(level) {
  if (!isLive(level)) return;
  try {
    stream_ = std::make_unique<std::ostringstream>();
    // Decimals are plain whatever locale the application has set.
    stream_->imbue(std::locale::classic());
  } catch (...) {
    stream_.reset();  // no memory: the message is lost, the program goes on
  }
}

LogRecord::~LogRecord() {
  thread_local bool delivering = false;  // a logger must not be entered by what it causes itself
  if (!stream_ || delivering) return;
  delivering = true;
  try {
    installed().get()->log(level_, stream_->str());
  } catch (...) {
    // A logger that fails has nowhere to report to; the operation that logs must not fail with it.
  }
  delivering = false;
}

}  // namespace TessivarDDS
