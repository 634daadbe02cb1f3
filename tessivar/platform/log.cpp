#include "tessivar/platform/log.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string>

namespace tessivar::platform {

namespace {

void to_standard_error(LogLevel, std::string_view line, void*) {
  std::fprintf(stderr, "%.*s\n", static_cast<int>(line.size()), line.data());
}

struct Output {
  std::mutex mutex;  // held while the sink runs: once a sink is replaced it is not called any more
  LogSink sink = to_standard_error;
  void* context = nullptr;
};

/// Never destroyed: the engine's threads may log while the process ends.
Output& output() {
  static Output& instance = *new Output;
  return instance;
}

constexpr struct {
  std::string_view name;
  unsigned mask;
} verbosities[] = {{"none", 0}, {"error", 1}, {"warning", 3}, {"info", 7}, {"debug", 15}};

unsigned initial_verbosity() {
  const char* value = std::getenv("TESSIVAR_PLATFORM_LOG");
  for (const auto& verbosity : verbosities) {
    if (value && verbosity.name == value) return verbosity.mask;
  }
  if (value) {
    std::fprintf(stderr, "TESSIVAR_PLATFORM_LOG: \"%s\" is none of none, error, warning, info, debug\n", value);
  }
  return 3;
}

std::atomic<unsigned>& verbosity_mask() {
  static std::atomic<unsigned> mask = initial_verbosity();
  return mask;
}

}  // namespace

void set_log_verbosity(unsigned mask) {
  verbosity_mask() = mask;
}

unsigned log_verbosity() {
  return verbosity_mask();
}

void set_log_sink(LogSink sink, void* context) {
  Output& out = output();
  const std::lock_guard lock(out.mutex);
  out.sink = sink ? sink : to_standard_error;
  out.context = sink ? context : nullptr;
}

void log(LogLevel level, std::string_view context, std::string_view text) {
  if (!(log_verbosity() & static_cast<unsigned>(level))) return;
  thread_local bool delivering = false;  // what a sink itself causes is dropped: it would lock twice
  if (delivering) return;
  delivering = true;
  try {
    std::string line;
    line.reserve(context.size() + 2 + text.size());
    line.append(context).append(": ").append(text);
    Output& out = output();
    const std::lock_guard lock(out.mutex);
    out.sink(level, line, out.context);
  } catch (...) {
    // No memory for the line, or a sink that throws: there is nowhere left to report to.
  }
  delivering = false;
}

}  // namespace tessivar::platform
