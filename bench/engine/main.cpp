// SPDX-License-Identifier: Apache-2.0

// bench_engine participant|writer|reader|server|asker|router|controller|crowd NAME=VALUE…: one process of the bare
// engine. See roles.h.
#include "bench/engine/roles.h"

#include <stdexcept>

int main(int argc, char** argv) {
  using namespace tessivar::bench;
  return report_errors([argc, argv] {
    const std::vector<std::string> words(argv + 1, argv + argc);
    if (words.empty()) throw std::runtime_error("a role is missing");
    const Options options(std::vector<std::string>(words.begin() + 1, words.end()));
    if (words[0] == "participant") return run_participant(options);
    if (words[0] == "writer") return run_writer(options);
    if (words[0] == "reader") return run_reader(options);
    if (words[0] == "server") return run_server(options);
    if (words[0] == "asker") return run_asker(options);
    if (words[0] == "router") return run_router(options);
    if (words[0] == "controller") return run_controller(options);
    if (words[0] == "crowd") return run_crowd(options);
    throw std::runtime_error("no such role: " + words[0]);
  });
}
