#include "tessivar/framework/requestreply/detail/instances.h"

namespace TessivarDDS {

TESSIVAR_REQUEST_REPLY_INSTANCES(template)

}  // namespace TessivarDDS
