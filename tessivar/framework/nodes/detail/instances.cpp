#include "tessivar/framework/nodes/detail/instances.h"

namespace TessivarDDS {

TESSIVAR_NODE_INSTANCES(template)

}  // namespace TessivarDDS
