// SPDX-License-Identifier: Apache-2.0

// Records the log lines of the library during a test.
#pragma once

#include "tessivar/framework/log/logger.h"

#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace tessivar::testing {

/// Records lines of at least one level as "LEVEL TEXT", during its lifetime.
class LogRecorder {
 public:
  explicit LogRecorder(int least = TessivarDDS::LogWarning) : messages_(std::make_shared<Messages>()) {
    TessivarDDS::setLogger(new Recorder(messages_, least));
  }
  ~LogRecorder() { TessivarDDS::setLogger(nullptr); }
  LogRecorder(const LogRecorder&) = delete;
  LogRecorder& operator=(const LogRecorder&) = delete;

  /// Returns the lines since the last call.
  std::vector<std::string> lines() {
    const std::lock_guard guard(messages_->lock);
    return std::exchange(messages_->lines, {});
  }

 private:
  struct Messages {
    std::mutex lock;
    std::vector<std::string> lines;
  };

  class Recorder : public TessivarDDS::Logger {
   public:
    Recorder(std::shared_ptr<Messages> messages, int least) : messages_(std::move(messages)), least_(least) {}
    void log(int level, const std::string& message) override {
      if (level < least_) return;
      const std::lock_guard guard(messages_->lock);
      messages_->lines.push_back(std::to_string(level) + ' ' + message);
    }

   private:
    std::shared_ptr<Messages> messages_;
    int least_;
  };

  std::shared_ptr<Messages> messages_;
};

}  // namespace tessivar::testing
