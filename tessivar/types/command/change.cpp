// SPDX-License-Identifier: Apache-2.0

#include "tessivar/types/command/internal/command_tables.h"
#include "tessivar/types/family/type_support_impl.h"

namespace Tessivar {

TESSIVAR_DEFINE_ENUMERATION(CommandChangeReplyResult)
TESSIVAR_DEFINE_NESTED_TYPE(CommandChangeExceptionInfo)
TESSIVAR_DEFINE_TOPIC_TYPE(CommandChangeRequest)
TESSIVAR_DEFINE_TOPIC_TYPE(CommandChangeReply)

}  // namespace Tessivar

TESSIVAR_INSTANTIATE_TOPIC_TYPE(Tessivar::CommandChangeRequest)
TESSIVAR_INSTANTIATE_TOPIC_TYPE(Tessivar::CommandChangeReply)
