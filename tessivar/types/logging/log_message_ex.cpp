// SPDX-License-Identifier: Apache-2.0

#include "tessivar/types/family/type_support_impl.h"
#include "tessivar/types/logging/internal/logging_tables.h"

namespace Tessivar_Logging {

TESSIVAR_DEFINE_NESTED_TYPE(LatchedErrorInfo)
TESSIVAR_DEFINE_TOPIC_TYPE(LogMessageEx)

}  // namespace Tessivar_Logging

TESSIVAR_INSTANTIATE_TOPIC_TYPE(Tessivar_Logging::LogMessageEx)
