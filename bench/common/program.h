// SPDX-License-Identifier: Apache-2.0

// A benchmark program: it reads one command from each line of its standard input, and answers with one line of JSON.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace tessivar::bench {

/// Words of the form NAME=VALUE.
class Options {
 public:
  Options() = default;
  /// Throws std::runtime_error if a word has another form.
  explicit Options(const std::vector<std::string>& words);

  /// Throws std::runtime_error if there is no such option.
  std::string text(const std::string& name) const;
  std::string text(const std::string& name, const std::string& otherwise) const;
  double number(const std::string& name) const { return std::stod(text(name)); }
  double number(const std::string& name, double otherwise) const;
  unsigned count(const std::string& name) const { return static_cast<unsigned>(number(name)); }
  unsigned count(const std::string& name, unsigned otherwise) const;

 private:
  std::map<std::string, std::string> values_;
};

/// The numbers that answer one command.
typedef std::map<std::string, double> Answer;

/// What a program does with the commands.
typedef std::function<Answer(const Options&)> Command;
typedef std::map<std::string, Command> Commands;

/// Answers {"ready": 1} and then each command, until the input ends or the command is "quit". Prints the reason as
/// {"error": "…"} and returns 1 if a command throws or is unknown; otherwise returns 0.
int serve(const Commands& commands);

/// What a program can be, by the first word of its arguments.
typedef std::map<std::string, std::function<int(const Options&)>> Roles;

/// Runs the role that the arguments name, with the other arguments as its options. Returns its result. Prints the
/// reason as {"error": "…"} and returns 1 if the role throws or is unknown.
int run_role(int argc, char** argv, const Roles& roles);

/// What this process has used up to now.
struct Usage {
  static Usage now();
  double cpu_us = 0;
  double switches = 0;  // of all threads, voluntary and involuntary

  /// Adds what was used since `earlier` to an answer, as "cpu_us" and "switches".
  void add_since(const Usage& earlier, Answer& answer) const;
};

/// The memory and the threads of this process: "kib" (private pages) and "threads". Returns free memory to the system
/// first.
Answer memory();

/// Works for the microseconds in the environment variable TESSIVAR_BENCH_SLOW_DOWN. The programs that run this library
/// call it for each sample, so that anybody can show that a benchmark notices a slower library.
void slow_down();

}  // namespace tessivar::bench
