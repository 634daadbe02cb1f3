// SPDX-License-Identifier: Apache-2.0

// What a client follows: the interests it has registered, and the filters that they make.
#pragma once

#include "tessivar/framework/address/address_ex.h"
#include "tessivar/framework/pointers/dds_ptr.h"
#include "tessivar/framework/sync/sync.h"
#include "tessivar/types/command/command.h"

#include <compare>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace TessivarDDS {

class TessivarServices;

/// Thread-safe. Before start() interests are only collected; afterwards the filters of the services follow them, and
/// they are written for the devices. A failure is logged with the given signature.
class ClientInterests {
 public:
  struct Range {
    unsigned int first;
    unsigned int last;
    auto operator<=>(const Range&) const = default;
  };

  explicit ClientInterests(TessivarServices& services) : services_(services) {}

  /// The services exist from now on, with the filter's addresses as they are.
  void start();
  /// Registers a range of each unit, with one change of the filters.
  bool add(const char* signature, const std::vector<AddressEx>& units, const Range& range);
  /// Withdraws all ranges of the unit. Returns false also if there was none.
  bool remove(const char* signature, const AddressEx& unit);
  /// Withdraws one range. Returns false also if it was not registered.
  bool remove(const char* signature, const AddressEx& unit, const Range& range);
  /// None, which lets every unit through, only before the first add(): after the last interest was removed no unit is
  /// followed.
  std::vector<std::string> filterAddresses() const;

 private:
  bool setFilters() const;
  bool afterRemoval(const char* signature, const AddressEx& unit, bool filtered, const std::set<Range>& removed) const;
  bool withdraw(const char* signature, const AddressEx& unit, const Range& range) const;
  std::vector<std::string> addresses() const;

  TessivarServices& services_;
  mutable TessivarMutex lock_;  // also over the filters, so that the last change gets there last
  std::map<AddressEx, std::set<Range>> units_;
  bool follows_ = false;
  bool started_ = false;
};

}  // namespace TessivarDDS
