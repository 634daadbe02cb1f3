// SPDX-License-Identifier: Apache-2.0

// Tests the examples, each in its own process.
#include "support/bus_peer.h"

namespace tessivar::testing {
namespace {

void expect(ChildProcess& process, std::initializer_list<const char*> lines) {
  for (const char* line : lines) EXPECT_TRUE(process.event(line)) << line << '\n' << process.transcript();
}

TEST(ExamplesTest, ControllerSetsCommandsOfTheDevices) {
  ChildProcess device = example("device", ""), slow = example("slow_device", ""),
               controller = example("controller", "");
  expect(controller, {"command 1 of 0001:02:0A is called gain, from 0 to 24",
                      "command 2 of 0001:02:0A is called tally, which cannot", "set 1 to 12: done",
                      "refused: a gain is from 0 to 24", "set 1 to 99: not done", "refused: a gain is an Int",
                      "refused: the mixer sets it", "set 1 to 30: done", "command 1 of 0001:02:0B is 30"});
  for (ChildProcess* process : {&controller, &device, &slow}) {
    process->send("");
    EXPECT_EQ(process->wait(), 0) << process->transcript();
  }
}

TEST(ExamplesTest, ProtectorProtectsADestination) {
  ChildProcess router = example("protected_router", "0001:03:09");
  ChildProcess controller = example("routing_controller", "");
  controller.send("subscribe 0001:03:09");
  expect(controller, {"router 0001:03:09 is there, with 1 matrices", "destination 2 of 0001:03:09: out 2"});
  ChildProcess protector = example("protector", {"0001:03:09", "2", "1"});
  EXPECT_EQ(protector.wait(), 0) << protector.transcript();
  expect(controller, {"destination 2 of 0001:03:09: out 2, protected"});
  controller.send("route 0001:03:09 1 2");
  expect(controller, {"route request: result 3, the destination is protected"});
  EXPECT_NE(example("protector", {"0001:03:09", "4", "1"}).wait(), 0) << "there is no such destination";
}

}  // namespace
}  // namespace tessivar::testing
