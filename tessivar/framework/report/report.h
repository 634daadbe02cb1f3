// SPDX-License-Identifier: Apache-2.0

// What a service or domain has done and seen up to now.
#pragma once

#include "tessivar/framework/requestreply/detail/request_reply_counts.h"
#include "tessivar/platform/detail/counters.h"
#include "tessivar/platform/export.h"

#include <cstdint>
#include <iosfwd>
#include <string>
#include <vector>

namespace TessivarDDS {

/// One remote participant. Its end is noticed when it leaves or its lease expires; that of one that was not admitted is
/// not, so of these the last 64 are kept.
struct PeerReport {
  /// 32 hexadecimal digits.
  std::string guid;
  /// As announced; empty when it announced none.
  std::string name;
  std::string role;
  /// IPv4 addresses with their ports, as "10.1.0.7:7411", separated by commas.
  std::string addresses;
  /// The announced participant type; 65535 (unknownParticipantType) when it announced none.
  unsigned short type = 0xFFFF;
  /// False: it is ignored because of its type.
  bool admitted = true;
  /// When it was discovered, nanoseconds since 1970.
  std::int64_t since = 0;
};

/// One reader or writer.
typedef tessivar::platform::EndpointCounts EndpointReport;

/// Requests and replies on one pair of topics.
struct ExchangeReport {
  /// The topics are this with ".Requests" and ".Reply" appended.
  std::string topic;
  RequestReplyCounts counts;
};

/// The figures of one object at one moment, since its create(). Each figure is exact, but they are read one after
/// another while the object goes on.
struct Report {
  /// The object's class: "TessivarNode".
  std::string service;
  /// -1: not created, or cleaned up; all lists are empty then.
  int domainId = -1;
  /// Of the domain, also in the report of a service.
  std::vector<PeerReport> peers;
  /// Of a service its own ones, of a domain all on its participant.
  std::vector<EndpointReport> endpoints;
  /// Of a domain none.
  std::vector<ExchangeReport> exchanges;
  /// When anything but the exchanges changed last, nanoseconds since 1970; 0: never.
  std::int64_t lastChange = 0;
};

/// Several lines to read. Figures that are 0 are left out, apart from the number of matched endpoints.
TESSIVAR_API std::string to_text(const Report& report);
/// One JSON object with the names of the members above; times as "2026-03-01T22:19:03.412Z", null for never.
TESSIVAR_API std::string to_json(const Report& report);
/// As to_text().
TESSIVAR_API std::ostream& operator<<(std::ostream& stream, const Report& report);

}  // namespace TessivarDDS
