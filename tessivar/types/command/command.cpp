#include "tessivar/types/command/internal/command_tables.h"
#include "tessivar/types/family/define.h"

namespace Tessivar {

TESSIVAR_DEFINE_ENUMERATION(CommandType)
TESSIVAR_DEFINE_ENUMERATION(CommandChangeReplyResult)
TESSIVAR_DEFINE_UNION(CommandValue)
TESSIVAR_DEFINE_NESTED_TYPE(CommandChangeExceptionInfo)
TESSIVAR_DEFINE_TOPIC_TYPE(Unit)
TESSIVAR_DEFINE_TOPIC_TYPE(Command)
TESSIVAR_DEFINE_TOPIC_TYPE(CommandMetadata)
TESSIVAR_DEFINE_TOPIC_TYPE(CommandInterest)
TESSIVAR_DEFINE_TOPIC_TYPE(CommandChangeRequest)
TESSIVAR_DEFINE_TOPIC_TYPE(CommandChangeReply)

CommandType CommandValue_getDefaultDiscriminator() {
  return String;
}

}  // namespace Tessivar

TESSIVAR_INSTANTIATE_TOPIC_TYPE(Tessivar::Unit)
TESSIVAR_INSTANTIATE_TOPIC_TYPE(Tessivar::Command)
TESSIVAR_INSTANTIATE_TOPIC_TYPE(Tessivar::CommandMetadata)
TESSIVAR_INSTANTIATE_TOPIC_TYPE(Tessivar::CommandInterest)
TESSIVAR_INSTANTIATE_TOPIC_TYPE(Tessivar::CommandChangeRequest)
TESSIVAR_INSTANTIATE_TOPIC_TYPE(Tessivar::CommandChangeReply)
