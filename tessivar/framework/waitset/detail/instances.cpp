#include "tessivar/framework/waitset/detail/instances.h"

namespace TessivarDDS {

TESSIVAR_RUNNER_INSTANCES(template)

}  // namespace TessivarDDS
