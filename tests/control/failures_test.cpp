// SPDX-License-Identifier: Apache-2.0

// Tests creations that the engine refuses: the failure is logged and undone, and the next attempt succeeds.
#include "tessivar/control/client.h"
#include "tessivar/control/node.h"
#include "tessivar/routing/client.h"
#include "tessivar/routing/services.h"
#include "tests/support/log_recorder.h"
#include "tests/support/loopback.h"
#include "tests/support/test_engine.h"

namespace TessivarDDS {
namespace {

using namespace ::testing;
using namespace tessivar::testing;

struct Router : RoutingServices {
  bool create() { return createServerServices(); }
};
struct Controller : RoutingClient {
  bool create() { return RoutingClient::create() && subscribe({AddressEx(1, 2, 10)}); }
};

template <class Part>
class EngineFailureTest : public Test {};
typedef Types<TessivarNode, TessivarClient, Router, Controller> Parts;
TYPED_TEST_SUITE(EngineFailureTest, Parts);

/// Returns what a log line says about the entity that the engine refused.
std::string said_of(const TestEngine::Refusal& refused) {
  if (refused.topic.empty()) return "condition";
  return (refused.call == Call::create_reader ? "DDSDataReader: topic \"" : "DDSDataWriter::enable: topic \"") +
         refused.topic + '"';
}

TYPED_TEST(EngineFailureTest, CreateLogsAFailureAndCanBeRepeated) {
  LogRecorder log(LogError);
  TestEngine engine;
  LoopbackDomain domain(93);
  const int before = engine.entities();
  int steps = 0;
  for (;; ++steps) {
    TypeParam part;
    part.attachDomain(&domain);
    log.lines();
    engine.script.clear();
    engine.script.add({.call = Call::create, .effect = Effect::refuse, .skip = steps});
    const bool created = part.create();
    if (!engine.script.done()) break;
    const std::string subject = said_of(engine.refused());
    EXPECT_FALSE(created) << subject;
    EXPECT_THAT(log.lines(), Contains(HasSubstr(subject))) << "step " << steps;
    part.cleanUp();
    EXPECT_EQ(engine.entities(), before) << subject;
    part.attachDomain(&domain);
    EXPECT_TRUE(part.create()) << "after " << subject;
    part.cleanUp();
    EXPECT_THAT(log.lines(), IsEmpty()) << "after " << subject;
    if (this->HasFailure()) break;
  }
  EXPECT_GE(steps, 5);
}

}  // namespace
}  // namespace TessivarDDS
