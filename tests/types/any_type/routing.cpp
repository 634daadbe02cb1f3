// SPDX-License-Identifier: Apache-2.0

#include "tessivar/types/routing/internal/routing_tables.h"
#include "tests/types/any_type/make.h"

namespace types_test {

using namespace Tessivar_Routing;

void add_routing(std::vector<AnyType>& types) {
  add<MatrixIndexKind, LevelIndexKind, PortIndexKind, AssociationIndexKind, Enumeration<RequestResult>,
      Structure<Level>, Structure<Matrix>, Structure<Router>, Structure<Source>, Structure<Destination>,
      Structure<Association>, Structure<AssociationRoute>, Structure<AssociationRouteChangeRequest>,
      Structure<AssociationRouteChangeExceptionInfo>, Structure<AssociationRouteChangeReply>,
      Structure<DestinationChangeRequest>, Structure<DestinationChangeReply>>(types, "routing");
}

}  // namespace types_test
