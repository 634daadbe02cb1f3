// SPDX-License-Identifier: Apache-2.0

// The remote participants that a domain has discovered.
#pragma once

#include "tessivar/framework/report/report.h"
#include "tessivar/platform/base.h"
#include "tessivar/platform/detail/mutex.h"

#include <cstdint>
#include <list>
#include <vector>

namespace TessivarDDS {

/// A list of remote participants. It keeps at most 64 participants that were not admitted. Thread-safe.
class PeerList {
 public:
  /// Adds or updates a peer. `peer.guid` identifies it. A known peer keeps its time of discovery.
  void seen(PeerReport peer);
  /// Removes an admitted peer.
  void gone(const std::string& guid);
  void clear();

  /// Returns the peers in the order of their discovery.
  std::vector<PeerReport> read() const;
  /// Returns the time when a peer was last added, changed or removed, in nanoseconds since 1970; 0 means never.
  std::int64_t lastChange() const;

  static std::string guidText(const DDS_InstanceHandle_t& handle);

 private:
  static constexpr std::size_t deniedKept = 64;

  mutable tessivar::platform::Mutex mutex_;
  std::list<PeerReport> peers_ TESSIVAR_GUARDED_BY(mutex_);
  std::int64_t lastChange_ TESSIVAR_GUARDED_BY(mutex_) = 0;
};

}  // namespace TessivarDDS
