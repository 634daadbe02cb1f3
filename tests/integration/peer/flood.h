// SPDX-License-Identifier: Apache-2.0

// Many pending requests at the same time. Each reply must find its own ticket.
#pragma once

#include "peer/console.h"
#include "tessivar/framework/pointers/dds_ptr.h"

#include <chrono>
#include <string>
#include <thread>
#include <vector>

namespace tessivar::testing {

/// Keeps up to `window` of `count` requests pending. `begin(i)` sends the request for the value `i`, counted from
/// `first`, and returns its ticket, or null if it must be repeated. `complete(ticket)` removes the ticket. The server
/// copies each value to its reply's text, so that a reply to another request is detected. Reports "begun" after the
/// last request was sent, and "flood COMPLETED LOST FOREIGN REFUSED". Returns true if all requests got replies.
template <class Begin, class Complete>
bool flood(unsigned first, unsigned count, unsigned window, Begin begin, Complete complete) {
  using Clock = std::chrono::steady_clock;
  const auto deadline = Clock::now() + std::chrono::seconds(120);
  const auto poll = [&](auto&& done) {
    while (!done() && Clock::now() < deadline) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    return done();
  };
  std::vector<decltype(begin(first))> tickets;
  unsigned finished = 0;
  unsigned foreign = 0;
  unsigned refused = 0;
  const auto finish_oldest = [&] {
    auto& ticket = tickets[finished];
    if (!poll([&] { return ticket->received.load(); })) return false;
    const auto reply = ticket->reply.get();
    if (!reply->ex || std::to_string(first + finished) != reply->ex->message) ++foreign;
    complete(ticket);
    ++finished;
    return true;
  };
  bool timely = true;
  for (unsigned i = 0; i < count && timely; ++i) {
    if (i - finished >= window && !(timely = finish_oldest())) break;
    auto ticket = begin(first + i);
    timely = ticket || poll([&] {
               ++refused;
               return static_cast<bool>(ticket = begin(first + i));
             });
    if (timely) tickets.push_back(ticket);
  }
  event("begun");
  while (timely && finished < tickets.size()) timely = finish_oldest();
  event("flood", finished, count - finished, foreign, refused);
  return timely;
}

}  // namespace tessivar::testing
