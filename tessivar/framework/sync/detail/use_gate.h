// SPDX-License-Identifier: Apache-2.0

// Keeps an object's calls and its building up and taking down apart.
#pragma once

#include "tessivar/framework/sync/thread.h"
#include "tessivar/platform/detail/fork.h"
#include "tessivar/platform/detail/log_hold.h"
#include "tessivar/platform/detail/mutex.h"

#include <atomic>
#include <cstdint>
#include <mutex>
#include <thread>

namespace TessivarDDS {

/// Counts the calls that are inside an object which one thread opens and closes while others call it. Thread-safe,
/// except that open(), close() and reset() belong to one thread, as a Turn makes sure. A new gate is not open.
class UseGate {
 public:
  /// One call. Messages that it logs are delivered after it has left the gate, so that a Logger may close it.
  class Use {
   public:
    explicit Use(const UseGate& gate) : gate_(gate), entered_(gate.enter()) {}
    ~Use() {
      if (entered_) --gate_.word_;
    }
    Use(const Use&) = delete;
    Use& operator=(const Use&) = delete;
    /// Returns true if the object is complete, and stays so during this call.
    bool open() const { return entered_ && (gate_.word_ & open_flag) != 0; }
    /// Returns true if the object is being changed, or is about to be and waits for this call.
    bool closing() const { return !entered_ || (gate_.word_ & closing_flag) != 0; }

   private:
    const tessivar::platform::LogHold hold_;
    const UseGate& gate_;
    const bool entered_;
  };

  /// A thread's turn to change the object; other threads wait for theirs. Messages are delivered after it. Not within
  /// one's own turn, nor in a callback that a turn waits for.
  class Turn {
   public:
    explicit Turn(UseGate& gate) : lock_(gate.turns_), gate_(gate) { gate_.inTurn_ = std::this_thread::get_id(); }
    ~Turn() { gate_.inTurn_ = std::thread::id(); }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;

   private:
    const std::lock_guard<tessivar::platform::Mutex> lock_;
    UseGate& gate_;
  };

  /// What to say of a call that did not get in.
  static constexpr const char* busy = " Not possible while another thread is in create() or cleanUp().";

  bool isMyTurn() const { return inTurn_ == std::this_thread::get_id(); }
  bool isOpen() const { return (word_ & open_flag) != 0; }
  void open() { set(open_flag); }
  /// Lets no call in any more; an open gate only.
  void shut() {
    if (isOpen()) set(closing_flag);
  }
  /// Lets no call in any more and waits for those inside. Not within a Use.
  void close() {
    set(closing_flag);
    if (madeHere_.inherited()) return;
    // Polls, as the last call is not to touch the gate once it has left.
    while ((word_ & ~flags) != 0) TessivarThread::sleep(1);
  }
  /// As new, unless it is open: after close().
  void reset() {
    if (!isOpen()) set(0);
  }

 private:
  // The number of calls inside, and these.
  static constexpr std::uint32_t open_flag = 1u << 31;
  static constexpr std::uint32_t closing_flag = 1u << 30;
  static constexpr std::uint32_t flags = open_flag | closing_flag;

  bool enter() const {
    std::uint32_t word = word_;
    while ((word & closing_flag) == 0) {
      if (word_.compare_exchange_weak(word, word + 1)) return true;
    }
    return false;
  }
  void set(std::uint32_t flag) {
    std::uint32_t word = word_;
    while (!word_.compare_exchange_weak(word, (word & ~flags) | flag)) {
    }
  }

  mutable std::atomic<std::uint32_t> word_{0};
  tessivar::platform::Mutex turns_;
  std::atomic<std::thread::id> inTurn_{};
  const tessivar::platform::MadeHere madeHere_{};
};

}  // namespace TessivarDDS
