// SPDX-License-Identifier: Apache-2.0

// Fuzz target: any octets as a sample or a key of any type. The first octet selects the type.
#include "fuzz/demand.h"
#include "tests/types/support/any_octets.h"

#include <map>

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  static const auto& types = types_test::all_types();
  static std::map<std::size_t, types_test::AnyOctets> readers;
  if (size == 0) return 0;
  const std::size_t choice = data[0] % types.size();
  auto& reader = readers.try_emplace(choice, types[choice]).first->second;
  if (const char* rule = reader.broken_rule(data + 1, size - 1))
    tessivar_fuzz::demand(false, (std::string(types[choice].name) + ": " + rule).c_str());
  return 0;
}
