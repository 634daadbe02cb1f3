// SPDX-License-Identifier: Apache-2.0

// The order of maps that are keyed by an instance.
#pragma once

#include "tessivar/platform/base.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <numeric>

namespace TessivarDDS {

/// Instance handles ordered by the sum of their key hash's octets, the smaller sum first.
///
/// Different handles with equal sums are one and the same key: what is stored later replaces what was there. Facilities
/// rely on this order, so it stays as it is.
struct HandleSumOrder {
  bool operator()(const DDS_InstanceHandle_t& a, const DDS_InstanceHandle_t& b) const { return sum(a) < sum(b); }

  static std::uint32_t sum(const DDS_InstanceHandle_t& handle) {
    const auto& octets = handle.keyHash.value;
    const auto length = std::min<std::size_t>(handle.keyHash.length, std::size(octets));
    return std::accumulate(octets, octets + length, std::uint32_t{0});
  }
};

}  // namespace TessivarDDS
