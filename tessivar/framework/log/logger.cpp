#include "tessivar/framework/log/logger.h"

#include "tessivar/framework/log/default_logger.h"

#include <atomic>
#include <locale>
#include <new>

namespace TessivarDDS {

namespace {

constinit std::atomic<int> threshold = 15;

/// Made at the first use, at the latest as the library is loaded; the last logger is never deleted, as threads and
/// destructors of static objects may still log while the process ends.
std::atomic<Logger*>& installed() {
  static std::atomic<Logger*> logger = new DefaultLogger;
  return logger;
}

[[maybe_unused]] const std::atomic<Logger*>& installedAtLoad = installed();

bool isLive(int level) noexcept {
  const int least = threshold.load(std::memory_order_relaxed);
  return least != 0 && (least == 15 || level >= least);
}

}  // namespace

Logger::~Logger() = default;

void setLogger(Logger* logger) {
  if (!logger) logger = new DefaultLogger;
  // Replaced before it is deleted: what the old one's destructor causes to be logged does not come back to it.
  Logger* before = installed().exchange(logger);
  if (before != logger) delete before;
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
    installed().load()->log(level_, stream_->str());
  } catch (...) {
    // A logger that fails has nowhere to report to; the operation that logs must not fail with it.
  }
  delivering = false;
}

}  // namespace TessivarDDS
