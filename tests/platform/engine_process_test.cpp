#include "tests/platform/engine_process.h"

namespace engine_test {
namespace {

// In a child the role takes the place of the tests.
class Child : public testing::Environment {
 public:
  void SetUp() override {
    const char* name = getenv("ENGINE_TEST_ROLE");
    const char* descriptors = getenv("ENGINE_TEST_CHANNEL");
    if (!name || !descriptors) return;
    int in = -1;
    int out = -1;
    if (std::sscanf(descriptors, "%d %d", &in, &out) != 2) std::exit(2);
    const auto role = Role::all().find(name);
    if (role == Role::all().end()) std::exit(3);
    {
      Channel parent(in, out);
      role->second(parent);
    }
    std::exit(0);  // leak checks included
  }
};

const auto* const child = testing::AddGlobalTestEnvironment(new Child);

const Role echo("echo", [](Channel& parent) {
  for (std::string line = parent.receive(); !line.empty(); line = parent.receive()) parent.send("echo " + line);
});

TEST(EngineProcess, TalksAndEnds) {
  Process process("echo");
  EXPECT_EQ(process->ask("a"), "echo a");
  EXPECT_EQ(process->ask("b c"), "echo b c");
  EXPECT_EQ(process.finish(), 0);
}

TEST(EngineProcess, AnUnknownRoleFails) {
  Process process("nobody");
  EXPECT_EQ(process.finish(), 3);
}

}  // namespace
}  // namespace engine_test
