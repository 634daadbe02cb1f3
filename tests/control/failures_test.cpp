// SPDX-License-Identifier: Apache-2.0

// Tests creations that the engine refuses: the failure is logged and undone, and the next attempt succeeds.
#include "tessivar/control/client.h"
#include "tessivar/control/node.h"
#include "tests/support/failing_engine.h"
#include "tests/support/log_recorder.h"
#include "tests/support/loopback.h"

namespace TessivarDDS {
namespace {

using namespace ::testing;

template <class Part>
class Refusals : public Test {};
typedef Types<TessivarNode, TessivarClient> Parts;
TYPED_TEST_SUITE(Refusals, Parts);

TYPED_TEST(Refusals, OfAnyStepAreToldAndLeaveNothingBehind) {
  tessivar::testing::LogRecorder log(LogError);
  tessivar::testing::FailingEngine engine;
  tessivar::testing::LoopbackDomain domain(93);
  int steps = 0;
  for (;; ++steps) {
    TypeParam part;
    part.attachDomain(&domain);
    log.lines();
    engine.fail_after(steps);
    const bool created = part.create();
    const bool refused = engine.failed();
    engine.fail_after(-2);
    if (!refused) break;
    EXPECT_FALSE(created) << "step " << steps;
    EXPECT_THAT(log.lines(), Not(IsEmpty())) << "step " << steps;
    part.cleanUp();
    part.attachDomain(&domain);
    EXPECT_TRUE(part.create()) << "after step " << steps;
    part.cleanUp();
    EXPECT_THAT(log.lines(), IsEmpty()) << "after step " << steps;
    if (this->HasFailure()) break;
  }
  EXPECT_GT(steps, 6);
}

}  // namespace
}  // namespace TessivarDDS
