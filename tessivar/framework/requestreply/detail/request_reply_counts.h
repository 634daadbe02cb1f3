// SPDX-License-Identifier: Apache-2.0

// The counters of a request/reply node.
#pragma once

#include <atomic>
#include <cstdint>

namespace TessivarDDS {

/// The counts of one node since its construction. cleanUp() does not reset them. Each count is exact, but the counts
/// are read one after another while the node works.
struct RequestReplyCounts {
  // --- client side
  std::uint64_t requestsSent = 0;
  /// makeRequest() calls that returned no ticket.
  std::uint64_t requestsNotSent = 0;
  /// Replies to this client, with and without a ticket.
  std::uint64_t repliesReceived = 0;
  /// Replies of repliesReceived whose ticket is completed, evicted or was never issued. They are dropped.
  std::uint64_t repliesWithoutTicket = 0;
  /// Tickets that were dropped before their completion because of setMaxPendingTickets().
  std::uint64_t ticketsEvicted = 0;
  /// Tickets that are pending now.
  std::uint64_t ticketsPending = 0;

  // --- server side
  /// Requests for this server, including requests without a reply.
  std::uint64_t requestsReceived = 0;
  /// Requests of requestsReceived that exceeded their lifespan. They are dropped.
  std::uint64_t requestsExpired = 0;
  std::uint64_t repliesSent = 0;
  /// Replies that could not be written.
  std::uint64_t repliesNotSent = 0;
  /// Clients whose replies are no longer kept, because 128 other clients received a reply after them.
  std::uint64_t clientsForgotten = 0;
};

/// A counter that any thread increments.
class RelaxedCount {
 public:
  void operator++() { value_.fetch_add(1, std::memory_order_relaxed); }
  operator std::uint64_t() const { return value_.load(std::memory_order_relaxed); }

 private:
  std::atomic<std::uint64_t> value_{0};
};

/// The counters behind RequestReplyCounts.
struct RequestReplyCounters {
  RelaxedCount requestsSent, requestsNotSent, repliesReceived, repliesWithoutTicket, ticketsEvicted;
  RelaxedCount requestsReceived, requestsExpired, repliesSent, repliesNotSent, clientsForgotten;

  RequestReplyCounts read(std::uint64_t ticketsPending) const {
    return {requestsSent,     requestsNotSent, repliesReceived, repliesWithoutTicket, ticketsEvicted,  ticketsPending,
            requestsReceived, requestsExpired, repliesSent,     repliesNotSent,       clientsForgotten};
  }
};

}  // namespace TessivarDDS
