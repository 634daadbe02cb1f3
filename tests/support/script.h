// SPDX-License-Identifier: Apache-2.0

// The rules of a TestEngine: which calls it changes, and how.
#pragma once

#include "tessivar/platform/base.h"

#include <algorithm>
#include <functional>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace tessivar::testing {

enum class Call {
  create_reader,
  create_writer,
  create,  // any of the above
  write,
  dispose,
  unregister,
  wait_for_history,
  deliver,         // a sample to a reader
  deliver_end,     // a change of an instance without data to a reader
  data_available,  // from here on events
  match,           // of a reader or writer
  liveliness,      // of a reader
};

enum class Effect {
  pass,
  refuse,  // the call returns `code` and does nothing; a delivery or an event is lost
  lose,    // the call returns OK, and nothing happens
  repeat,  // it happens twice
  hold,    // the call returns OK, and it happens at the next release()
  block,   // a write waits for the next release(), at most for max_blocking_time, and then returns TIMEOUT
};

/// Changes `count` calls, after `skip` calls that it does not change.
struct Rule {
  Call call;
  Effect effect;
  std::string topic = "";  // the end of the topic's name; empty: every topic
  int skip = 0;
  int count = 1;
  DDS_ReturnCode_t code = DDS_RETCODE_OUT_OF_RESOURCES;
};

/// Rules, in their order, and the calls that they hold back. Thread-safe.
class Script {
 public:
  static constexpr int always = 1 << 30;

  void add(const Rule& rule) {
    const std::lock_guard lock(mutex_);
    rules_.push_back(rule);
  }
  /// Removes all rules. Calls that are held back stay so.
  void clear() {
    const std::lock_guard lock(mutex_);
    rules_.clear();
  }
  /// Returns true if every rule has changed all its calls.
  bool done() const {
    const std::lock_guard lock(mutex_);
    return std::all_of(rules_.begin(), rules_.end(), [](const Rule& rule) { return rule.count == 0; });
  }
  /// Returns the rule for this call; its effect is `pass` if there is none. Counts the call.
  Rule apply(Call call, const std::string& topic = "") {
    const std::lock_guard lock(mutex_);
    for (Rule& rule : rules_) {
      const bool fits = rule.call == call || (rule.call == Call::create && call < Call::create);
      if (!fits || !topic.ends_with(rule.topic) || rule.count == 0 || rule.skip-- > 0) continue;
      --rule.count;
      rule.skip = 0;
      return rule;
    }
    return {call, Effect::pass};
  }

  void hold(const void* owner, std::function<void()> call) {
    const std::lock_guard lock(mutex_);
    held_.emplace_back(owner, std::move(call));
  }
  std::size_t held() const {
    const std::lock_guard lock(mutex_);
    return held_.size();
  }
  /// Takes the calls that are held back.
  std::vector<std::function<void()>> take_held() {
    const std::lock_guard lock(mutex_);
    std::vector<std::function<void()>> calls;
    for (auto& [owner, call] : held_) calls.push_back(std::move(call));
    held_.clear();
    return calls;
  }
  void forget(const void* owner) {
    const std::lock_guard lock(mutex_);
    std::erase_if(held_, [owner](const auto& one) { return one.first == owner; });
  }

 private:
  mutable std::mutex mutex_;
  std::vector<Rule> rules_;
  std::vector<std::pair<const void*, std::function<void()>>> held_;
};

}  // namespace tessivar::testing
