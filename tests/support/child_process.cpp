// SPDX-License-Identifier: Apache-2.0

#include "tests/support/child_process.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tessivar::testing {
namespace {

constexpr std::size_t transcript_limit = std::size_t{256} * 1024;

struct Pipe {
  int ends[2];
  Pipe() {
    if (::pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("no pipe can be made");
  }
};

[[noreturn]] void become(const std::vector<char*>& arguments, int input, int output, pid_t parent) {
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (::getppid() != parent) ::_exit(126);
  ::dup2(input, STDIN_FILENO);
  ::dup2(output, STDOUT_FILENO);
  ::dup2(output, STDERR_FILENO);
  ::execv(arguments[0], arguments.data());
  ::_exit(127);
}

int exit_code(int status) {
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

}  // namespace

ChildProcess::ChildProcess(const std::vector<std::string>& arguments, std::string event_mark)
    : event_mark_(std::move(event_mark)) {
  std::signal(SIGPIPE, SIG_IGN);  // a write to a child that has ended then returns an error
  std::vector<char*> argv;
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);

  const Pipe input;
  const Pipe output;
  const pid_t parent = ::getpid();
  pid_ = ::fork();
  if (pid_ == 0) become(argv, input.ends[0], output.ends[1], parent);
  ::close(input.ends[0]);
  ::close(output.ends[1]);
  input_ = ::fdopen(input.ends[1], "w");
  output_ = ::fdopen(output.ends[0], "r");
  if (pid_ < 0 || !input_ || !output_) throw std::runtime_error("cannot start " + arguments.front());
  reader_ = std::thread([this] { read_output(); });
}

ChildProcess::~ChildProcess() {
  std::fclose(input_);
  kill();
  reader_.join();
  std::fclose(output_);
}

void ChildProcess::read_output() {
  char* text = nullptr;
  std::size_t room = 0;
  for (ssize_t size; (size = ::getline(&text, &room, output_)) > 0;) {
    std::string line(text, static_cast<std::size_t>(size));
    const std::lock_guard guard(lock_);
    if (transcript_.size() < transcript_limit) transcript_ += line;
    if (line.back() == '\n') line.pop_back();
    if (line.starts_with(event_mark_)) events_.push_back(line.substr(event_mark_.size()));
    changed_.notify_all();
  }
  std::free(text);
  const std::lock_guard guard(lock_);
  closed_ = true;
  changed_.notify_all();
}

bool ChildProcess::send(std::string_view line) {
  return std::fprintf(input_, "%.*s\n", static_cast<int>(line.size()), line.data()) > 0 && std::fflush(input_) == 0;
}

std::optional<std::string> ChildProcess::event(std::string_view prefix, std::chrono::milliseconds timeout) {
  const auto deadline = std::chrono::steady_clock::now() + timeout;
  std::unique_lock guard(lock_);
  for (;;) {
    for (auto it = events_.begin(); it != events_.end(); ++it) {
      if (!it->starts_with(prefix)) continue;
      std::string found = std::move(*it);
      events_.erase(it);
      return found;
    }
    if (closed_ || std::chrono::steady_clock::now() >= deadline) return std::nullopt;
    changed_.wait_until(guard, deadline);
  }
}

std::vector<std::string> ChildProcess::events(std::string_view prefix) {
  const std::lock_guard guard(lock_);
  std::vector<std::string> found;
  std::erase_if(events_, [&](std::string& event) {
    if (!event.starts_with(prefix)) return false;
    found.push_back(std::move(event));
    return true;
  });
  return found;
}

void ChildProcess::signal(int number) const {
  if (status_) return;
  ::kill(pid_, number);
  siginfo_t stopped;
  if (number == SIGSTOP) ::waitid(P_PID, static_cast<id_t>(pid_), &stopped, WSTOPPED | WEXITED | WNOWAIT);
}

std::optional<int> ChildProcess::wait(std::chrono::milliseconds timeout) {
  const auto deadline = std::chrono::steady_clock::now() + timeout;
  int status = 0;
  while (!status_) {
    if (::waitpid(pid_, &status, WNOHANG) == pid_) {
      status_ = exit_code(status);
    } else {
      if (std::chrono::steady_clock::now() >= deadline) return std::nullopt;
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
  }
  return status_;
}

void ChildProcess::kill() {
  if (status_) return;
  signal(SIGKILL);
  int status = 0;
  while (::waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
  }
  status_ = exit_code(status);
}

std::string ChildProcess::transcript() const {
  const std::lock_guard guard(lock_);
  return transcript_;
}

}  // namespace tessivar::testing
