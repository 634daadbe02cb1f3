// SPDX-License-Identifier: Apache-2.0

// A child process that a test starts, stops, continues and kills, with commands and events as lines.
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
/// An output line that begins with the mark is an event. Every other line is stored as its log, for failure messages.
/// Only one test thread may use it at a time. The process ends with this object, in every state, and with the test
/// program.
class ChildProcess {
 public:
  /// `arguments` begins with the program's path. Throws std::runtime_error if the process cannot be started.
  explicit ChildProcess(const std::vector<std::string>& arguments, std::string event_mark = "@ ");
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  pid_t pid() const { return pid_; }

  /// Writes one line to its standard input. Returns false if the process no longer reads.
  bool send(std::string_view line);

  /// Returns and removes the first event that begins with `prefix`, without the mark. Other events stay for later
  /// calls. Returns nothing if no such event comes in time, or if the process closes its output.
  std::optional<std::string> event(std::string_view prefix, std::chrono::milliseconds timeout = default_timeout);
  /// Returns and removes the events that begin with `prefix`. Does not wait.
  std::vector<std::string> events(std::string_view prefix);

  /// Sends a signal to this process only. SIGSTOP: returns when the process has stopped.
  void signal(int number) const;
  /// Returns its exit code, or 128 plus the number of the signal that ended it. Returns nothing if it still runs after
  /// the deadline.
  std::optional<int> wait(std::chrono::milliseconds timeout = default_timeout);
  void kill();

  /// Returns all of its output so far, for messages.
  std::string transcript() const;

  /// Long enough for a loaded machine. Only a failing test waits that long.
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
