// The requests of a node that may still get replies.
#pragma once

#include "tessivar/framework/requestreply/request_reply_ticket.h"
#include "tessivar/framework/sync/sync.h"

#include <cstdint>
#include <map>
#include <set>
#include <utility>

namespace TessivarDDS {

/// Tickets in the order of their creation, found by number in logarithmic time. Thread-safe; the lock is held for the
/// operation only.
template <class Rep>
class PendingTickets {
 public:
  typedef DDSPtr<RequestReplyTicket<Rep>> Ticket;

  /// Adds `ticket` as the newest; when there are `most` already (negative: no limit), the oldest is dropped.
  void append(const Ticket& ticket, int most) {
    const ScopedLock lock(lock_);
    if (most >= 0 && !byAge_.empty() && byAge_.size() >= static_cast<std::size_t>(most)) erase(byAge_.begin());
    byAge_.emplace_hint(byAge_.end(), next_, ticket);
    byNumber_.emplace(ticket->ticketId, next_);
    ++next_;
  }

  /// The oldest pending ticket of that number; null when there is none.
  Ticket find(unsigned short number) const {
    const ScopedLock lock(lock_);
    const auto entry = byNumber_.lower_bound({number, 0});
    return entry != byNumber_.end() && entry->first == number ? byAge_.at(entry->second) : Ticket();
  }

  /// Removes this very ticket, not another one of its number. False when it is not pending.
  bool remove(const Ticket& ticket) {
    if (!ticket) return false;
    const ScopedLock lock(lock_);
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
    const ScopedLock lock(lock_);
    return byAge_.size();
  }

 private:
  typedef std::map<std::uint64_t, Ticket> ByAge;

  void erase(typename ByAge::iterator entry) {
    byNumber_.erase({entry->second->ticketId, entry->first});
    byAge_.erase(entry);
  }

  std::uint64_t next_ = 0;
  ByAge byAge_;
  std::set<std::pair<unsigned short, std::uint64_t>> byNumber_;
  mutable TessivarMutex lock_;
};

}  // namespace TessivarDDS
