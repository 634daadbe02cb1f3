// SPDX-License-Identifier: Apache-2.0

#include "tessivar/platform/detail/log.h"

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <string>

namespace tessivar::platform {

namespace {

constexpr int nothing = 0;
constexpr int everything = 15;

// A chosen threshold can be any int. These two values are outside the range of int.
constexpr std::int64_t not_read = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t not_chosen = not_read + 1;

// These are constant-initialised and need no destructor, because other static objects log before and after main().
constinit std::atomic<std::int64_t> chosen_threshold = not_read;
constinit std::atomic<int> default_threshold = everything;
constinit std::atomic<bool> wrong_environment = false;
constinit std::atomic<LogSink> installed_sink = nullptr;

constexpr const char* variable = "TESSIVAR_LOG";

constexpr struct {
  std::string_view name;
  LogLevel level;
} levels[] = {
    {"error", LogLevel::error}, {"warning", LogLevel::warning}, {"info", LogLevel::info}, {"debug", LogLevel::debug}};

std::int64_t read_environment() {
  const char* value = std::getenv(variable);
  std::int64_t threshold = not_chosen;
  for (const auto& level : levels) {
    if (value && level.name == value) threshold = static_cast<int>(level.level);
  }
  std::int64_t before = not_read;
  if (!chosen_threshold.compare_exchange_strong(before, threshold)) return before;
  wrong_environment = value && *value && threshold == not_chosen;
  return threshold;
}

std::int64_t chosen() {
  const std::int64_t threshold = chosen_threshold.load(std::memory_order_relaxed);
  return threshold == not_read ? read_environment() : threshold;
}

}  // namespace

int log_threshold() {
  const std::int64_t threshold = chosen();
  return threshold == not_chosen ? default_threshold.load(std::memory_order_relaxed) : static_cast<int>(threshold);
}

void set_log_threshold(int threshold) {
  chosen();
  report_wrong_environment();
  chosen_threshold = threshold;
}

void set_default_log_threshold(int threshold) {
  default_threshold = threshold;
}

bool passes(int level, int threshold) {
  return threshold != nothing && (threshold == everything || level >= threshold);
}

bool is_logged(LogLevel level) {
  const bool by_default = chosen() == not_chosen;
  return passes(static_cast<int>(level), by_default ? static_cast<int>(LogLevel::warning) : log_threshold());
}

void report_wrong_environment() {
  if (!wrong_environment.exchange(false)) return;
  const char* value = std::getenv(variable);
  log(LogLevel::warning, variable,
      std::string("\"") + (value ? value : "") + "\" is not a level: set error, warning, info or debug");
}

void set_log_sink(LogSink sink) {
  installed_sink = sink;
}

void log(LogLevel level, std::string_view context, std::string_view text) {
  log_joined(level, context, {text});
}

void log_joined(LogLevel level, std::string_view context, std::initializer_list<std::string_view> parts) {
  try {
    if (!is_logged(level)) return;
    std::string line;
    std::size_t size = context.size() + 2;
    for (const std::string_view part : parts) size += part.size();
    line.reserve(size);
    line.append(context).append(": ");
    for (const std::string_view part : parts) line.append(part);
    if (const LogSink sink = installed_sink)
      sink(level, line.c_str());
    else
      std::fprintf(stderr, "%s\n", line.c_str());
  } catch (...) {
    // There is no memory for the line. The line is lost and the program continues.
  }
}

}  // namespace tessivar::platform
