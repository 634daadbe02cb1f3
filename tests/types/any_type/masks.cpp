// SPDX-License-Identifier: Apache-2.0

#include "tessivar/types/logging/internal/logging_tables.h"
#include "tests/types/any_type/make.h"

namespace types_test {

using namespace Tessivar_Logging;

void add_masks(std::vector<AnyType>& types) {
  add<Structure<LogUnit>, Structure<UnitMask>, Structure<UnitMaskRequest>, Structure<HeaderMask>,
      Structure<HeaderMaskRequest>, Structure<MaskReply>, Structure<AlarmAck>>(types, "logging");
}

}  // namespace types_test
