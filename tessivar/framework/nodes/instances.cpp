#include "tessivar/framework/nodes/instances.h"

namespace TessivarDDS {

TESSIVAR_NODE_INSTANCES(template)

}  // namespace TessivarDDS
