// SPDX-License-Identifier: Apache-2.0

#include "tests/control/support/device_and_controller.h"

#include <chrono>
#include <thread>
#include <tuple>

namespace TessivarDDS {
namespace {

using namespace tessivar::testing;
using namespace ::testing;

class TessivarClientTest : public DeviceAndController {
 protected:
  bool publish(const AddressEx& unit, int value) {
    return node_.publishCommand(Helper::createCommand(unit, 1, value), true);
  }
  std::size_t pending() { return client_.services()->commandService()->pendingTickets(); }
};

TEST_F(TessivarClientTest, RefusesCallsBeforeCreateAndASecondCreate) {
  Tessivar::UnitSeq units;
  Tessivar::CommandSeq commands;
  DDS_SampleInfoSeq infos;
  EXPECT_FALSE(client_.waitForMatch(100) || client_.waitForHistoricalData(100));
  log_.lines();
  EXPECT_FALSE(client_.hasUnit(camera));
  EXPECT_FALSE(client_.queryUnits(units, infos, 100) || client_.queryCommands(commands, infos, 100));
  EXPECT_FALSE(client_.queryUnit(camera, *unit_) || client_.queryCommand(camera, 1, *command_));
  EXPECT_FALSE(client_.refreshUnits(100) || client_.setCommand(command_, 100) || client_.beginSetCommand(command_));
  EXPECT_THAT(log_.lines(), AllOf(SizeIs(8), Each(EndsWith(" not created."))));
  EXPECT_FALSE(client_.create());
  for (int round = 0; round < 2; ++round) {
    client_.attachDomain(controller_.get());
    ASSERT_TRUE(client_.create());
    EXPECT_FALSE(client_.create() || client_.setCommand(command_, 100)) << "twice, and without a device";
    EXPECT_THAT(log_.lines(), Contains(EndsWith("TessivarClient::create(void)Already created")));
    client_.cleanUp();
  }
}

TEST_F(TessivarClientTest, ReportsAUnitRemovedBeforeItWasReadOnce) {
  client_listener_.during = [&](const std::string& text) {
    if (text != "unit 0001:02:0B") return;
    auto* const gone = client_.services()->unitNode()->dataReader()->create_readcondition(
        DDS_NOT_READ_SAMPLE_STATE, DDS_ANY_VIEW_STATE, DDS_NOT_ALIVE_INSTANCE_STATE);
    EXPECT_TRUE(node_.addUnit(unit_) && node_.removeUnit(camera));
    EXPECT_TRUE(eventually([&] { return gone->get_trigger_value(); }));
  };
  start();
  ASSERT_TRUE(node_.addUnit(DDSPtr(Helper::createUnit(lamp, "lamp"))));
  EXPECT_TRUE(client_hears_.happens("no unit 0001:02:0A"));
  ASSERT_TRUE(node_.removeUnit(lamp));
  EXPECT_TRUE(client_hears_.happens("no unit 0001:02:0B"));
  EXPECT_THAT(client_hears_.take(0), ElementsAre("unit 0001:02:0B", "unit 0001:02:0A"));
}

TEST_F(TessivarClientTest, SetCommandReturnsWithItsReply) {
  start();
  auto fastest = std::chrono::steady_clock::duration::max();
  for (int i = 0; i < 20; ++i) {
    const auto begin = std::chrono::steady_clock::now();
    ASSERT_TRUE(client_.setCommand(command_, 20000));
    fastest = std::min(fastest, std::chrono::steady_clock::now() - begin);
  }
  EXPECT_LT(fastest, std::chrono::milliseconds(9)) << "the timeout is counted in steps of 10 ms, the reply is not";
  DDSPtr ticket = client_.beginSetCommand(command_);
  ASSERT_TRUE(ticket && ticket->wait(-1));
  ticket->received = false;
  EXPECT_FALSE(ticket->wait(1) || ticket->wait(-2));
  client_.completeSetCommand(ticket);
}

TEST_F(TessivarClientTest, FindsOnlyUnitsAndCommandsThatAreAlive) {
  const auto units = [&] {
    Tessivar::UnitSeq found;
    DDS_SampleInfoSeq infos;
    EXPECT_TRUE(client_.queryUnits(found, infos, 20000));
    std::vector<std::string> texts;
    texts.reserve(static_cast<std::size_t>(found.length()));
    for (DDS_Long i = 0; i < found.length(); ++i) texts.emplace_back(found[i].unitId);
    client_.freeUnitData(found, infos);
    return texts;
  };
  const auto refreshed = [&] {
    client_hears_.take(0);
    EXPECT_TRUE(client_.refreshUnits(20000));
    return client_hears_.take(0);
  };
  const auto finds = [&](const AddressEx& unit) {
    return std::tuple(client_.hasUnit(unit), client_.queryUnit(unit, *unit_), client_.queryCommand(unit, 1, *command_));
  };
  start();
  for (const AddressEx& unit : {camera, lamp}) {
    ASSERT_TRUE(node_.addUnit(DDSPtr(Helper::createUnit(unit, "unit"))) && publish(unit, 7));
    EXPECT_TRUE(client_hears_.happens("unit " + unit.toString()) && client_hears_.happens("value 7"));
  }
  EXPECT_EQ(finds(camera), std::tuple(true, true, true));
  EXPECT_THAT(refreshed(), UnorderedElementsAre("unit 0001:02:0A", "unit 0001:02:0B"));
  client_listener_.during = [&](const std::string& text) {
    const bool gone = text == "no unit 0001:02:0A";
    EXPECT_FALSE(gone && (client_.hasUnit(camera) || client_.queryUnit(camera, *unit_)));
  };
  ASSERT_TRUE(node_.removeUnit(camera) && node_.disposeCommand(camera, 1));
  EXPECT_TRUE(client_hears_.happens("no unit 0001:02:0A"));
  EXPECT_TRUE(eventually([&] { return !client_.queryCommand(camera, 1, *command_); }));
  EXPECT_EQ(finds(camera), std::tuple(false, false, false));
  EXPECT_THAT(units(), ElementsAre("0001:02:0B"));
  EXPECT_THAT(refreshed(), ElementsAre("unit 0001:02:0B", "no unit 0001:02:0A"));
  EXPECT_THAT(refreshed(), ElementsAre("unit 0001:02:0B"));
  node_.cleanUp();
  EXPECT_TRUE(client_hears_.happens("no unit 0001:02:0B"));
  EXPECT_TRUE(eventually([&] { return finds(lamp) == std::tuple(false, false, false); }));
  EXPECT_THAT(units(), IsEmpty());
}

TEST_F(TessivarClientTest, QueriesDoNotWaitForASilentDevice) {
  start();
  std::jthread device([&](const std::stop_token& stop) {
    while (!stop.stop_requested()) publish(camera, 7);
  });
  ASSERT_TRUE(client_hears_.happens("value 7"));
  const auto begin = std::chrono::steady_clock::now();
  for (int i = 0; i < 3; ++i) EXPECT_TRUE(client_.queryCommand(camera, 1, *command_));
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(1500)) << "each may wait for a second";
}

TEST_F(TessivarClientTest, SetCommandRemovesItsTicket) {
  node_listener_.answer = [](auto*, auto* request) {
    const auto number = request->newValue.commandNumber;
    return number == 3 ? nullptr
                       : Helper::createReply(request, number == 2 ? Tessivar::FAILED : Tessivar::COMPLETE, "");
  };
  start();
  DDSPtr ticket = client_.beginSetCommand(command_);
  ASSERT_TRUE(ticket && eventually([&] { return ticket->received.load(); }));
  EXPECT_EQ(pending(), 1u);
  EXPECT_TRUE(client_.completeSetCommand(ticket));
  for (const unsigned number : {1u, 2u, 3u}) {
    command_->commandNumber = number;
    EXPECT_EQ(client_.setCommand(command_, number == 3 ? 300 : 20000), number == 1);
    EXPECT_EQ(pending(), 0u);
  }
}

TEST_F(TessivarClientTest, CallbacksMayCallTheClientAndThrow) {
  Events others;
  ControllerListener other(others);
  client_listener_.during = [&](const std::string& text) {
    if (text == "unit 0001:02:0A") {
      EXPECT_TRUE(client_.hasUnit(camera) && client_.queryUnit(camera, *unit_));
      EXPECT_TRUE(client_.registerInterest(lamp));
      EXPECT_TRUE(client_.setCommand(command_, 10000));
      EXPECT_FALSE(client_.refreshUnits(-1));
      client_.cleanUp();  // also refused
    } else {
      EXPECT_TRUE(client_.queryCommand(lamp, 1, *command_));
      EXPECT_FALSE(client_.setCommand(command_, -1)) << "its reply could not arrive";
    }
    throw std::runtime_error("a fault in " + text);
  };
  start();
  client_.attachListener(&other, false);
  ASSERT_TRUE(node_.addUnit(unit_));
  EXPECT_TRUE(others.happens("unit 0001:02:0A"));
  EXPECT_TRUE(node_hears_.happens("interest 0001:02:0B"));
  ASSERT_TRUE(publish(lamp, 30));
  EXPECT_TRUE(others.happens("value 30"));
  EXPECT_THAT(log_.lines(), IsSupersetOf({EndsWith("where no reply can arrive."), EndsWith("a fault in value 30"),
                                          EndsWith("a fault in unit 0001:02:0A")}));
  client_.cleanUp();
}

}  // namespace
}  // namespace TessivarDDS
