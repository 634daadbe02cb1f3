// SPDX-License-Identifier: Apache-2.0

// Samples that name a unit.
#pragma once

#include "tessivar/framework/address/address_check.h"
#include "tessivar/framework/address/address_ex.h"
#include "tessivar/framework/log/logger.h"

#include <cstring>

namespace TessivarDDS {

/// Writes the address into `unitId`, which has room for the longest that the data model allows. False, after a line in
/// the log that begins with `signature`, for a longer one.
inline bool setAddress(const char* signature, const AddressEx& address, char* unitId) {
  constexpr std::size_t max_address = 64;
  if (std::strlen(address.guid()) > max_address) {
    logError() << signature << "Address string too long";
    return false;
  }
  checkAddress(signature, address);
  std::strcpy(unitId, address.guid());
  return true;
}

/// A new sample, made by the type support, that bears the address; null after one log line.
template <class Support>
auto createAddressed(const char* signature, const AddressEx& address) -> decltype(Support::create_data()) {
  auto* sample = Support::create_data();
  if (!sample) {
    logError() << signature << "Failed to create data";
  } else if (!setAddress(signature, address, sample->unitId)) {
    Support::delete_data(sample);
    return nullptr;
  }
  return sample;
}

}  // namespace TessivarDDS
