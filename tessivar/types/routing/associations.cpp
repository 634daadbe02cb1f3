// SPDX-License-Identifier: Apache-2.0

#include "tessivar/types/family/type_support_impl.h"
#include "tessivar/types/routing/internal/routing_tables.h"

namespace Tessivar_Routing {

TESSIVAR_DEFINE_TOPIC_TYPE(Association)
TESSIVAR_DEFINE_TOPIC_TYPE(AssociationRoute)

}  // namespace Tessivar_Routing

TESSIVAR_INSTANTIATE_TOPIC_TYPE(Tessivar_Routing::Association)
TESSIVAR_INSTANTIATE_TOPIC_TYPE(Tessivar_Routing::AssociationRoute)
