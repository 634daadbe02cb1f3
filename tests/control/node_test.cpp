// SPDX-License-Identifier: Apache-2.0

#include "tests/control/support/device_and_controller.h"

namespace TessivarDDS {
namespace {

using namespace tessivar::testing;
using namespace ::testing;

class TessivarNodeTest : public DeviceAndController {
 protected:
  bool set(const AddressEx& unit, int timeout = 20000) {
    DDSPtr command(Helper::createCommand(unit, 1, 5));
    return client_.setCommand(command, timeout);
  }
};

TEST_F(TessivarNodeTest, RefusesCallsBeforeCreateAndNullSamples) {
  const auto all_fail = [&](const char* with) {
    EXPECT_FALSE(node_.removeUnit(camera) || node_.disposeCommand(camera, 1) || node_.disposeMetadata(camera, 1));
    EXPECT_THAT(log_.lines(), Each(EndsWith(with)));
  };
  EXPECT_FALSE(node_.addUnit(unit_) || node_.publishCommand(command_) || node_.publishMetadata(metadata_));
  EXPECT_FALSE(node_.publishCommand(Helper::createCommand(camera, 1, 5), true)) << "which is not leaked";
  all_fail(" not created.");
  EXPECT_FALSE(node_.setFilterAddresses({camera}) || node_.create());
  for (int round = 0; round < 2; ++round) {
    node_.attachDomain(device_.get());
    ASSERT_TRUE(node_.create());
    log_.lines();
    EXPECT_FALSE(node_.create());
    EXPECT_THAT(log_.lines(), ElementsAre("8 bool __cdecl TessivarDDS::TessivarNode::create(void)Already created"));
    EXPECT_FALSE(node_.addUnit(nullptr) || node_.publishCommand(nullptr) || node_.publishCommand(nullptr, true) ||
                 node_.publishMetadata(nullptr) || node_.sendReply(nullptr));
    EXPECT_THAT(log_.lines(), Each(EndsWith("Invalid argument.")));
    all_fail(" not found.");
    EXPECT_TRUE(node_.addUnit(unit_) && node_.publishCommand(command_) && node_.publishMetadata(metadata_));
    EXPECT_FALSE(node_.removeUnit(lamp) || node_.disposeCommand(camera, 2));
    EXPECT_TRUE(node_.removeUnit(camera) && node_.disposeCommand(camera, 1) && node_.disposeMetadata(camera, 1));
    node_.cleanUp();
  }
}

TEST_F(TessivarNodeTest, WarnsOnceOfEachMistake) {
  start();
  const char* const bad[] = {"nonsense", "1:2:3", "0001:02:0A:7", "0001:02:0a", ""};
  for (int twice = 0; twice < 2; ++twice) {
    for (const char* text : bad) DDSPtr(Helper::createUnit(text, "unit"));
    EXPECT_TRUE(node_.publishCommand(command_));
  }
  EXPECT_TRUE(client_.registerInterest("garbage") && node_.setFilterAddresses({camera, "rubbish"}));
  EXPECT_THAT(log_.lines(),
              ElementsAre(EndsWith("\"nonsense\" is not the address of a unit, which is written as \"0001:02:0A\"."),
                          EndsWith("compared as texts, and \"0001:02:03\" is another one."), HasSubstr("0A:7\" is not"),
                          HasSubstr("\"0001:02:0a\" is not"),
                          HasSubstr("(const class TessivarDDS::AddressEx &,const char *) \"\" is not"),
                          HasSubstr("Unit 0001:02:0A has values, but it was not added"),
                          HasSubstr("\"garbage\" is not"), HasSubstr("\"rubbish\" is not")));
  LoopbackDomain other(control_domain);
  TessivarNode second;
  second.attachDomain(&other);
  ASSERT_TRUE(second.create());
  EXPECT_TRUE(node_.addUnit(unit_) && client_hears_.happens("unit 0001:02:0A"));
  for (TessivarNode* device : {&second, &node_, &second, &node_}) {
    // One at a time, because a reader keeps only the latest announcement.
    EXPECT_TRUE(device->addUnit(unit_) && client_hears_.happens("unit 0001:02:0A"));
  }
  const std::string twice = " Unit 0001:02:0A is announced by more than one device: ";
  EXPECT_THAT(log_.lines(3),
              UnorderedElementsAre(HasSubstr(twice + "writer "), HasSubstr(twice + "this device and writer "),
                                   HasSubstr("this device")));
  second.cleanUp();
}

TEST_F(TessivarNodeTest, SendsTheFirstReplyOfItsListeners) {
  struct Heard : RequestReplyNodeClientListener {
    void ticketChanged(unsigned short) override { interim.signal(); }
    TessivarEvent interim;
  } heard;
  Events second;
  std::jthread worker;
  node_listener_.answer = [](auto*, auto*) -> Tessivar::CommandChangeReply* { throw 1; };
  DeviceListener silent(node_hears_, [](auto*, auto*) { return nullptr; });
  DeviceListener answering(second, [&](TessivarNode* node, const Tessivar::CommandChangeRequest* request) {
    const DDSPtr done(Helper::createReply(request, Tessivar::COMPLETE, "in the end"));
    worker = std::jthread([=, &heard] { EXPECT_TRUE(heard.interim.wait(20000) && node->sendReply(done)); });
    return Helper::createReply(request, Tessivar::IN_PROGRESS, nullptr);
  });
  DeviceListener late(second, [](auto*, auto*) -> Tessivar::CommandChangeReply* { throw 2; });
  for (DeviceListener* listener : {&node_listener_, &silent, &answering, &late}) node_.attachListener(listener, false);
  start();
  client_.services()->commandService()->attachListener(&heard);
  EXPECT_TRUE(set(camera));
  EXPECT_THAT(node_hears_.take(2), ElementsAre("request", "request"));
  EXPECT_THAT(second.take(1), ElementsAre("request")) << "the late one is not asked";
  node_.cleanUp();
  client_.cleanUp();
}

TEST_F(TessivarNodeTest, FilterAddressesSelectRequestsAndInterests) {
  start({lamp});
  ASSERT_TRUE(client_.registerInterest({lamp, camera}));
  EXPECT_TRUE(node_hears_.happens("interest " + lamp.toString()));
  EXPECT_TRUE(set(lamp) && !set(camera, 300));
  ASSERT_TRUE(node_.setFilterAddresses({camera}));
  EXPECT_TRUE(node_hears_.happens("interest " + camera.toString())) << "registered earlier";
  EXPECT_TRUE(set(camera) && !set(lamp, 300));
  EXPECT_THAT(node_hears_.take(2), ElementsAre("request", "request"));
}

TEST_F(TessivarNodeTest, ReceivesRequestsForItsOwnUnitsOnly) {
  start({lamp});
  ASSERT_TRUE(client_.registerInterest({lamp, camera}));
  LoopbackDomain another(control_domain);
  const std::jthread asking([&](const std::stop_token& stop) {
    while (!stop.stop_requested()) set(lamp);
  });
  for (int start = 0; start < 3; ++start) {
    Events heard;
    DeviceListener listener(heard, [&](TessivarNode* node, const Tessivar::CommandChangeRequest* request) {
      heard.add(std::string("of ") + request->newValue.unitId);
      return DeviceListener::complete(node, request);
    });
    TessivarNode camera_node;
    camera_node.attachListener(&listener, false);
    camera_node.attachDomain(&another);
    ASSERT_TRUE(camera_node.create({camera}));
    EXPECT_TRUE(heard.happens("interest " + camera.toString()));
    EXPECT_TRUE(eventually([&] { return set(camera, 1000); }));
    camera_node.cleanUp();
    EXPECT_THAT(heard.take(2), Each(AnyOf("request", "of " + camera.toString())));
  }
}

}  // namespace
}  // namespace TessivarDDS
