// SPDX-License-Identifier: Apache-2.0

// Tests that other threads call every public function while nodes, clients and services are created and cleaned up.
#include "tests/control/support/every_call.h"
#include "tests/support/storm.h"

#include <atomic>

namespace TessivarDDS {
namespace {

using namespace tessivar::testing;

typedef EveryCall ControlThreadSafetyTest;

TEST_F(ControlThreadSafetyTest, CallsMayRunDuringCreateAndCleanUp) {
  client_listener_.during = [&](const std::string&) {
    DDSPtr wanted = command();
    DDSPtr<TessivarClient::Ticket> ticket = client_.beginSetCommand(wanted);
    client_.completeSetCommand(ticket);
    client_.cleanUp();
    client_.create();
  };
  node_listener_.answer = [](TessivarNode* node, const Tessivar::CommandChangeRequest* request) {
    node->publishCommand(command());
    node->cleanUp();
    return DeviceListener::complete(node, request);
  };
  const auto createNode = [&] {
    node_.attachListener(&node_listener_, false);
    node_.attachDomain(device_.get());
    node_.create({camera});
  };
  const auto createClient = [&] {
    client_.attachListener(&client_listener_, false);
    client_.attachDomain(controller_.get());
    client_.create();
  };
  const Calls changing = {[&] { createNode(), node_.cleanUp(); }, [&] { createClient(), client_.cleanUp(); }};
  Calls calls = {
      [&] { node_.disposeCommand(camera, 1), node_.removeUnit(camera); },
      [&] { client_.waitForMatch(1); },
  };
  for (const Table* table : {&of_client_, &of_node_})
    for (const auto& [name, call] : *table) calls.push_back(call);
  storm(300, changing, calls, {&answered_, &published_, &found_});
  client_listener_.during = [](const std::string&) {};
  node_.cleanUp();
  client_.cleanUp();
  createNode();
  createClient();
  DDSPtr wanted = command();
  EXPECT_TRUE(client_.waitForMatch(20000) && client_.setCommand(wanted, 20000)) << "all of it still works";
}

TEST_F(ControlThreadSafetyTest, ServicesMayBeCreatedByManyThreads) {
  TessivarServices services;
  std::atomic<int> verified{0};
  const Calls changing = {[&] {
    services.attachDomain(device_.get());
    services.create(true, {camera.guid()});
    services.cleanUp();
  }};
  storm(50, changing,
        {
            [&] { services.setUseQosProfiles(false), services.setAutoStartThread(true), services.start(); },
            [&] { verified += services.verifyUnitNode() && services.verifyCommandNode(); },
            [&] { services.verifyMetadataNode(), services.verifyInterestsNode(), services.report(); },
            [&] { services.inCallback(), services.domain(), services.unitNode(), services.commandService(); },
        },
        {&verified});
}

}  // namespace
}  // namespace TessivarDDS
