// A controller of routers that does what the test tells it to and reports what it hears.
#pragma once

#include "peer/console.h"

#include <memory>

namespace TessivarDDS {
class DDSDomain;
}

namespace tessivar::testing {

/// Commands: create · subscribe ADDRESS… · set ADDRESS DEST SOURCE (waits for the last reply) · flood ADDRESS FIRST
/// COUNT WINDOW (routes to the destinations from FIRST on) · count (from now on, instead of reporting) · await SOURCES
/// DESTINATIONS SOURCE_ASSOCIATIONS DESTINATION_ASSOCIATIONS ROUTES (until so many different ones were counted) ·
/// clean-up (afterwards everything is as at the start).
/// Events: router-added ADDRESS NAME · router-removed ADDRESS · source|destination|source-association|
/// destination-association ADDRESS INDEX NAME · protected ADDRESS INDEX · route ADDRESS DEST SOURCE · result RESULT
/// [REASON], for each reply · set RESULT, -1 without one · flood COMPLETED LOST FOREIGN · misnamed COUNT, with await.
std::unique_ptr<Role> make_controller(TessivarDDS::DDSDomain* domain);

}  // namespace tessivar::testing
