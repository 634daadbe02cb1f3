// SPDX-License-Identifier: Apache-2.0

// Converts addresses to filter parameters.
#pragma once

#include "tessivar/framework/address/address_check.h"
#include "tessivar/framework/address/address_ex.h"
#include "tessivar/framework/domain/detail/signature.h"

#include <string>
#include <vector>

namespace TessivarDDS {

/// Returns the texts of the addresses, in order.
inline std::vector<std::string> addressTexts(const std::vector<AddressEx>& addresses) {
  std::vector<std::string> texts;
  texts.reserve(addresses.size());
  for (const AddressEx& address : addresses) {
    checkAddress("class std::vector<" TESSIVAR_SIGNATURE_STRING ",class std::allocator<" TESSIVAR_SIGNATURE_STRING
                 " > > __cdecl TessivarDDS::addressTexts(const " TESSIVAR_SIGNATURE_ADDRESSES " &)",
                 address);
    texts.push_back(address.guid());
  }
  return texts;
}

}  // namespace TessivarDDS
