// SPDX-License-Identifier: Apache-2.0

// The order of maps with instance handles as keys.
#pragma once

#include "tessivar/platform/base.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <numeric>

namespace TessivarDDS {

/// Orders instance handles by the sum of the octets of their key hash. The smaller sum comes first.
///
/// Different handles with equal sums are the same key: a value that is stored later replaces the earlier value.
/// Facilities rely on this order, so it must not change.
struct HandleSumOrder {
  bool operator()(const DDS_InstanceHandle_t& a, const DDS_InstanceHandle_t& b) const { return sum(a) < sum(b); }

  static std::uint32_t sum(const DDS_InstanceHandle_t& handle) {
    const auto& octets = handle.keyHash.value;
    const auto length = std::min<std::size_t>(handle.keyHash.length, std::size(octets));
    return std::accumulate(octets, octets + length, std::uint32_t{0});
  }
};

}  // namespace TessivarDDS
