// SPDX-License-Identifier: Apache-2.0

#include "peer/console.h"

#include "tessivar/framework/log/logger.h"

#include <iostream>
#include <mutex>

namespace tessivar::testing {
namespace {

std::mutex output_lock;

void write_line(const std::string& line) {
  const std::lock_guard guard(output_lock);
  std::cout << line << '\n' << std::flush;
}

class Console : public TessivarDDS::Logger {
 public:
  void log(int level, const std::string& message) override { write_line(std::to_string(level) + ' ' + message); }
};

}  // namespace

void install_console() {
  TessivarDDS::setLogger(new Console);
}

void write_event(const std::string& text) {
  write_line("@ " + text);
}

}  // namespace tessivar::testing
