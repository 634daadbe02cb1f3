// SPDX-License-Identifier: Apache-2.0

// The roles of a peer. Each role executes the commands of the test and reports its events.
#pragma once

#include "peer/console.h"

#include <memory>
#include <mutex>

namespace TessivarDDS {
class DDSDomain;
}

namespace tessivar::testing {

/// How a device replies to the next requests. May be changed at any time.
class Answer {
 public:
  bool set(const Words& words) {
    const std::lock_guard guard(lock_);
    answer_.assign(words.begin() + 1, words.end());
    return !answer_.empty();
  }
  Words get() {
    const std::lock_guard guard(lock_);
    return answer_;
  }

 private:
  std::mutex lock_;
  Words answer_ = {"complete"};
};

/// A device of the control family. Uses QoS profiles if NDDS_QOS_PROFILES is set.
/// Commands: unit ADDRESS NAME · remove ADDRESS · value ADDRESS NUMBER INT · metadata ADDRESS NUMBER NAME · dispose
/// ADDRESS NUMBER · filter ADDRESS… · stream PERIOD_MS ADDRESS… (increments command 1 of each address, until the next
/// stream) · answer complete|echo|refuse REASON|none|throw|progress COUNT PERIOD_MS.
/// Events: request ADDRESS NUMBER INT · interest ADDRESS MIN MAX · interest-removed ADDRESS MIN MAX.
std::unique_ptr<Role> make_device(TessivarDDS::DDSDomain* domain);

/// A controller of the control family. Uses QoS profiles if NDDS_QOS_PROFILES is set.
/// Commands: create (separate, so that a test can register interest earlier) · interest ADDRESS [MIN MAX] · no-interest
/// ADDRESS [MIN MAX] · match TIMEOUT_MS · history TIMEOUT_MS · set ADDRESS NUMBER INT TIMEOUT_MS · flood ADDRESS NUMBER
/// COUNT WINDOW.
/// Events: unit-added ADDRESS NAME · unit-removed ADDRESS · metadata ADDRESS NUMBER NAME · value ADDRESS NUMBER INT ·
/// set true|false MILLISECONDS · reason TEXT · begun · flood COMPLETED LOST FOREIGN REFUSED.
std::unique_ptr<Role> make_client(TessivarDDS::DDSDomain* domain);

/// A device with routers.
/// Commands: announce ADDRESS NAME · withdraw ADDRESS · batching on|off · port ADDRESS INDEX NAME (a source, a
/// destination, a source and a destination association of that index) · fill ADDRESS MATRICES PORTS ASSOCIATIONS
/// (publishes in each matrix PORTS sources and destinations, ASSOCIATIONS associations on each side, and routes, named
/// by their indexes) · route ADDRESS DEST SOURCE · answer complete|refuse REASON|progress COUNT PERIOD_MS (only
/// `complete` changes the route).
/// Events: request ADDRESS DEST SOURCE.
std::unique_ptr<Role> make_router(TessivarDDS::DDSDomain* domain);

}  // namespace tessivar::testing
