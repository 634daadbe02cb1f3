// SPDX-License-Identifier: Apache-2.0

#include "tessivar/types/family/type_support_impl.h"
#include "tessivar/types/logging/internal/logging_tables.h"

namespace Tessivar_Logging {

TESSIVAR_DEFINE_ENUMERATION(MaskType)
TESSIVAR_DEFINE_TOPIC_TYPE(UnitMask)
TESSIVAR_DEFINE_TOPIC_TYPE(UnitMaskRequest)

}  // namespace Tessivar_Logging

TESSIVAR_INSTANTIATE_TOPIC_TYPE(Tessivar_Logging::UnitMask)
TESSIVAR_INSTANTIATE_TOPIC_TYPE(Tessivar_Logging::UnitMaskRequest)
