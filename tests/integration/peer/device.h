// A device that does and answers what the test tells it to.
#pragma once

#include "peer/console.h"

#include <memory>

namespace TessivarDDS {
class DDSDomain;
}

namespace tessivar::testing {

/// Commands: unit ADDRESS NAME · remove ADDRESS · value ADDRESS NUMBER INT · metadata ADDRESS NUMBER NAME ·
/// dispose ADDRESS NUMBER · filter ADDRESS… · stream PERIOD_MS ADDRESS… (counts up command 1 of each, until the next
/// stream) · answer complete|echo|refuse REASON|none|throw|progress COUNT PERIOD_MS.
/// Events: request ADDRESS NUMBER INT · interest ADDRESS MIN MAX · interest-removed ADDRESS MIN MAX.
std::unique_ptr<Role> make_device(TessivarDDS::DDSDomain* domain);

}  // namespace tessivar::testing
