// SPDX-License-Identifier: Apache-2.0

#include "tessivar/types/command/internal/command_tables.h"
#include "tessivar/types/family/type_support_impl.h"

namespace Tessivar {

TESSIVAR_DEFINE_TOPIC_TYPE(Unit)
TESSIVAR_DEFINE_TOPIC_TYPE(CommandInterest)

}  // namespace Tessivar

TESSIVAR_INSTANTIATE_TOPIC_TYPE(Tessivar::Unit)
TESSIVAR_INSTANTIATE_TOPIC_TYPE(Tessivar::CommandInterest)
