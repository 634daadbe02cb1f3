// SPDX-License-Identifier: Apache-2.0

#include "bench/common/program.h"

#include <chrono>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <iostream>
#include <iterator>
#include <malloc.h>
#include <sstream>
#include <stdexcept>
#include <sys/resource.h>

namespace tessivar::bench {
namespace {

void print(const Answer& answer) {
  std::ostringstream line;
  line.precision(15);
  const char* separator = "{";
  for (const auto& [name, value] : answer) {
    line << separator << '"' << name << "\": " << value;
    separator = ", ";
  }
  std::cout << (answer.empty() ? "{" : line.str()) << '}' << std::endl;
}

void print_error(const std::string& reason) {
  std::string text;
  for (const char c : reason) {
    if (c == '"' || c == '\\') text += '\\';
    text += static_cast<unsigned char>(c) < ' ' ? ' ' : c;
  }
  std::cout << "{\"error\": \"" << text << "\"}" << std::endl;
}

/// Returns the number after `name` in a file of /proc with lines "NAME: NUMBER …".
double proc_number(const char* path, const std::string& name) {
  std::ifstream file(path);
  for (std::string line; std::getline(file, line);)
    if (line.starts_with(name + ":")) return std::stod(line.substr(name.size() + 1));
  throw std::runtime_error(std::string(path) + " has no line " + name);
}

}  // namespace

Options::Options(const std::vector<std::string>& words) {
  for (const std::string& word : words) {
    const std::size_t sign = word.find('=');
    if (sign == std::string::npos) throw std::runtime_error("not of the form NAME=VALUE: " + word);
    values_[word.substr(0, sign)] = word.substr(sign + 1);
  }
}

std::string Options::text(const std::string& name) const {
  const auto found = values_.find(name);
  if (found == values_.end()) throw std::runtime_error("the option " + name + " is missing");
  return found->second;
}

std::string Options::text(const std::string& name, const std::string& otherwise) const {
  return values_.contains(name) ? text(name) : otherwise;
}

double Options::number(const std::string& name, double otherwise) const {
  return values_.contains(name) ? number(name) : otherwise;
}

unsigned Options::count(const std::string& name, unsigned otherwise) const {
  return values_.contains(name) ? count(name) : otherwise;
}

int serve(const Commands& commands) {
  print({{"ready", 1}});
  for (std::string line; std::getline(std::cin, line);) {
    std::istringstream stream(line);
    std::vector<std::string> words(std::istream_iterator<std::string>(stream), {});
    if (words.empty()) continue;
    if (words[0] == "quit") break;
    const auto command = commands.find(words[0]);
    if (command == commands.end()) throw std::runtime_error("no such command: " + words[0]);
    words.erase(words.begin());
    print(command->second(Options(words)));
  }
  return 0;
}

int run_role(int argc, char** argv, const Roles& roles) {
  try {
    std::vector<std::string> words(argv + 1, argv + argc);
    if (words.empty()) throw std::runtime_error("a role is missing");
    const auto role = roles.find(words[0]);
    if (role == roles.end()) throw std::runtime_error("no such role: " + words[0]);
    words.erase(words.begin());
    return role->second(Options(words));
  } catch (const std::exception& exception) {
    print_error(exception.what());
    return 1;
  }
}

Usage Usage::now() {
  rusage usage = {};
  getrusage(RUSAGE_SELF, &usage);
  const auto microseconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_usec);
  };
  return {microseconds(usage.ru_utime) + microseconds(usage.ru_stime),
          static_cast<double>(usage.ru_nvcsw + usage.ru_nivcsw)};
}

void Usage::add_since(const Usage& earlier, Answer& answer) const {
  answer["cpu_us"] = cpu_us - earlier.cpu_us;
  answer["switches"] = switches - earlier.switches;
}

Answer memory() {
  malloc_trim(0);
  return {{"kib", proc_number("/proc/self/smaps_rollup", "Private_Dirty")},
          {"threads", proc_number("/proc/self/status", "Threads")}};
}

void slow_down() {
  static const char* const value = std::getenv("TESSIVAR_BENCH_SLOW_DOWN");
  if (!value) return;
  static const std::chrono::nanoseconds span(static_cast<std::int64_t>(std::stod(value) * 1000));
  const auto end = std::chrono::steady_clock::now() + span;
  while (std::chrono::steady_clock::now() < end) {
  }
}

}  // namespace tessivar::bench
