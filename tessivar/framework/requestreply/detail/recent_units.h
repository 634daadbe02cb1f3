// SPDX-License-Identifier: Apache-2.0

// The unit of each recent ticket number, for messages.
#pragma once

#include "tessivar/platform/detail/mutex.h"
#include "tessivar/platform/sequence.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

namespace TessivarDDS {

/// The units of the last requests, by identity of the client and ticket number. Messages need them because a reply
/// contains no unit. An entry is overwritten after about a thousand further requests. Thread-safe.
class RecentUnits {
 public:
  void remember(const DDS_OctetSeq& client, unsigned short ticketId, const char* unit) {
    const std::uint64_t key = keyOf(client, ticketId);
    const tessivar::platform::MutexLock lock(mutex_);
    Entry& entry = entries_[key % entries_.size()];
    entry.key = key;
    entry.unit = unit ? unit : "";
  }

  /// Returns "unknown" if there is no entry for the ticket.
  std::string find(const DDS_OctetSeq& client, unsigned short ticketId) const {
    const std::uint64_t key = keyOf(client, ticketId);
    const tessivar::platform::MutexLock lock(mutex_);
    const Entry& entry = entries_[key % entries_.size()];
    return entry.key == key && !entry.unit.empty() ? entry.unit : "unknown";
  }

 private:
  struct Entry {
    std::uint64_t key = 0;
    std::string unit;
  };

  /// The ticket number is in the low bits, so that the tickets of one client do not collide.
  static std::uint64_t keyOf(const DDS_OctetSeq& client, unsigned short ticketId) {
    std::uint64_t hash = 14695981039346656037u;  // FNV-1a
    for (DDS_Long i = 0; i < client.length(); ++i) hash = (hash ^ client[i]) * 1099511628211u;
    return (hash & ~std::uint64_t{0xffff}) + ((hash + ticketId) & 0xffff);
  }

  mutable tessivar::platform::Mutex mutex_;
  std::array<Entry, 1024> entries_ TESSIVAR_GUARDED_BY(mutex_);
};

}  // namespace TessivarDDS
