// SPDX-License-Identifier: Apache-2.0

#include "tessivar/framework/waitset/detail/instances.h"

namespace TessivarDDS {

TESSIVAR_RUNNER_INSTANCES(template)

}  // namespace TessivarDDS
