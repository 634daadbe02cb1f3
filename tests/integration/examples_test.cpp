// SPDX-License-Identifier: Apache-2.0

// Tests the examples, each in its own process, with peers whose samples contradict their announcements.
#include "support/bus_peer.h"
#include "tessivar/framework/domain/domain_handle.h"
#include "tessivar/routing/message_helper.h"
#include "tessivar/routing/services.h"

namespace tessivar::testing {
namespace {

using namespace TessivarDDS;
using Helper = RoutingMessageHelper;

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

TEST(ExamplesTest, RoutingControllerSurvivesWrongCounts) {
  ChildProcess controller = example("routing_controller", "");
  const DomainHandle domain = DomainHandle::shared(own_domain());
  RoutingServices liar;
  liar.attachDomain(domain.get());
  ASSERT_TRUE(liar.createServerServices());
  const AddressEx unit(1, 3, 7);
  // Ports and a route arrive before their router. The router then has no matrices, no levels, and wrong counts.
  liar.sourcesNode()->writeSample(Helper::createSource(unit, 9, 40, 4000000000u, "early"), true);
  liar.destinationAssociations()->writeSample(Helper::createAssociation(unit, 9, 7, {4000000000u}, "early"), true);
  liar.routingService()->valueNode().writeSample(Helper::createRoute(unit, 9, 4000000000u, 4000000001u), true);
  controller.send("subscribe 0001:03:07");
  expect(controller, {"source 4000000000 of 0001:03:07: early", "destination 4000000001 of 0001:03:07 gets source"});
  DDSPtr router(Helper::createRouter(unit, ""));
  liar.routerNode()->writeSample(router);
  expect(controller, {"router 0001:03:07 is there, with 0 matrices"});
  Tessivar_Routing::Matrix* const matrix = Helper::addMatrix(router.get(), "", 0, 0xFFFFFFFFu);
  liar.routerNode()->writeSample(router);
  expect(controller, {"router 0001:03:07 is there, with 1 matrices, the first of 0 levels"});
  Helper::addLevel(matrix, "", 0xFFFF, 0);
  liar.routerNode()->writeSample(router);
  expect(controller, {"router 0001:03:07 is there, with 1 matrices, the first of 1 levels"});
  controller.send("end");
  EXPECT_EQ(controller.wait(), 0) << controller.transcript();
}

}  // namespace
}  // namespace tessivar::testing
