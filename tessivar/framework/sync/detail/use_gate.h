// SPDX-License-Identifier: Apache-2.0

// A gate that separates the calls of an object from its creation and clean-up.
#pragma once

#include "tessivar/framework/sync/thread.h"
#include "tessivar/platform/detail/fork.h"
#include "tessivar/platform/detail/log_hold.h"
#include "tessivar/platform/detail/mutex.h"

#include <atomic>
#include <cstdint>
#include <thread>

namespace TessivarDDS {

/// Counts the calls inside an object. One thread opens and closes the gate while other threads call the object.
/// Thread-safe, except that open(), close() and reset() belong to one thread at a time; a Turn ensures this. A new gate
/// is not open.
class UseGate {
 public:
  /// One call of the object. Messages that the call logs are delivered after it has left the gate, so that a Logger may
  /// close the gate.
  class Use {
   public:
    explicit Use(const UseGate& gate) : gate_(gate), entered_(gate.enter()) {}
    ~Use() {
      if (entered_) --gate_.word_;
    }
    Use(const Use&) = delete;
    Use& operator=(const Use&) = delete;
    /// Returns true if the object is complete. It then stays complete during this call.
    bool open() const { return entered_ && (gate_.word_ & open_flag) != 0; }
    /// Returns true if another thread changes the object, or waits for the end of this call to change it.
    bool closing() const { return !entered_ || (gate_.word_ & closing_flag) != 0; }

   private:
    const tessivar::platform::LogHold hold_;
    const UseGate& gate_;
    const bool entered_;
  };

  /// Gives one thread the right to change the object; other threads wait. Messages are delivered after the turn. Do not
  /// create a Turn within another Turn of the same thread, nor in a callback for which a Turn waits.
  class Turn {
   public:
    explicit Turn(UseGate& gate) : lock_(gate.turns_), gate_(gate) { gate_.inTurn_ = std::this_thread::get_id(); }
    ~Turn() { gate_.inTurn_ = std::thread::id(); }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;

   private:
    const tessivar::platform::MutexLock lock_;
    UseGate& gate_;
  };

  /// The message for a call that the gate refused.
  static constexpr const char* busy = " Not possible while another thread is in create() or cleanUp().";

  bool isMyTurn() const { return inTurn_ == std::this_thread::get_id(); }
  bool isOpen() const { return (word_ & open_flag) != 0; }
  void open() { set(open_flag); }
  /// Refuses new calls. Does nothing if the gate is not open.
  void shut() {
    if (isOpen()) set(closing_flag);
  }
  /// Refuses new calls and waits until all calls have left. Do not call it within a Use.
  void close() {
    set(closing_flag);
    if (madeHere_.inherited()) return;
    // Polls, because the last call must not access the gate after it has left.
    while ((word_ & ~flags) != 0) TessivarThread::sleep(1);
  }
  /// Makes a closed gate like a new gate. Does nothing if the gate is open.
  void reset() {
    if (!isOpen()) set(0);
  }

 private:
  // The word contains the number of calls inside and these flags.
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
