// Another process of the same test program, for what happens between processes.
//
// The child runs a role instead of the tests and is talked to in lines. A role is registered where it is written:
//   const Role echo("echo", [](Channel& parent) { … });
#pragma once

#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <functional>
#include <map>
#include <memory>
#include <poll.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace engine_test {

/// Lines to and from another process. What does not come within 20 s is an empty line.
class Channel {
 public:
  Channel(int in, int out) : in_(in), out_(out) {}
  ~Channel() {
    close(in_);
    close(out_);
  }
  Channel(const Channel&) = delete;
  Channel& operator=(const Channel&) = delete;

  void send(const std::string& line) {
    const std::string text = line + "\n";
    if (::write(out_, text.data(), text.size()) < 0) perror("engine_test::Channel");
  }

  std::string receive(int timeout_ms = 20000) {
    for (;;) {
      if (const std::size_t end = buffer_.find('\n'); end != std::string::npos) {
        const std::string line = buffer_.substr(0, end);
        buffer_.erase(0, end + 1);
        return line;
      }
      pollfd waiting = {in_, POLLIN, 0};
      char chunk[4096];
      if (poll(&waiting, 1, timeout_ms) <= 0) return "";
      const ssize_t count = read(in_, chunk, sizeof chunk);
      if (count <= 0) return "";
      buffer_.append(chunk, static_cast<std::size_t>(count));
    }
  }

  std::string ask(const std::string& line) {
    send(line);
    return receive();
  }

 private:
  const int in_;
  const int out_;
  std::string buffer_;
};

class Role {
 public:
  typedef std::function<void(Channel&)> Body;
  Role(const std::string& name, Body body) { all()[name] = std::move(body); }
  static std::map<std::string, Body>& all() {
    static std::map<std::string, Body> roles;
    return roles;
  }
};

/// Killed when it is still there in the end.
class Process {
 public:
  explicit Process(const std::string& role) {
    int to_child[2];
    int from_child[2];
    if (pipe2(to_child, O_CLOEXEC) != 0 || pipe2(from_child, O_CLOEXEC) != 0) return;
    const std::string descriptors = std::to_string(to_child[0]) + " " + std::to_string(from_child[1]);
    pid_ = fork();
    if (pid_ == 0) {
      fcntl(to_child[0], F_SETFD, 0);
      fcntl(from_child[1], F_SETFD, 0);
      setenv("ENGINE_TEST_ROLE", role.c_str(), 1);
      setenv("ENGINE_TEST_CHANNEL", descriptors.c_str(), 1);
      execl("/proc/self/exe", "engine_test_child", static_cast<char*>(nullptr));
      _exit(127);
    }
    close(to_child[0]);
    close(from_child[1]);
    channel_ = std::make_unique<Channel>(from_child[0], to_child[1]);
  }

  ~Process() {
    if (pid_ <= 0) return;
    signal(SIGKILL);
    waitpid(pid_, nullptr, 0);
  }
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;

  Channel* operator->() { return channel_.get(); }
  void signal(int number) { kill(pid_, number); }
  /// Closes the channel, upon which the role ends, and yields the exit code.
  int finish() {
    channel_.reset();
    int status = 0;
    waitpid(pid_, &status, 0);
    pid_ = 0;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128;
  }

 private:
  pid_t pid_ = 0;
  std::unique_ptr<Channel> channel_;
};

}  // namespace engine_test
