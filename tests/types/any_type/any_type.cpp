// SPDX-License-Identifier: Apache-2.0

#include "tests/types/any_type/make.h"

#include <stdexcept>

namespace types_test {
namespace {

std::vector<AnyType> make_types() {
  std::vector<AnyType> types;
  add_core_and_command(types);
  add_routing(types);
  add_log_messages(types);
  add_masks(types);
  return types;
}

}  // namespace

const std::vector<AnyType>& all_types() {
  static const std::vector<AnyType> types = make_types();
  return types;
}

const AnyType& type_named(std::string_view name) {
  for (const AnyType& type : all_types())
    if (type.name == name) return type;
  throw std::invalid_argument(std::string(name));
}

}  // namespace types_test
