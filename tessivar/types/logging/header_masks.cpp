// SPDX-License-Identifier: Apache-2.0

#include "tessivar/types/family/type_support_impl.h"
#include "tessivar/types/logging/internal/logging_tables.h"

namespace Tessivar_Logging {

TESSIVAR_DEFINE_ENUMERATION(MaskReplyResult)
TESSIVAR_DEFINE_TOPIC_TYPE(HeaderMask)
TESSIVAR_DEFINE_TOPIC_TYPE(HeaderMaskRequest)
TESSIVAR_DEFINE_TOPIC_TYPE(MaskReply)

}  // namespace Tessivar_Logging

TESSIVAR_INSTANTIATE_TOPIC_TYPE(Tessivar_Logging::HeaderMask)
TESSIVAR_INSTANTIATE_TOPIC_TYPE(Tessivar_Logging::HeaderMaskRequest)
TESSIVAR_INSTANTIATE_TOPIC_TYPE(Tessivar_Logging::MaskReply)
