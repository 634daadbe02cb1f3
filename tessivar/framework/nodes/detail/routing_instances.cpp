// SPDX-License-Identifier: Apache-2.0

#include "tessivar/framework/nodes/detail/instances.h"

namespace TessivarDDS {

TESSIVAR_ROUTING_NODES(template)

}  // namespace TessivarDDS
