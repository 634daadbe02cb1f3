// SPDX-License-Identifier: Apache-2.0

// Tests that other threads call every public function while nodes, clients and services are created and cleaned up.
#include "tests/control/support/device_and_controller.h"
#include "tests/support/storm.h"

#include <atomic>

namespace TessivarDDS {
namespace {

using namespace tessivar::testing;

DDSPtr<Tessivar::Command> command() {
  return DDSPtr(Helper::createCommand(camera, 1, 5));
}

typedef DeviceAndController ControlThreadSafetyTest;

TEST_F(ControlThreadSafetyTest, CallsMayRunDuringCreateAndCleanUp) {
  DeviceListener passing(node_hears_);
  std::atomic<int> answered{0}, published{0}, found{0};
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
  const Calls calls = {
      [&] { node_.setUseQosProfiles(false); },
      [&] { node_.attachListener(&passing, false), node_.detachListener(&passing); },
      [&] { node_.addUnit(DDSPtr(Helper::createUnit(camera, "camera"))); },
      [&] { published += node_.publishCommand(command()); },
      [&] { node_.publishMetadata(DDSPtr(Helper::createMetadata(camera, 1))); },
      [&] { node_.setFilterAddresses({camera}); },
      [&] { node_.sendReply(DDSPtr(Tessivar::CommandChangeReplyTypeSupport::create_data())); },
      [&] { node_.disposeCommand(camera, 1), node_.disposeMetadata(camera, 1), node_.removeUnit(camera); },
      [&] { node_.services()->verifyInterestsNode(), node_.services()->inCallback(), node_.report(); },
      [&] { client_.setUseQosProfiles(false); },
      [&] { client_.waitForMatch(1), client_.waitForHistoricalData(-1); },
      [&] { client_.registerInterest(camera), client_.registerInterest({camera}); },
      [&] { client_.removeInterest(camera, 0, UINT32_MAX), client_.removeInterest(camera); },
      [&] { found += client_.hasUnit(camera); },
      [&] {
        Tessivar::UnitSeq units;
        DDS_SampleInfoSeq infos;
        if (client_.queryUnits(units, infos, 1)) client_.freeUnitData(units, infos);
      },
      [&] {
        Tessivar::CommandSeq commands;
        DDS_SampleInfoSeq infos;
        if (client_.queryCommands(commands, infos, -1)) client_.freeCommandData(commands, infos);
      },
      [&] {
        const DDSPtr unit(Helper::createUnit(camera, ""));
        client_.queryUnit(camera, *unit), client_.queryCommand(camera, 1, *command());
      },
      [&] { client_.refreshUnits(1); },
      [&] {
        DDSPtr wanted = command();
        answered += client_.setCommand(wanted, 100);
      },
      [&] {
        DDSPtr wanted = command();
        DDSPtr<TessivarClient::Ticket> ticket = client_.beginSetCommand(wanted);
        client_.completeSetCommand(ticket);
      },
      [&] { client_.services()->verifyCommandNode(), client_.services()->start(), client_.report(); },
  };
  storm(300, changing, calls, {&answered, &published, &found});
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
