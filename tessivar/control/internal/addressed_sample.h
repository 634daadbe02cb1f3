// SPDX-License-Identifier: Apache-2.0

// Functions for samples that contain a unit's address.
#pragma once

#include "tessivar/framework/address/address_check.h"
#include "tessivar/framework/address/address_ex.h"
#include "tessivar/framework/log/logger.h"

#include <cstring>

namespace TessivarDDS {

/// Copies the address into `unitId`, which has memory for the longest address of the data model. If the address is too
/// long, logs one line that begins with `signature` and returns false.
inline bool setAddress(const char* signature, const AddressEx& address, char* unitId) {
  constexpr std::size_t max_address = 64;
  const std::size_t length = std::strlen(address.guid());
  if (length > max_address) {
    logError() << signature << "Address string too long";
    return false;
  }
  checkAddress(signature, address);
  std::memcpy(unitId, address.guid(), length + 1);
  return true;
}

/// Returns a new sample of the type support, with the address. Returns null after one log line if that fails. The
/// caller owns the sample.
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
