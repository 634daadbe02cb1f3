// SPDX-License-Identifier: Apache-2.0

// The domain of a test program.
#pragma once

#include <cstdio>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace tessivar::testing {

/// Returns a domain that only this test program uses, also if several programs run at the same time. It is reserved
/// with the name of a socket, which the system releases when this process ends.
inline int own_domain() {
  static const int claimed = [] {
    const int socket = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    for (int i = ::getpid();; ++i) {
      const int domain = 100 + i % 100;
      sockaddr_un name = {AF_UNIX, {}};
      std::snprintf(name.sun_path + 1, sizeof name.sun_path - 1, "tessivar-test-domain-%d", domain);
      if (::bind(socket, reinterpret_cast<const sockaddr*>(&name), sizeof name) == 0) return domain;
      if (i > ::getpid() + 100) throw std::runtime_error("no bus domain is free");
    }
  }();
  return claimed;
}

}  // namespace tessivar::testing
