// SPDX-License-Identifier: Apache-2.0

#include "tessivar/platform/cyclone/engine_log.h"

#include "tessivar/platform/cyclone/engine_api.h"
#include "tessivar/platform/cyclone/network/unreachable.h"
#include "tessivar/platform/cyclone/no_throw.h"
#include "tessivar/platform/detail/callback.h"
#include "tessivar/platform/detail/log.h"

#include <mutex>
#include <vector>

namespace tessivar::platform::cyclone {

struct EngineLogCapture::Lines {
  struct Line {
    LogLevel level;
    std::string text;
  };
  std::vector<Line> lines;
  mutable std::size_t reported = 0;
};

namespace {

thread_local EngineLogCapture* innermost = nullptr;

LogLevel level_of(std::uint32_t category) {
  if (category & (DDS_LC_FATAL | DDS_LC_ERROR)) return LogLevel::error;
  if (category & DDS_LC_WARNING) return LogLevel::warning;
  return category & DDS_LC_INFO ? LogLevel::info : LogLevel::debug;
}

constexpr const char* context = "engine";

}  // namespace

class EngineLogSink {
 public:
  static void write(void*, const dds_log_data_t* data) {
    std::string_view line(data->message, data->size);
    while (!line.empty() && (line.back() == '\n' || line.back() == ' ')) line.remove_suffix(1);
    if (line.empty()) return;
    LogLevel level = level_of(data->priority);
    std::string summary;
    if (summarize_unreachable(line, summary)) {
      if (summary.empty()) return;
      level = LogLevel::warning;
      line = summary;
    }
    if (innermost)
      innermost->lines_->lines.push_back({level, std::string(line)});
    else {
      const CallbackScope scope(CallbackKind::filter);  // the engine may hold locks
      log(level, context, line);
    }
  }
};

namespace {

void redirect_engine_log() {
  static std::once_flag once;
  std::call_once(once, [] {
    dds_set_log_mask(DDS_LC_FATAL | DDS_LC_ERROR | DDS_LC_WARNING | DDS_LC_INFO);
    dds_set_log_sink(NoThrow<EngineLogSink::write>::call, nullptr);
  });
}

}  // namespace

EngineLogCapture::EngineLogCapture() : lines_(new Lines), outer_(innermost) {
  redirect_engine_log();
  innermost = this;
}

EngineLogCapture::~EngineLogCapture() {
  innermost = outer_;
  for (std::size_t i = 0; i < lines_->lines.size(); ++i) {
    const Lines::Line& line = lines_->lines[i];
    if (i >= lines_->reported || line.level < LogLevel::warning) log(line.level, context, line.text);
  }
  delete lines_;
}

std::string EngineLogCapture::text() const {
  std::string result;
  for (const Lines::Line& line : lines_->lines)
    if (line.level >= LogLevel::warning) result += "; " + line.text;
  lines_->reported = lines_->lines.size();
  return result;
}

}  // namespace tessivar::platform::cyclone
