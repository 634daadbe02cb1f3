#include "tessivar/framework/requestreply/instances.h"

namespace TessivarDDS {

TESSIVAR_REQUEST_REPLY_INSTANCES(template)

}  // namespace TessivarDDS
