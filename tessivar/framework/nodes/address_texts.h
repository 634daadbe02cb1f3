// Addresses as filter parameters.
#pragma once

#include "tessivar/framework/address/address_ex.h"

#include <string>
#include <vector>

namespace TessivarDDS {

/// The addresses' texts, in order.
inline std::vector<std::string> addressTexts(const std::vector<AddressEx>& addresses) {
  std::vector<std::string> texts;
  texts.reserve(addresses.size());
  for (const AddressEx& address : addresses) texts.push_back(address.guid());
  return texts;
}

}  // namespace TessivarDDS
