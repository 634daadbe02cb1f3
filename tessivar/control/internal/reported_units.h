// SPDX-License-Identifier: Apache-2.0

// The units that refreshUnits() of a client has reported, and those of them that were removed since.
#pragma once

#include "tessivar/framework/address/address_ex.h"
#include "tessivar/framework/waitset/handle_sum_order.h"
#include "tessivar/platform/detail/mutex.h"

#include <map>
#include <optional>
#include <utility>
#include <vector>

namespace TessivarDDS {

/// Thread-safe. Units whose handles have the same sum share one entry, with the address that was stored last.
class ReportedUnits {
 public:
  void reported(const DDS_InstanceHandle_t& handle, const AddressEx& address) {
    const tessivar::platform::MutexLock lock(lock_);
    units_.insert_or_assign(handle, address);
  }
  void announced(const DDS_InstanceHandle_t& handle) {
    const tessivar::platform::MutexLock lock(lock_);
    erase(handle);
  }
  void removed(const DDS_InstanceHandle_t& handle) {
    const tessivar::platform::MutexLock lock(lock_);
    erase(handle);
    if (units_.contains(handle)) removed_.push_back(handle);
  }

  /// Returns the addresses to report as removed. Each address is returned once.
  std::vector<AddressEx> takeRemoved() {
    std::vector<AddressEx> addresses;
    const tessivar::platform::MutexLock lock(lock_);
    for (const DDS_InstanceHandle_t& handle : std::exchange(removed_, {})) {
      if (const auto unit = units_.extract(handle)) addresses.push_back(unit.mapped());
    }
    return addresses;
  }

 private:
  void erase(const DDS_InstanceHandle_t& handle) TESSIVAR_REQUIRES(lock_) {
    std::erase_if(removed_, [&](const DDS_InstanceHandle_t& one) {
      return DDS_InstanceHandle_equals(&one, &handle) != DDS_BOOLEAN_FALSE;
    });
  }

  tessivar::platform::Mutex lock_;
  std::map<DDS_InstanceHandle_t, AddressEx, HandleSumOrder> units_ TESSIVAR_GUARDED_BY(lock_);
  std::vector<DDS_InstanceHandle_t> removed_ TESSIVAR_GUARDED_BY(lock_);
};

}  // namespace TessivarDDS
