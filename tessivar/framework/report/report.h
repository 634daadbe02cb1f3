// SPDX-License-Identifier: Apache-2.0

// The report of a service or a domain: counters, endpoints and remote participants.
#pragma once

#include "tessivar/framework/requestreply/detail/request_reply_counts.h"
#include "tessivar/platform/detail/counters.h"
#include "tessivar/platform/export.h"

#include <cstdint>
#include <iosfwd>
#include <string>
#include <vector>

namespace TessivarDDS {

/// One remote participant. It is removed from the list when it leaves or its lease expires. This is not detected for
/// participants that were not admitted, so only the last 64 of them are kept.
struct PeerReport {
  /// 32 hexadecimal digits.
  std::string guid;
  /// As announced. Empty if not announced.
  std::string name;
  std::string role;
  /// IPv4 addresses with their ports, separated by commas, for example "10.1.0.7:7411".
  std::string addresses;
  /// The announced participant type. 65535 (unknownParticipantType) if no type was announced.
  unsigned short type = 0xFFFF;
  /// False if it is ignored because of its type.
  bool admitted = true;
  /// The time of its discovery, in nanoseconds since 1970.
  std::int64_t since = 0;
};

/// One reader or writer.
typedef tessivar::platform::EndpointCounts EndpointReport;

/// Counters of the requests and replies on one pair of topics.
struct ExchangeReport {
  /// The topics have this name with ".Requests" and ".Reply" appended.
  std::string topic;
  RequestReplyCounts counts;
};

/// The report of one object at one moment, since its create(). Each number is exact, but the numbers are read one after
/// another while the object works.
struct Report {
  /// The class of the object, for example "TessivarNode".
  std::string service;
  /// -1 if the object is not created or is cleaned up; all lists are empty then.
  int domainId = -1;
  /// The remote participants of the domain, also in the report of a service.
  std::vector<PeerReport> peers;
  /// The endpoints of a service, or all endpoints on the participant of a domain.
  std::vector<EndpointReport> endpoints;
  /// Empty in the report of a domain.
  std::vector<ExchangeReport> exchanges;
  /// The time of the last change, without changes of the exchanges, in nanoseconds since 1970; 0 means never.
  std::int64_t lastChange = 0;
};

/// Returns several lines of text. Numbers that are 0 are omitted, except the number of matched endpoints.
TESSIVAR_API std::string to_text(const Report& report);
/// Returns one JSON object with the names of the members above. Times are "2026-03-01T22:19:03.412Z", or null for
/// never.
TESSIVAR_API std::string to_json(const Report& report);
/// Writes to_text().
TESSIVAR_API std::ostream& operator<<(std::ostream& stream, const Report& report);

}  // namespace TessivarDDS
