#include "tessivar/framework/waitset/instances.h"

namespace TessivarDDS {

TESSIVAR_RUNNER_INSTANCES(template)

}  // namespace TessivarDDS
