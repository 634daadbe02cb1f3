// SPDX-License-Identifier: Apache-2.0

#include "tessivar/types/family/type_support_impl.h"
#include "tessivar/types/routing/internal/routing_tables.h"

namespace Tessivar_Routing {

TESSIVAR_DEFINE_ENUMERATION(RequestResult)
TESSIVAR_DEFINE_TOPIC_TYPE(AssociationRouteChangeRequest)
TESSIVAR_DEFINE_NESTED_TYPE(AssociationRouteChangeExceptionInfo)
TESSIVAR_DEFINE_TOPIC_TYPE(AssociationRouteChangeReply)

}  // namespace Tessivar_Routing

TESSIVAR_INSTANTIATE_TOPIC_TYPE(Tessivar_Routing::AssociationRouteChangeRequest)
TESSIVAR_INSTANTIATE_TOPIC_TYPE(Tessivar_Routing::AssociationRouteChangeReply)
