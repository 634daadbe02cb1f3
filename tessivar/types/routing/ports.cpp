// SPDX-License-Identifier: Apache-2.0

#include "tessivar/types/family/type_support_impl.h"
#include "tessivar/types/routing/internal/routing_tables.h"

namespace Tessivar_Routing {

TESSIVAR_DEFINE_TOPIC_TYPE(Source)
TESSIVAR_DEFINE_TOPIC_TYPE(Destination)

}  // namespace Tessivar_Routing

TESSIVAR_INSTANTIATE_TOPIC_TYPE(Tessivar_Routing::Source)
TESSIVAR_INSTANTIATE_TOPIC_TYPE(Tessivar_Routing::Destination)
