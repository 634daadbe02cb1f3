// SPDX-License-Identifier: Apache-2.0

// Reports which endpoints of other participants do not match our endpoints, and why.
#pragma once

#include "tessivar/platform/cyclone/discovery.h"
#include "tessivar/platform/cyclone/engine_api.h"

#include <set>
#include <string>
#include <utility>

namespace tessivar::platform::cyclone {

/// Logs a warning for each remote endpoint whose QoS does not match the QoS of a reader or writer of this participant.
/// The warning names topic, peer and policies. It is logged once for each topic and remote endpoint. Any thread may
/// call report().
class Mismatches {
 public:
  Mismatches(Discovery& discovery, dds_entity_t participant) : discovery_(discovery), participant_(participant) {}

  /// To be called when `endpoint`, a reader or a writer, has an incompatible-QoS status. Does not block: the engine
  /// holds locks at this time, so the worker of `discovery` reads the discovery data.
  void report(dds_entity_t endpoint, bool is_reader) noexcept;

 private:
  /// Logs the mismatches of the endpoint that were not logged yet. Runs on the worker.
  void log_new(dds_entity_t endpoint, bool is_reader);
  std::string peer_of(const dds_builtintopic_endpoint_t& remote) const;

  Discovery& discovery_;
  const dds_entity_t participant_;
  std::set<std::pair<std::string, Guid>> reported_;  // only the worker uses it
};

}  // namespace tessivar::platform::cyclone
