// SPDX-License-Identifier: Apache-2.0

// The remote participants that a domain has discovered.
#pragma once

#include "tessivar/framework/report/report.h"
#include "tessivar/platform/base.h"
#include "tessivar/platform/detail/mutex.h"

#include <cstdint>
#include <list>
#include <mutex>
#include <vector>

namespace TessivarDDS {

/// Thread-safe.
class PeerList {
 public:
  /// `peer.guid` identifies it; one that is known keeps its time of discovery.
  void seen(PeerReport peer);
  /// Forgets an admitted one.
  void gone(const std::string& guid);
  void clear();

  /// In the order of their discovery.
  std::vector<PeerReport> read() const;
  /// When one came, changed or went last, nanoseconds since 1970; 0: never.
  std::int64_t lastChange() const;

  static std::string guidText(const DDS_InstanceHandle_t& handle);

 private:
  static constexpr std::size_t deniedKept = 64;

  mutable tessivar::platform::Mutex mutex_;
  std::list<PeerReport> peers_;
  std::int64_t lastChange_ = 0;
};

}  // namespace TessivarDDS
