// SPDX-License-Identifier: Apache-2.0

// The counters of a request/reply node.
#pragma once

#include "tessivar/platform/detail/counters.h"

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

/// The counters behind RequestReplyCounts.
struct RequestReplyCounters {
  tessivar::platform::Count requestsSent, requestsNotSent, repliesReceived, repliesWithoutTicket, ticketsEvicted;
  tessivar::platform::Count requestsReceived, requestsExpired, repliesSent, repliesNotSent, clientsForgotten;

  RequestReplyCounts read(std::uint64_t ticketsPending) const {
    return {requestsSent.get(),   requestsNotSent.get(), repliesReceived.get(),  repliesWithoutTicket.get(),
            ticketsEvicted.get(), ticketsPending,        requestsReceived.get(), requestsExpired.get(),
            repliesSent.get(),    repliesNotSent.get(),  clientsForgotten.get()};
  }
};

}  // namespace TessivarDDS
