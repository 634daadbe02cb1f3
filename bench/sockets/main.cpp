// SPDX-License-Identifier: Apache-2.0

// bench_sockets server|asker port=N: one side of a conversation over plain UDP sockets on the loopback interface. The
// datagrams have the size of the library's requests and replies. Commands of the asker: match, request (see load.h).
#include "bench/common/load.h"

#include <array>
#include <cerrno>
#include <cstdint>
#include <netinet/in.h>
#include <sys/socket.h>
#include <system_error>
#include <thread>
#include <unistd.h>

namespace tessivar::bench {
namespace {

constexpr std::size_t request_size = 200;
constexpr std::size_t reply_size = 150;

[[noreturn]] void fail(const char* what) {
  throw std::system_error(errno, std::generic_category(), what);
}

class Socket {
 public:
  Socket() : handle_(socket(AF_INET, SOCK_DGRAM, 0)) {
    if (handle_ < 0) fail("socket");
    const timeval limit = {10, 0};
    setsockopt(handle_, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
  }
  ~Socket() { close(handle_); }
  Socket(const Socket&) = delete;
  Socket& operator=(const Socket&) = delete;
  int handle() const { return handle_; }

 private:
  const int handle_;
};

sockaddr_in loopback(unsigned port) {
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<std::uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

int run_server(const Options& options) {
  const Socket socket;
  const sockaddr_in address = loopback(options.count("port"));
  if (bind(socket.handle(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) fail("bind");
  const std::jthread thread([&socket](const std::stop_token& stop) {
    std::array<char, request_size> data = {};
    while (!stop.stop_requested()) {
      sockaddr_in from = {};
      socklen_t size = sizeof from;
      if (recvfrom(socket.handle(), data.data(), data.size(), 0, reinterpret_cast<sockaddr*>(&from), &size) > 0)
        sendto(socket.handle(), data.data(), reply_size, 0, reinterpret_cast<const sockaddr*>(&from), size);
    }
  });
  const int result = serve({});
  _exit(result);  // the thread may wait in recvfrom
}

class SocketAsker : public Asker {
 public:
  explicit SocketAsker(unsigned port) {
    const sockaddr_in address = loopback(port);
    if (connect(socket_.handle(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) fail("connect");
  }
  void send() override {
    if (::send(socket_.handle(), request_.data(), request_.size(), 0) < 0) fail("send");
  }
  bool await() override { return recv(socket_.handle(), reply_.data(), reply_.size(), 0) > 0; }

 private:
  const Socket socket_;
  std::array<char, request_size> request_ = {};
  std::array<char, reply_size> reply_ = {};
};

int run_asker(const Options& options) {
  SocketAsker asker(options.count("port"));
  return serve({
      {"match", [](const Options&) { return Answer{}; }},
      {"request", [&](const Options& how) { return ask(how, asker); }},
  });
}

}  // namespace
}  // namespace tessivar::bench

int main(int argc, char** argv) {
  using namespace tessivar::bench;
  return run_role(argc, argv, {{"server", run_server}, {"asker", run_asker}});
}
