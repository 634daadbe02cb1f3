// SPDX-License-Identifier: Apache-2.0

// bench_ours device|client|router|controller|crowd NAME=VALUE…: one process of this library. See roles.h.
#include "bench/ours/roles.h"
#include "tessivar/framework/log/readable_logger.h"

#include <cstdlib>
#include <stdexcept>

int main(int argc, char** argv) {
  using namespace tessivar::bench;
  setenv("DDS_ALLOWED_INTERFACES", "lo", 0);
  return report_errors([argc, argv] {
    TessivarDDS::ReadableLogger::install();
    const std::vector<std::string> words(argv + 1, argv + argc);
    if (words.empty()) throw std::runtime_error("a role is missing");
    const Options options(std::vector<std::string>(words.begin() + 1, words.end()));
    if (words[0] == "device") return run_device(options);
    if (words[0] == "client") return run_client(options);
    if (words[0] == "router") return run_router(options);
    if (words[0] == "controller") return run_controller(options);
    if (words[0] == "crowd") return run_crowd(options);
    throw std::runtime_error("no such role: " + words[0]);
  });
}
