// SPDX-License-Identifier: Apache-2.0

// The registered interests of a client, and the filters for these interests.
#pragma once

#include "tessivar/framework/address/address_ex.h"
#include "tessivar/framework/pointers/dds_ptr.h"
#include "tessivar/platform/detail/mutex.h"
#include "tessivar/types/command/command.h"

#include <compare>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace TessivarDDS {

class TessivarServices;

/// Thread-safe. Before start() interests are only stored. After start() each change also sets the filters of the
/// services and writes the interest for the devices. A failure is logged with the given signature.
class ClientInterests {
 public:
  struct Range {
    unsigned int first;
    unsigned int last;
    auto operator<=>(const Range&) const = default;
  };

  explicit ClientInterests(TessivarServices& services) : services_(services) {}

  /// Call it when the services exist and have the current filterAddresses().
  void start();
  /// Registers the range for each unit, and changes the filters once.
  bool add(const char* signature, const std::vector<AddressEx>& units, const Range& range);
  /// Withdraws all ranges of the unit. Returns false also if there was none. A range that cannot be withdrawn stays
  /// registered.
  bool remove(const char* signature, const AddressEx& unit);
  /// Withdraws one range. Returns false also if it was not registered.
  bool remove(const char* signature, const AddressEx& unit, const Range& range);
  /// The addresses for the filters. Empty (all units are accepted) only before the first add(). After the last interest
  /// was removed no unit is accepted.
  std::vector<std::string> filterAddresses() const;

 private:
  typedef std::map<AddressEx, std::set<Range>> Units;

  bool setFilters() const TESSIVAR_REQUIRES(lock_);
  bool afterRemoval(const char* signature, const AddressEx& unit, bool filtered, Units& removed);
  bool withdraw(const char* signature, const AddressEx& unit, const Range& range) const;
  std::vector<std::string> addresses() const TESSIVAR_REQUIRES(lock_);

  TessivarServices& services_;
  mutable tessivar::platform::Mutex lock_;  // also held while the filters are set, so that the last change is set last
  Units units_ TESSIVAR_GUARDED_BY(lock_);
  bool follows_ TESSIVAR_GUARDED_BY(lock_) = false;
  bool started_ TESSIVAR_GUARDED_BY(lock_) = false;
};

}  // namespace TessivarDDS
