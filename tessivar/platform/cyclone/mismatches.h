// Which endpoints of other participants do not match one of ours, and why.
#pragma once

#include "tessivar/platform/cyclone/discovery.h"
#include "tessivar/platform/cyclone/engine_api.h"

#include <set>
#include <string>
#include <utility>

namespace tessivar::platform::cyclone {

/// Logs a warning for each remote endpoint whose QoS does not match that of a reader or writer of this participant,
/// with topic, peer and policies; once for each topic and remote endpoint. report() may be called by any thread.
class Mismatches {
 public:
  Mismatches(Discovery& discovery, dds_entity_t participant) : discovery_(discovery), participant_(participant) {}

  /// To be called when `endpoint`, a reader or a writer, has an incompatible-QoS status. Returns at once: the engine
  /// holds locks then, so that the discovery data are read on the worker of `discovery`.
  void report(dds_entity_t endpoint, bool is_reader) noexcept;

 private:
  void look(dds_entity_t endpoint, bool is_reader);
  std::string peer_of(const dds_builtintopic_endpoint_t& remote) const;

  Discovery& discovery_;
  const dds_entity_t participant_;
  std::set<std::pair<std::string, Guid>> reported_;  // the worker's
};

}  // namespace tessivar::platform::cyclone
