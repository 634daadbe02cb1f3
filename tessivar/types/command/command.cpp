// SPDX-License-Identifier: Apache-2.0

#include "tessivar/types/command/internal/command_tables.h"
#include "tessivar/types/family/type_support_impl.h"

namespace Tessivar {

TESSIVAR_DEFINE_ENUMERATION(CommandType)
TESSIVAR_DEFINE_UNION(CommandValue)
TESSIVAR_DEFINE_TOPIC_TYPE(Command)

CommandType CommandValue_getDefaultDiscriminator() {
  return String;
}

}  // namespace Tessivar

TESSIVAR_INSTANTIATE_TOPIC_TYPE(Tessivar::Command)
