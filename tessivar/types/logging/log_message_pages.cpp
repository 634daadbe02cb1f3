// SPDX-License-Identifier: Apache-2.0

#include "tessivar/types/family/type_support_impl.h"
#include "tessivar/types/logging/internal/logging_tables.h"

namespace Tessivar_Logging {

TESSIVAR_DEFINE_TOPIC_TYPE(LogMessage2Request)
TESSIVAR_DEFINE_TOPIC_TYPE(LogMessage2Reply)

}  // namespace Tessivar_Logging

TESSIVAR_INSTANTIATE_TOPIC_TYPE(Tessivar_Logging::LogMessage2Request)
TESSIVAR_INSTANTIATE_TOPIC_TYPE(Tessivar_Logging::LogMessage2Reply)
