// A router device that publishes and answers what the test tells it to.
#pragma once

#include "peer/console.h"

#include <memory>

namespace TessivarDDS {
class DDSDomain;
}

namespace tessivar::testing {

/// Commands: announce ADDRESS NAME · withdraw ADDRESS · batching on|off · port ADDRESS INDEX NAME (a source, a
/// destination, a source and a destination association of that index) · fill ADDRESS MATRICES PORTS ASSOCIATIONS
/// (sources and destinations, associations of both with routes, so many in each matrix, named by their indexes) · route
/// ADDRESS DEST SOURCE · protect ADDRESS INDEX · stream PERIOD_MS ADDRESS… (counts up the source of destination 0 of
/// each, and renames its source 0, until the next stream) · readers ·
/// answer complete|echo|refuse REASON|none|progress COUNT PERIOD_MS|hold (all but `complete` leave the route as it is)
/// · release COUNT (answers as `echo`, at once, when so many requests are held). Events: request ADDRESS DEST SOURCE ·
/// readers COUNT (that the sources' writer is matched with).
std::unique_ptr<Role> make_router(TessivarDDS::DDSDomain* domain);

}  // namespace tessivar::testing
