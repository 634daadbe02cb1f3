// Keeps an object's calls and its taking down apart.
#pragma once

#include "tessivar/framework/sync/thread.h"
#include "tessivar/platform/detail/fork.h"
#include "tessivar/platform/detail/log_hold.h"

#include <atomic>

namespace TessivarDDS {

/// Counts the calls that are inside an object which one thread opens and closes while others call it. Thread-safe,
/// except that open() and close() belong to one thread. A new gate is not open.
class UseGate {
 public:
  /// One call. Messages that it logs are delivered after it has left the gate, so that a Logger may close it.
  class Use {
   public:
    explicit Use(const UseGate& gate) : gate_(gate) { ++gate_.uses_; }
    ~Use() { --gate_.uses_; }
    Use(const Use&) = delete;
    Use& operator=(const Use&) = delete;
    bool open() const { return gate_.state_ == State::open; }
    /// Returns true if close() waits for this call.
    bool closing() const { return gate_.state_ == State::closing; }

   private:
    const tessivar::platform::LogHold hold_;
    const UseGate& gate_;
  };

  void open() { state_ = State::open; }
  /// Lets no call in any more; an open gate only.
  void shut() {
    State open = State::open;
    state_.compare_exchange_strong(open, State::closing);
  }
  /// Lets no call in any more and waits for those inside. Not within a Use.
  void close() {
    state_ = State::closing;
    if (madeHere_.inherited()) return;
    // Polls, as the last call is not to touch the gate once it has left.
    while (uses_ > 0) TessivarThread::sleep(1);
  }
  /// After close(): as new.
  void reset() { state_ = State::fresh; }

 private:
  enum class State { fresh, open, closing };

  std::atomic<State> state_{State::fresh};
  mutable std::atomic<unsigned> uses_{0};
  const tessivar::platform::MadeHere madeHere_{};
};

}  // namespace TessivarDDS
