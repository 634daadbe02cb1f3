// SPDX-License-Identifier: Apache-2.0

// Makes the description of each type (support/any_type.h) from its table.
#pragma once

#include "tessivar/types/family/plugin.h"
#include "tests/types/support/any_type.h"
#include "tests/types/support/values.h"

#include <memory>

namespace types_test {

using namespace tessivar::types;

template <class Kind>
AnyType any_type(const char* room) {
  typedef typename Kind::type T;
  AnyType type;
  type.name = NameOf<Kind>::value;
  type.room = room;
  type.keyed = IsKeyed<Kind>::value;
  type.is_mutable = IsMutable<Kind>::value;
  static const std::unique_ptr<PRESTypePlugin> record(PluginRecord<Kind>::create());
  type.plugin = record.get();
  type.min_size = Plugin<Kind>::min_size;
  type.max_key_size = Plugin<Kind>::max_key_size_of;
  type.skip = Plugin<Kind>::skip;
  type.stream_to_key = [](void* key, RTICdrStream* stream) {
    return Plugin<Kind>::serialized_sample_to_key(nullptr, static_cast<T*>(key), stream, RTI_TRUE, RTI_TRUE, nullptr) !=
           0;
  };
  type.text = [](const void* sample) {
    Printer printer;
    print(Kind(), printer, static_cast<const T*>(sample), nullptr, 0);
    return printer.text();
  };
  type.assign = [](void* sample, const json& value) { assign_json(Kind(), *static_cast<T*>(sample), value); };
  type.randomize = [](void* sample, Random& random) { randomize(Kind(), *static_cast<T*>(sample), random); };
  type.reset = [](void* sample) { clear(Kind(), *static_cast<T*>(sample), nullptr); };
  return type;
}

template <class... Kinds>
void add(std::vector<AnyType>& types, const char* room) {
  (types.push_back(any_type<Kinds>(room)), ...);
}

// Each group is in its own file, because the compilation takes long.
void add_core_and_command(std::vector<AnyType>& types);
void add_routing(std::vector<AnyType>& types);
void add_log_messages(std::vector<AnyType>& types);
void add_masks(std::vector<AnyType>& types);

}  // namespace types_test
