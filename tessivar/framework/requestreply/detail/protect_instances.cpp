// SPDX-License-Identifier: Apache-2.0

#include "tessivar/framework/requestreply/detail/instances.h"

namespace TessivarDDS {

TESSIVAR_PROTECT_EXCHANGE(template)

}  // namespace TessivarDDS
