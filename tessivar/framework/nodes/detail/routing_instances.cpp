#include "tessivar/framework/nodes/detail/instances.h"

namespace TessivarDDS {

TESSIVAR_ROUTING_NODES(template)

}  // namespace TessivarDDS
