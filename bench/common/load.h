// SPDX-License-Identifier: Apache-2.0

// The work of the benchmarks with two processes, the same for this library and for its opponents.
#pragma once

#include "bench/common/program.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>

namespace tessivar::bench {

typedef std::chrono::steady_clock Clock;

/// The longest time that a program waits for something that must happen.
constexpr std::chrono::seconds patience{60};

/// The number of commands of each unit.
constexpr unsigned commands_of_a_unit = 100;

/// The levels of a router, and the number of its routes for each port of a level.
constexpr unsigned levels_of_a_router = 4;
constexpr unsigned routes_of_a_port = 8;

/// Calls `send` for `seconds`: as often as possible, or `rate` times a second in steps of a millisecond (options
/// "seconds" and "rate"). `instances`: `send` gets the numbers of the instances in turn. `finish` is called at the end
/// of the time, and counts as work. Answers "sent", "seconds", "cpu_us", "switches".
Answer publish(const Options& options, unsigned instances, const std::function<void(unsigned instance)>& send,
               const std::function<void()>& finish);

/// Calls `done` again and again until it returns true. Answers the "seconds". Throws std::runtime_error after a minute.
Answer seconds_until(const std::function<bool()>& done);

/// Counts the samples that a listener sees.
class Received {
 public:
  /// Any thread may call it.
  void count(std::uint64_t samples = 1) { samples_.fetch_add(samples, std::memory_order_relaxed); }

  /// Starts a measurement.
  Answer begin();
  /// Waits until no sample has arrived for 100 ms. Answers "received", "cpu_us" and "switches" since begin().
  Answer end();
  /// Waits for the number of samples in the option "count" since begin(). Answers "received" and the "seconds" since
  /// begin(). Throws std::runtime_error after a minute.
  Answer await(const Options& options);

 private:
  std::uint64_t received() const { return samples_.load(std::memory_order_relaxed) - first_; }

  std::atomic<std::uint64_t> samples_{0};
  std::uint64_t first_ = 0;
  Usage usage_;
  Clock::time_point start_;
};

/// One side of a conversation of requests and replies.
class Asker {
 public:
  virtual ~Asker() = default;
  /// Sends a request.
  virtual void send() = 0;
  /// Waits until one more reply has arrived. Returns false if none arrives within some seconds.
  virtual bool await() = 0;
};

/// Keeps the number of requests in the option "outstanding" on their way for "seconds". Answers "requests", "seconds",
/// and the percentiles of the times from request to reply as "p50_us", "p99_us" and "p999_us". The replies must arrive
/// in the order of the requests.
Answer ask(const Options& options, Asker& asker);

}  // namespace tessivar::bench
