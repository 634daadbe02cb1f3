// A controller that does what the test tells it to and reports what it hears.
#pragma once

#include "peer/console.h"

#include <memory>

namespace TessivarDDS {
class DDSDomain;
}

namespace tessivar::testing {

/// Commands: create (made by itself, so that interest can be registered before) · interest ADDRESS [MIN MAX] ·
/// match TIMEOUT_MS · history TIMEOUT_MS · set ADDRESS NUMBER INT TIMEOUT_MS · flood ADDRESS NUMBER COUNT WINDOW ·
/// value ADDRESS NUMBER · counts · throw on|off.
/// Events: unit-added ADDRESS NAME · unit-removed ADDRESS · metadata ADDRESS NUMBER NAME · value ADDRESS NUMBER INT ·
/// set true|false MILLISECONDS · reason TEXT · flood COMPLETED LOST FOREIGN · counts UNITS COMMANDS.
std::unique_ptr<Role> make_client(TessivarDDS::DDSDomain* domain);

}  // namespace tessivar::testing
