// SPDX-License-Identifier: Apache-2.0

// A process of our own that a test starts, talks to line by line, stops, continues and kills.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <deque>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <thread>
#include <vector>

namespace tessivar::testing {

/// Runs one program with its standard input, output and error on pipes.
///
/// A line of its output that begins with the mark is an event; every other line is its log, kept for failure messages.
/// One test thread at a time. The process ends with this object, whatever state it is in, and with the test program.
class ChildProcess {
 public:
  /// `arguments` begins with the program's path. Throws std::runtime_error when the process cannot be started.
  explicit ChildProcess(const std::vector<std::string>& arguments, std::string event_mark = "@ ");
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  pid_t pid() const { return pid_; }

  /// Writes one line to its standard input; false when it no longer reads.
  bool send(std::string_view line);

  /// The first event not taken yet that begins with `prefix`, without the mark; other events stay for later calls.
  /// Nothing when none comes in time or the process closes its output.
  std::optional<std::string> event(std::string_view prefix, std::chrono::milliseconds timeout = default_timeout);
  /// Events not taken yet that begin with `prefix`; takes them, without waiting.
  std::vector<std::string> events(std::string_view prefix);

  /// Sends a signal to this process alone. Returns after SIGSTOP when the process has stopped.
  void signal(int number) const;
  /// Its exit code, or 128 and the number of the signal that ended it; nothing while it runs on past the deadline.
  std::optional<int> wait(std::chrono::milliseconds timeout = default_timeout);
  void kill();

  /// Everything it has written so far, for messages.
  std::string transcript() const;

  /// Long enough for a loaded machine; no test waits that long unless it fails.
  static constexpr std::chrono::milliseconds default_timeout{30000};

 private:
  void read_output();

  const std::string event_mark_;
  pid_t pid_ = -1;
  std::FILE* input_ = nullptr;
  std::FILE* output_ = nullptr;
  std::optional<int> status_;
  std::thread reader_;
  mutable std::mutex lock_;
  std::condition_variable changed_;
  std::deque<std::string> events_;
  std::string transcript_;
  bool closed_ = false;
};

}  // namespace tessivar::testing
