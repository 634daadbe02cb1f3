// SPDX-License-Identifier: Apache-2.0

// Tests domains, nodes and clients that are destroyed in any order, at the end of the process and in forked processes.
#include "tessivar/framework/domain/domain_manager.h"
#include "tests/control/support/device_and_controller.h"

#include <cstdio>
#include <cstdlib>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace TessivarDDS {
namespace {

using namespace tessivar::testing;
using namespace ::testing;

/// A second node and a second client are on the controller's domain.
class LifetimeTest : public DeviceAndController {
 protected:
  void SetUp() override {
    start();
    other_node_.attachDomain(controller_.get());
    other_client_.attachDomain(controller_.get());
    ASSERT_TRUE(other_node_.create() && other_client_.create() && other_client_.waitForMatch(20000) && usable());
  }
  void TearDown() override {
    other_node_.cleanUp();
    other_client_.cleanUp();
    DeviceAndController::TearDown();
  }
  bool usable() { return client_.setCommand(command_, 20000) && other_client_.setCommand(command_, 20000); }

  TessivarNode other_node_;
  TessivarClient other_client_;
};

TEST_F(LifetimeTest, DomainMayBeDestroyedBeforeItsNodes) {
  device_.reset();
  controller_.reset();
  EXPECT_THAT(log_.lines(), AllOf(SizeIs(2), Each(HasSubstr("is released while topics on it are in use: Orvel."))));
  EXPECT_TRUE(usable());
  TearDown();
  EXPECT_THAT(log_.lines(), IsEmpty());
}

template <class T, class... Arguments>
T* staticObject(Arguments... arguments) {
  static T object(arguments...);
  return &object;
}

/// Makes static objects in the order of the letters and uses them. The end of the process destroys them.
[[noreturn]] void useStaticObjects(const std::string& order) {
  TessivarClient* client = nullptr;
  TessivarNode* node = nullptr;
  DDSDomain* domain = nullptr;
  for (const char which : order) {
    if (which == 'c') client = staticObject<TessivarClient>();
    if (which == 'n') node = staticObject<TessivarNode>();
    if (which == 'd') domain = staticObject<LoopbackDomain>(control_domain);
  }
  setenv("DDS_ALLOWED_INTERFACES", "lo", 1);
  client->attachDomain(DomainManager::instance().sharedDomain(control_domain, "", "", nullptr));
  node->attachDomain(domain);
  const bool made = client->create() && node->create() && client->waitForMatch(20000);
  std::exit(made ? 0 : 1);
}

TEST(StaticObjectsTest, AreDestroyedInAnyOrder) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");  // in a separate process
  // The last line is the manager's message about the domain that was not released. Before it comes only the named
  // warning.
  const std::pair<const char*, const char*> cases[] = {
      {"dcn", "^[^\n]*Domain '90' still alive! Ref count: 1\n$"},
      {"ncd",
       "^[^\n]*is released while topics on it are in use:[^\n]*\n[^\n]*Domain '90' still alive! Ref count: 1\n$"},
      {"cdn", "^[^\n]*Domain '90' still alive! Ref count: 1\n$"},
  };
  for (const auto& [order, expected] : cases) {
    EXPECT_EXIT(useStaticObjects(order), ExitedWithCode(0), ContainsRegex(expected)) << order;
  }
}

TEST_F(LifetimeTest, ForkedProcessMayDestroyInheritedObjects) {
  std::jthread traffic([&](const std::stop_token& stop) {  // so that locks are held during the fork
    while (!stop.stop_requested()) node_.publishCommand(command_);
  });
  for (int round = 0; round < 10; ++round) {
    const pid_t child = fork();
    if (child == 0) {
      alarm(20);
      setLogger(nullptr);
      client_.cleanUp();
      node_.cleanUp();
      other_node_.cleanUp();
      device_.reset();
      controller_.reset();  // before the second client is cleaned up
      other_client_.cleanUp();
      _exit(0);
    }
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
  }
  traffic = {};
  EXPECT_TRUE(usable());
}

TEST_F(LifetimeTest, ExecutedProgramInheritsNoSocket) {
  std::FILE* const listing = popen("ls -l /proc/self/fd", "r");
  char text[8192];
  text[std::fread(text, 1, sizeof text - 1, listing)] = '\0';
  EXPECT_EQ(pclose(listing), 0);
  EXPECT_THAT(text, AllOf(HasSubstr("pipe:"), Not(HasSubstr("socket:"))));
}

}  // namespace
}  // namespace TessivarDDS
