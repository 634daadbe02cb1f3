// SPDX-License-Identifier: Apache-2.0

#include "tessivar/types/family/type_support_impl.h"
#include "tessivar/types/routing/internal/routing_tables.h"

namespace Tessivar_Routing {

TESSIVAR_DEFINE_TYPEDEF(MatrixIndex, tessivar::types::MatrixIndexKind)
TESSIVAR_DEFINE_TYPEDEF(LevelIndex, tessivar::types::LevelIndexKind)
TESSIVAR_DEFINE_TYPEDEF(PortIndex, tessivar::types::PortIndexKind)
TESSIVAR_DEFINE_TYPEDEF(AssociationIndex, tessivar::types::AssociationIndexKind)
TESSIVAR_DEFINE_NESTED_TYPE(Level)
TESSIVAR_DEFINE_NESTED_TYPE(Matrix)
TESSIVAR_DEFINE_TOPIC_TYPE(Router)

}  // namespace Tessivar_Routing

TESSIVAR_INSTANTIATE_TOPIC_TYPE(Tessivar_Routing::Router)
