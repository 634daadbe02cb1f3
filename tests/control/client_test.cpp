#include "tessivar/control/client.h"

#include "tests/control/support/bus.h"
#include "tests/control/support/log_recorder.h"

namespace TessivarDDS {
namespace {

using namespace tessivar::testing;
using Helper = TessivarMessageHelper;
using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::IsEmpty;
using ::testing::SizeIs;

const AddressEx camera(1, 2, 10);
const AddressEx lamp(1, 2, 11);

class Client : public ::testing::Test {
 protected:
  ~Client() override {
    node_.cleanUp();
    client_.cleanUp();
  }

  // Starts a device that does as it is told, and the client.
  void start() {
    node_.attachDomain(&device_);
    node_.attachListener(&device_listener_, false);
    ASSERT_TRUE(node_.create());
    client_.attachDomain(&controller_);
    client_.attachListener(&listener_, false);
    ASSERT_TRUE(client_.create());
    ASSERT_TRUE(client_.waitForMatch(20000));
  }

  void publish(const AddressEx& unit, unsigned number, int value) {
    ASSERT_TRUE(node_.publishCommand(Helper::createCommand(unit, number, value), true));
  }

  DDSPtr<Tessivar::Command> wanted(int value = 5) { return DDSPtr(Helper::createCommand(camera, 1, value)); }

  LogRecorder log_;
  Events events_;
  Events device_events_;
  DeviceListener device_listener_{device_events_,
                                  [](TessivarNode* node, const Tessivar::CommandChangeRequest* request) {
                                    const int value = request->newValue.value._u.intValue;
                                    const AddressEx unit(request->newValue.unitId);
                                    node->publishCommand(Helper::createCommand(unit, 1, value), true);
                                    return Helper::createReply(request, Tessivar::COMPLETE, nullptr);
                                  }};
  ControllerListener listener_{events_};
  Participant device_;
  Participant controller_;
  TessivarNode node_;
  TessivarClient client_;
};

TEST_F(Client, RefusesEverythingBeforeItIsCreated) {
  DDSPtr command = wanted();
  const DDSPtr unit(Tessivar::UnitTypeSupport::create_data());
  Tessivar::UnitSeq units;
  Tessivar::CommandSeq commands;
  DDS_SampleInfoSeq infos;
  EXPECT_FALSE(client_.waitForMatch(100));
  EXPECT_FALSE(client_.waitForHistoricalData(100));
  EXPECT_THAT(log_.lines(), AllOf(SizeIs(2), Each(EndsWith("Not created!"))));
  EXPECT_FALSE(client_.hasUnit(camera));
  EXPECT_FALSE(client_.queryUnits(units, infos, 100));
  EXPECT_FALSE(client_.queryCommands(commands, infos, 100));
  EXPECT_FALSE(client_.queryUnit(camera, *unit));
  EXPECT_FALSE(client_.queryCommand(camera, 1, *command));
  EXPECT_FALSE(client_.refreshUnits(100));
  EXPECT_FALSE(client_.setCommand(command, 100));
  EXPECT_FALSE(client_.beginSetCommand(command));
  EXPECT_THAT(log_.lines(), AllOf(SizeIs(8), Each(EndsWith(" not created."))));
  EXPECT_FALSE(client_.create());
  EXPECT_THAT(log_.lines(),
              ElementsAre(EndsWith("No domain is attached."),
                          "8 bool __cdecl TessivarDDS::TessivarClient::create(void)Unable to create services!"));
}

TEST_F(Client, IsCreatedOnceUntilItIsCleanedUp) {
  for (int round = 0; round < 2; ++round) {
    client_.attachDomain(&controller_);
    ASSERT_TRUE(client_.create());
    EXPECT_FALSE(client_.create());
    EXPECT_THAT(log_.lines(), ElementsAre(EndsWith("TessivarClient::create(void)Already created")));
    client_.cleanUp();
  }
  client_.cleanUp();
  EXPECT_FALSE(client_.waitForMatch(100));
}

TEST_F(Client, CannotSetWithoutADevice) {
  client_.attachDomain(&controller_);
  ASSERT_TRUE(client_.create());
  DDSPtr command = wanted();
  EXPECT_FALSE(client_.setCommand(command, 100));
  EXPECT_THAT(log_.lines(), ElementsAre(EndsWith(" No current connection to send the request."),
                                        EndsWith("Client error in send"), EndsWith("Could not make request")));
  DDSPtr<Tessivar::Command> none;
  EXPECT_FALSE(client_.setCommand(none, 100));
  EXPECT_THAT(log_.lines(), ElementsAre(EndsWith("Invalid argument."), EndsWith("Could not make request")));
}

TEST_F(Client, HearsUnitsMetadataAndValues) {
  start();
  ASSERT_TRUE(node_.addUnit(DDSPtr(Helper::createUnit(camera, "camera"))));
  ASSERT_TRUE(node_.publishMetadata(DDSPtr(Helper::createMetadata(camera, 1))));
  publish(camera, 1, 17);
  EXPECT_TRUE(events_.happens("unit 0001:02:0A"));
  EXPECT_TRUE(events_.happens("metadata 1"));
  EXPECT_TRUE(events_.happens("value 1 17"));
  ASSERT_TRUE(node_.disposeMetadata(camera, 1));
  ASSERT_TRUE(node_.disposeCommand(camera, 1));
  ASSERT_TRUE(node_.removeUnit(camera));
  EXPECT_TRUE(events_.happens("no unit 0001:02:0A"));
  EXPECT_THAT(events_.rest(), IsEmpty()) << "what happens to metadata and values after their end is not told";
}

TEST_F(Client, AnswersQueries) {
  start();
  ASSERT_TRUE(node_.addUnit(DDSPtr(Helper::createUnit(camera, "camera"))));
  publish(camera, 1, 17);
  publish(camera, 1, 18);
  publish(lamp, 1, 19);
  EXPECT_TRUE(events_.happens("unit 0001:02:0A"));
  EXPECT_TRUE(events_.happens("value 1 19"));
  EXPECT_TRUE(client_.waitForHistoricalData(20000));
  log_.lines();

  EXPECT_TRUE(client_.hasUnit(camera));
  EXPECT_FALSE(client_.hasUnit(lamp));
  const DDSPtr unit(Tessivar::UnitTypeSupport::create_data());
  EXPECT_TRUE(client_.queryUnit(camera, *unit));
  EXPECT_STREQ(unit->name, "camera");
  EXPECT_FALSE(client_.queryUnit(lamp, *unit));
  EXPECT_THAT(log_.lines(), IsEmpty()) << "the absence of a unit needs no message";

  const DDSPtr command(Tessivar::CommandTypeSupport::create_data());
  EXPECT_TRUE(client_.queryCommand(camera, 1, *command));
  EXPECT_EQ(command->value._u.intValue, 18);
  EXPECT_FALSE(client_.queryCommand(camera, 2, *command));
  EXPECT_THAT(log_.lines(), ElementsAre(EndsWith(" Queried instance does not exist")));

  Tessivar::UnitSeq units;
  Tessivar::CommandSeq commands;
  DDS_SampleInfoSeq infos;
  ASSERT_TRUE(client_.queryUnits(units, infos, 5000));
  EXPECT_EQ(units.length(), 1);
  client_.freeUnitData(units, infos);
  ASSERT_TRUE(client_.queryCommands(commands, infos, 5000));
  EXPECT_EQ(commands.length(), 2);
  client_.freeCommandData(commands, infos);
  EXPECT_EQ(commands.length(), 0);
  EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(Client, QueriesTakeNoNewsFromTheListeners) {
  start();
  const DDSPtr command(Tessivar::CommandTypeSupport::create_data());
  const DDSPtr unit(Tessivar::UnitTypeSupport::create_data());
  for (int i = 1; i <= 100; ++i) {
    publish(camera, 1, i);
    ASSERT_TRUE(
        eventually([&] { return client_.queryCommand(camera, 1, *command) && command->value._u.intValue == i; }));
    ASSERT_TRUE(events_.happens("value 1 " + std::to_string(i)));
    ASSERT_TRUE(node_.addUnit(DDSPtr(Helper::createUnit(camera, std::to_string(i).c_str()))));
    ASSERT_TRUE(eventually([&] { return client_.queryUnit(camera, *unit) && unit->name == std::to_string(i); }));
    ASSERT_TRUE(events_.happens("unit 0001:02:0A"));
  }
  ASSERT_TRUE(node_.removeUnit(camera));
  Tessivar::UnitSeq units;
  DDS_SampleInfoSeq infos;
  ASSERT_TRUE(eventually([&] {
    EXPECT_TRUE(client_.queryUnits(units, infos, 5000));
    const bool gone = infos.length() > 0 && infos[0].instance_state != DDS_ALIVE_INSTANCE_STATE;
    client_.freeUnitData(units, infos);
    return gone;
  }));
  EXPECT_TRUE(events_.happens("no unit 0001:02:0A"));
}

TEST_F(Client, RefusesSamplesThatAreNotInitialised) {
  start();
  Tessivar::Unit unit = {};
  Tessivar::Command command = {};
  EXPECT_FALSE(client_.queryUnit(camera, unit));
  EXPECT_FALSE(client_.queryCommand(camera, 1, command));
  EXPECT_THAT(log_.lines(), ElementsAre(EndsWith(" Unit not initialised"), EndsWith(" Command not initialised")));
  const AddressEx tooLong(std::string(65, 'a').c_str());
  EXPECT_FALSE(client_.hasUnit(tooLong));
  EXPECT_FALSE(client_.registerInterest(tooLong));
  EXPECT_THAT(log_.lines(), AllOf(SizeIs(2), Each(EndsWith("Address string too long"))));
}

TEST_F(Client, RefreshReportsEveryUnitAgain) {
  start();
  ASSERT_TRUE(node_.addUnit(DDSPtr(Helper::createUnit(camera, "camera"))));
  EXPECT_TRUE(events_.happens("unit 0001:02:0A"));
  for (int i = 0; i < 2; ++i) {
    EXPECT_TRUE(client_.refreshUnits(5000));
    EXPECT_TRUE(events_.happens("unit 0001:02:0A"));
  }
  EXPECT_THAT(events_.rest(), IsEmpty());
}

TEST_F(Client, SetsByTicket) {
  start();
  DDSPtr command = wanted(21);
  DDSPtr ticket = client_.beginSetCommand(command);
  ASSERT_TRUE(ticket);
  EXPECT_EQ(ticket->ticketId, 1);
  EXPECT_TRUE(eventually([&] { return ticket->received.load(); }));
  EXPECT_EQ(ticket->reply->result, Tessivar::COMPLETE);
  EXPECT_TRUE(events_.happens("ticket 1"));
  EXPECT_TRUE(events_.happens("value 1 21"));
  EXPECT_EQ(client_.services()->commandService()->pendingTickets(), 1u);
  EXPECT_TRUE(client_.completeSetCommand(ticket));
  EXPECT_EQ(client_.services()->commandService()->pendingTickets(), 0u);
}

TEST_F(Client, LeavesNoTicketBehind) {
  DeviceListener::Answer answers[] = {
      DeviceListener::complete,
      [](auto*, auto* request) { return Helper::createReply(request, Tessivar::FAILED, "not today"); },
      [](auto*, auto*) { return nullptr; },
  };
  start();
  for (auto& answer : answers) {
    DeviceListener listener(device_events_, answer);
    node_.detachListener(&device_listener_);
    node_.attachListener(&listener, false);
    DDSPtr command = wanted();
    client_.setCommand(command, &answer == &answers[2] ? 300 : 20000);
    EXPECT_EQ(client_.services()->commandService()->pendingTickets(), 0u);
    node_.detachListener(&listener);
  }
  EXPECT_THAT(log_.lines(), ElementsAre("4 bool __cdecl TessivarDDS::TessivarClient::setCommand("
                                        "class TessivarDDS::DDSPtr<struct Tessivar::Command> &,int)"
                                        "Failed to set command value."));
}

TEST_F(Client, MaySetFromSomeCallbacksOnly) {
  bool fromUnit = false;
  bool fromValue = true;
  listener_.during = [&](const std::string& text) {
    DDSPtr command = wanted(31);
    if (text.starts_with("unit")) {
      fromUnit = client_.setCommand(command, 10000);
      events_.add("set");
    }
    if (text == "value 1 30") {
      fromValue = client_.setCommand(command, -1);
      events_.add("tried");
    }
  };
  start();
  publish(camera, 1, 30);
  EXPECT_TRUE(events_.happens("tried"));
  EXPECT_FALSE(fromValue);
  EXPECT_THAT(log_.lines(), Contains(EndsWith("where no reply can arrive.")));
  ASSERT_TRUE(node_.addUnit(DDSPtr(Helper::createUnit(camera, "camera"))));
  EXPECT_TRUE(events_.happens("set"));
  EXPECT_TRUE(fromUnit);
}

TEST_F(Client, QueriesAndRegistersFromItsCallbacks) {
  listener_.during = [&](const std::string& text) {
    if (text == "value 1 41") {
      const DDSPtr command(Tessivar::CommandTypeSupport::create_data());
      EXPECT_TRUE(client_.queryCommand(camera, 1, *command));
      EXPECT_TRUE(client_.registerInterest(lamp));
    }
    if (text != "unit 0001:02:0A") return;
    const DDSPtr unit(Tessivar::UnitTypeSupport::create_data());
    EXPECT_TRUE(client_.hasUnit(camera));
    EXPECT_TRUE(client_.queryUnit(camera, *unit));
    EXPECT_TRUE(client_.registerInterest(camera));
    DDSPtr command = wanted(41);
    EXPECT_TRUE(client_.beginSetCommand(command));
  };
  start();
  ASSERT_TRUE(node_.addUnit(DDSPtr(Helper::createUnit(camera, "camera"))));
  EXPECT_TRUE(events_.happens("value 1 41"));
  EXPECT_TRUE(device_events_.happens("interest 0001:02:0A"));
  EXPECT_TRUE(device_events_.happens("interest 0001:02:0B"));
  publish(lamp, 1, 42);
  EXPECT_TRUE(events_.happens("value 1 42"));
}

TEST_F(Client, InterestBeforeCreationOnlyNarrows) {
  EXPECT_TRUE(client_.registerInterest(camera));
  EXPECT_THAT(log_.lines(), IsEmpty());
  start();
  publish(lamp, 1, 1);
  publish(camera, 1, 2);
  EXPECT_TRUE(events_.happens("value 1 2"));
  EXPECT_THAT(events_.rest(), IsEmpty());
  EXPECT_TRUE(client_.registerInterest(camera, 1, 4));
  EXPECT_TRUE(device_events_.happens("interest 0001:02:0A"));
  EXPECT_THAT(device_events_.rest(), IsEmpty());
}

TEST_F(Client, ThrowingListenersDoNotKeepOthersFromHearing) {
  Events others;
  ControllerListener other(others);
  listener_.during = [](const std::string&) { throw std::runtime_error("a fault of the application"); };
  start();
  client_.attachListener(&other, false);
  ASSERT_TRUE(node_.addUnit(DDSPtr(Helper::createUnit(camera, "camera"))));
  EXPECT_TRUE(others.happens("unit 0001:02:0A"));
  EXPECT_THAT(log_.lines(),
              Contains(AllOf(::testing::HasSubstr("notifyUnitAdded"), EndsWith("a fault of the application"))));
  client_.detachListener(&other);
  client_.detachListener(&listener_);
}

TEST_F(Client, DeletesTheListenersItOwns) {
  client_.attachListener(new ControllerListener(events_), true);
  client_.cleanUp();
  EXPECT_THAT(events_.rest(), ElementsAre("deleted"));
}

}  // namespace
}  // namespace TessivarDDS
