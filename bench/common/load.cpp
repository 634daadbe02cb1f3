// SPDX-License-Identifier: Apache-2.0

#include "bench/common/load.h"

#include <algorithm>
#include <deque>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace tessivar::bench {
namespace {

constexpr std::chrono::milliseconds step{1};
constexpr std::chrono::milliseconds quiet{100};

double seconds_since(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

Clock::duration to_duration(double seconds) {
  return std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
}

double percentile(std::vector<double>& values, double part) {
  const auto position = values.begin() + static_cast<std::ptrdiff_t>(part * static_cast<double>(values.size() - 1));
  std::nth_element(values.begin(), position, values.end());
  return *position;
}

}  // namespace

Answer publish(const Options& options, unsigned instances, const std::function<void(unsigned)>& send,
               const std::function<void()>& finish) {
  const double rate = options.number("rate", 0);
  std::uint64_t sent = 0;
  unsigned instance = 0;
  const auto send_next = [&] {
    send(instance);
    instance = instance + 1 == instances ? 0 : instance + 1;
    ++sent;
  };
  const Usage before = Usage::now();
  const Clock::time_point start = Clock::now();
  const Clock::time_point end = start + to_duration(options.number("seconds"));
  if (rate > 0) {
    for (Clock::time_point next = start; next < end; next += step) {
      std::this_thread::sleep_until(next);
      const double elapsed = std::chrono::duration<double>(next + step - start).count();
      while (static_cast<double>(sent) < elapsed * rate) send_next();
    }
  } else {
    do {
      for (int i = 0; i < 16; ++i) send_next();
    } while (Clock::now() < end);
  }
  finish();
  Answer answer{{"sent", static_cast<double>(sent)}, {"seconds", seconds_since(start)}};
  Usage::now().add_since(before, answer);
  return answer;
}

Answer seconds_until(const std::function<bool()>& done) {
  const Clock::time_point start = Clock::now();
  while (!done()) {
    if (Clock::now() > start + patience) throw std::runtime_error("a minute was not enough");
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return {{"seconds", seconds_since(start)}};
}

Answer Received::begin() {
  first_ = samples_.load();
  usage_ = Usage::now();
  start_ = Clock::now();
  return {};
}

Answer Received::end() {
  const Clock::time_point deadline = Clock::now() + patience;
  std::uint64_t last = received();
  for (Clock::time_point change = Clock::now(); Clock::now() < change + quiet;) {
    std::this_thread::sleep_for(quiet / 10);
    if (received() != last) {
      last = received();
      change = Clock::now();
      if (change > deadline) throw std::runtime_error("samples arrive although none is sent");
    }
  }
  Answer answer{{"received", static_cast<double>(received())}};
  Usage::now().add_since(usage_, answer);
  return answer;
}

Answer Received::await(const Options& options) {
  const unsigned wanted = options.count("count");
  const Clock::time_point deadline = Clock::now() + patience;
  while (received() < wanted) {
    if (Clock::now() > deadline)
      throw std::runtime_error(std::to_string(received()) + " of " + std::to_string(wanted) + " samples have arrived");
    std::this_thread::sleep_for(std::chrono::microseconds(200));
  }
  Answer answer{{"received", static_cast<double>(received())}, {"seconds", seconds_since(start_)}};
  Usage::now().add_since(usage_, answer);
  return answer;
}

Answer ask(const Options& options, Asker& asker) {
  const unsigned outstanding = options.count("outstanding", 1);
  std::deque<Clock::time_point> sent;
  std::vector<double> microseconds;
  const Usage before = Usage::now();
  const Clock::time_point start = Clock::now();
  const Clock::time_point end = start + to_duration(options.number("seconds"));
  const auto send = [&] {
    sent.push_back(Clock::now());
    asker.send();
  };
  const auto receive = [&] {
    if (!asker.await()) throw std::runtime_error("no reply to request " + std::to_string(microseconds.size() + 1));
    microseconds.push_back(std::chrono::duration<double, std::micro>(Clock::now() - sent.front()).count());
    sent.pop_front();
  };
  while (sent.size() < outstanding) send();
  do {
    receive();
    send();
  } while (Clock::now() < end);
  Answer answer{{"seconds", seconds_since(start)}, {"requests", static_cast<double>(microseconds.size())}};
  while (!sent.empty()) receive();
  Usage::now().add_since(before, answer);
  answer["p50_us"] = percentile(microseconds, 0.5);
  answer["p99_us"] = percentile(microseconds, 0.99);
  answer["p999_us"] = percentile(microseconds, 0.999);
  return answer;
}

}  // namespace tessivar::bench
