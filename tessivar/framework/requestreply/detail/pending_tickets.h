// SPDX-License-Identifier: Apache-2.0

// The tickets of a node that may still receive replies.
#pragma once

#include "tessivar/framework/requestreply/request_reply_ticket.h"
#include "tessivar/platform/detail/mutex.h"

#include <bit>
#include <cstdint>
#include <map>
#include <new>
#include <optional>
#include <set>
#include <utility>
#include <vector>

namespace TessivarDDS {

/// Tickets in the order of their creation, and the numbers for new tickets. A ticket is found by its number in
/// logarithmic time. Thread-safe. The lock is held only during the operation.
template <class Rep>
class PendingTickets {
 public:
  typedef DDSPtr<RequestReplyTicket<Rep>> Ticket;

  /// The number of ticket numbers: 0 to 65534.
  static constexpr unsigned numbers = 65535;

  /// Adds `ticket` as the newest ticket. If there are then more than `most` tickets (negative: no limit), removes the
  /// oldest and returns it in `dropped`. The new ticket itself is never dropped. Returns false and changes nothing if
  /// memory is short.
  bool append(const Ticket& ticket, int most, Ticket& dropped) {
    const tessivar::platform::MutexLock lock(lock_);
    if (!add(ticket)) return false;
    if (most >= 0 && byAge_.size() > 1 && byAge_.size() > static_cast<std::size_t>(most)) {
      dropped = byAge_.begin()->second;
      erase(byAge_.begin());
    }
    return true;
  }

  /// Returns the oldest pending ticket with this number, or null if there is none.
  Ticket find(unsigned short number) const {
    const tessivar::platform::MutexLock lock(lock_);
    const auto entry = byNumber_.lower_bound({number, 0});
    return entry != byNumber_.end() && entry->first == number ? byAge_.at(entry->second) : Ticket();
  }

  /// Removes exactly this ticket, not another ticket with the same number. Returns false if it is not pending.
  bool remove(const Ticket& ticket) {
    if (!ticket) return false;
    const tessivar::platform::MutexLock lock(lock_);
    for (auto entry = byNumber_.lower_bound({ticket->ticketId, 0});
         entry != byNumber_.end() && entry->first == ticket->ticketId; ++entry) {
      const auto candidate = byAge_.find(entry->second);
      if (candidate->second == ticket) {
        erase(candidate);
        return true;
      }
    }
    return false;
  }

  std::size_t size() const {
    const tessivar::platform::MutexLock lock(lock_);
    return byAge_.size();
  }

  /// Returns the next free number after the last returned number; 0 follows 65534. Numbers of pending tickets are
  /// skipped. Returns nothing if all numbers are pending.
  std::optional<unsigned short> nextNumber() {
    const tessivar::platform::MutexLock lock(lock_);
    unsigned candidate = (last_ + 1) % numbers;
    // Searches the words of the map from the word of the candidate on. At the end it searches the first part of that
    // word again.
    for (unsigned step = 0; step <= words; ++step) {
      const unsigned word = (candidate / word_bits + step) % words;
      std::uint64_t free = ~used_[word];
      if (step == 0) free &= ~std::uint64_t{0} << (candidate % word_bits);
      if (free == 0) continue;
      last_ = word * word_bits + static_cast<unsigned>(std::countr_zero(free));
      return static_cast<unsigned short>(last_);
    }
    return std::nullopt;
  }

 private:
  typedef std::map<std::uint64_t, Ticket> ByAge;
  static constexpr unsigned word_bits = 64;
  static constexpr unsigned words = (numbers + 1) / word_bits;

  bool add(const Ticket& ticket) TESSIVAR_REQUIRES(lock_) {
    try {
      byNumber_.emplace(ticket->ticketId, next_);
      byAge_.emplace_hint(byAge_.end(), next_, ticket);
    } catch (const std::bad_alloc&) {
      byNumber_.erase({ticket->ticketId, next_});
      return false;
    }
    setUsed(ticket->ticketId, true);
    ++next_;
    return true;
  }

  void erase(typename ByAge::iterator entry) TESSIVAR_REQUIRES(lock_) {
    const unsigned short number = entry->second->ticketId;
    byNumber_.erase({number, entry->first});
    byAge_.erase(entry);
    const auto other = byNumber_.lower_bound({number, 0});
    if (other == byNumber_.end() || other->first != number) setUsed(number, false);
  }

  void setUsed(unsigned short number, bool used) TESSIVAR_REQUIRES(lock_) {
    const std::uint64_t bit = std::uint64_t{1} << (number % word_bits);
    if (used || number == numbers) {
      used_[number / word_bits] |= bit;
    } else {
      used_[number / word_bits] &= ~bit;
    }
  }

  static std::vector<std::uint64_t> allFree() {
    std::vector<std::uint64_t> map(words, 0);
    map.back() = std::uint64_t{1} << (word_bits - 1);  // 65535 is never used
    return map;
  }

  mutable tessivar::platform::Mutex lock_;
  std::uint64_t next_ TESSIVAR_GUARDED_BY(lock_) = 0;
  unsigned last_ TESSIVAR_GUARDED_BY(lock_) = 0;
  ByAge byAge_ TESSIVAR_GUARDED_BY(lock_);
  std::set<std::pair<unsigned short, std::uint64_t>> byNumber_ TESSIVAR_GUARDED_BY(lock_);
  std::vector<std::uint64_t> used_ TESSIVAR_GUARDED_BY(lock_) = allFree();  // one bit for each number
};

}  // namespace TessivarDDS
