#include "tessivar/control/node.h"

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
using ::testing::Not;

const AddressEx camera(1, 2, 10);
const AddressEx lamp(1, 2, 11);

class Node : public ::testing::Test {
 protected:
  // Starts the node, with what listeners it has, and a client to talk to it.
  void start() {
    node_.attachDomain(&device_);
    ASSERT_TRUE(node_.create());
    client_.attachDomain(&controller_);
    ASSERT_TRUE(client_.create());
    ASSERT_TRUE(client_.waitForMatch(20000));
  }

  bool set(const AddressEx& unit, int timeout = 20000) {
    DDSPtr command(Helper::createCommand(unit, 1, 5));
    return client_.setCommand(command, timeout);
  }

  LogRecorder log_;
  Events events_;
  Participant device_;
  Participant controller_;
  TessivarNode node_;
  TessivarClient client_;
};

TEST_F(Node, RefusesEverythingBeforeItIsCreated) {
  const DDSPtr unit(Helper::createUnit(camera, "camera"));
  const DDSPtr command(Helper::createCommand(camera, 1, 5));
  const DDSPtr metadata(Helper::createMetadata(camera, 1));
  EXPECT_FALSE(node_.addUnit(unit));
  EXPECT_FALSE(node_.removeUnit(camera));
  EXPECT_FALSE(node_.publishCommand(command));
  EXPECT_FALSE(node_.publishCommand(Helper::createCommand(camera, 1, 5), true));
  EXPECT_FALSE(node_.disposeCommand(camera, 1));
  EXPECT_FALSE(node_.publishMetadata(metadata));
  EXPECT_FALSE(node_.disposeMetadata(camera, 1));
  EXPECT_THAT(log_.lines(), Each(EndsWith(" not created.")));
  EXPECT_FALSE(node_.setFilterAddresses({camera}));
  EXPECT_THAT(log_.lines(),
              ElementsAre(EndsWith("Interests node not created."), EndsWith("Not initialised correctly!")));
  EXPECT_FALSE(node_.create());
  EXPECT_THAT(log_.lines(), ElementsAre(EndsWith("No domain is attached."), EndsWith("Unable to create services!")));
}

TEST_F(Node, RefusesNothing) {
  node_.attachDomain(&device_);
  ASSERT_TRUE(node_.create());
  EXPECT_FALSE(node_.addUnit(nullptr));
  EXPECT_FALSE(node_.publishCommand(nullptr));
  EXPECT_FALSE(node_.publishCommand(nullptr, true));
  EXPECT_FALSE(node_.publishMetadata(nullptr));
  EXPECT_FALSE(node_.sendReply(nullptr));
  EXPECT_THAT(log_.lines(), AllOf(::testing::SizeIs(5), Each(EndsWith("Invalid argument."))));
}

TEST_F(Node, IsCreatedOnceUntilItIsCleanedUp) {
  for (int round = 0; round < 2; ++round) {
    node_.attachDomain(&device_);
    ASSERT_TRUE(node_.create());
    EXPECT_FALSE(node_.create());
    EXPECT_THAT(log_.lines(), ElementsAre("8 bool __cdecl TessivarDDS::TessivarNode::create(void)Already created"));
    EXPECT_TRUE(node_.addUnit(DDSPtr(Helper::createUnit(camera, "camera"))));
    node_.cleanUp();
    EXPECT_FALSE(node_.addUnit(DDSPtr(Helper::createUnit(camera, "camera"))));
    EXPECT_THAT(log_.lines(), ElementsAre(EndsWith("Unit node not created.")));
  }
}

TEST_F(Node, DisposesOnlyOfWhatItPublished) {
  node_.attachDomain(&device_);
  ASSERT_TRUE(node_.create());
  EXPECT_FALSE(node_.disposeCommand(camera, 1));
  EXPECT_FALSE(node_.disposeMetadata(camera, 1));
  EXPECT_FALSE(node_.removeUnit(camera));
  EXPECT_THAT(log_.lines(), ElementsAre(EndsWith("Command not found."), EndsWith("Metadata instance not found."),
                                        EndsWith("Unit not found.")));
  ASSERT_TRUE(node_.publishCommand(Helper::createCommand(camera, 1, 5), true));
  ASSERT_TRUE(node_.publishMetadata(DDSPtr(Helper::createMetadata(camera, 1))));
  ASSERT_TRUE(node_.addUnit(DDSPtr(Helper::createUnit(camera, "camera"))));
  EXPECT_FALSE(node_.disposeCommand(camera, 2));
  EXPECT_FALSE(node_.removeUnit(lamp));
  log_.lines();
  EXPECT_TRUE(node_.disposeCommand(camera, 1));
  EXPECT_TRUE(node_.disposeMetadata(camera, 1));
  EXPECT_TRUE(node_.removeUnit(camera));
  EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(Node, FirstReplyWins) {
  Events second;
  Events third;
  DeviceListener silent(events_, [](auto*, auto*) { return nullptr; });
  DeviceListener throwing(events_, [](auto*, auto*) -> Tessivar::CommandChangeReply* { throw 1; });
  DeviceListener answering(second);
  DeviceListener late(third);
  for (DeviceListener* listener : {&silent, &throwing, &answering, &late}) node_.attachListener(listener, false);
  start();
  EXPECT_TRUE(set(camera));
  EXPECT_THAT(events_.rest(), ElementsAre("request 1", "request 1"));
  EXPECT_THAT(second.rest(), ElementsAre("request 1"));
  EXPECT_THAT(third.rest(), IsEmpty());

  node_.detachListener(&answering);
  EXPECT_TRUE(set(camera));
  EXPECT_THAT(second.rest(), ElementsAre("request 1"));
  EXPECT_THAT(third.rest(), ElementsAre("request 1"));
  node_.cleanUp();
}

TEST_F(Node, PublishesFromItsCallbacks) {
  DeviceListener listener(events_, [](TessivarNode* node, const Tessivar::CommandChangeRequest* request) {
    const AddressEx unit(request->newValue.unitId);
    EXPECT_TRUE(node->addUnit(DDSPtr(Helper::createUnit(unit, "camera"))));
    EXPECT_TRUE(node->publishMetadata(DDSPtr(Helper::createMetadata(unit, 1))));
    EXPECT_TRUE(node->publishCommand(Helper::createCommand(unit, 1, 77), true));
    EXPECT_TRUE(node->setFilterAddresses({camera, lamp}));
    return Helper::createReply(request, Tessivar::COMPLETE, nullptr);
  });
  node_.attachListener(&listener, false);
  Events heard;
  ControllerListener controller(heard);
  client_.attachListener(&controller, false);
  start();
  EXPECT_TRUE(set(camera));
  EXPECT_TRUE(heard.happens("value 1 77"));
  EXPECT_TRUE(heard.happens("metadata 1"));
  EXPECT_TRUE(heard.happens("unit 0001:02:0A"));
  EXPECT_TRUE(set(lamp));
  node_.cleanUp();
  client_.cleanUp();
  EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(Node, AnswersLaterWithMoreReplies) {
  std::jthread worker;
  DeviceListener listener(events_, [&](TessivarNode* node, const Tessivar::CommandChangeRequest* request) {
    const DDSPtr done(Helper::createReply(request, Tessivar::COMPLETE, "in the end"));
    worker = std::jthread([=] {
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
      EXPECT_TRUE(node->sendReply(done));
    });
    return Helper::createReply(request, Tessivar::IN_PROGRESS, nullptr);
  });
  node_.attachListener(&listener, false);
  start();
  EXPECT_TRUE(set(camera));
  worker = {};
  node_.cleanUp();
}

TEST_F(Node, LockedListMeansNoReply) {
  // The first listener holds the list while it is asked; a request to the same node then cannot be dispatched.
  DeviceListener listener(events_, DeviceListener::complete);
  node_.attachListener(&listener, false);
  start();
  ASSERT_TRUE(set(camera));
  TessivarEvent begun;
  TessivarEvent end;
  struct Holding : DeviceListener {
    Holding(Events& events, TessivarEvent& begun, TessivarEvent& end)
        : DeviceListener(events), begun_(begun), end_(end) {}
    void interestRegistered(TessivarNode*, const Tessivar::CommandInterest*) override {
      begun_.signal();
      end_.wait(20000);
    }
    TessivarEvent& begun_;
    TessivarEvent& end_;
  } holding(events_, begun, end);
  node_.attachListener(&holding, false);
  ASSERT_TRUE(client_.registerInterest(camera));
  ASSERT_TRUE(begun.wait(20000));
  EXPECT_FALSE(set(camera, 1500));
  EXPECT_THAT(log_.lines(), Contains(EndsWith("Error locking list")));
  end.signal();
  EXPECT_TRUE(set(camera));
  node_.cleanUp();
}

TEST_F(Node, HearsOfInterestsInItsUnits) {
  DeviceListener listener(events_);
  node_.attachListener(&listener, false);
  start();
  ASSERT_TRUE(node_.setFilterAddresses({camera}));
  ASSERT_TRUE(client_.registerInterest(lamp, 1, 2));
  for (int i = 0; i < 2; ++i) {
    ASSERT_TRUE(client_.registerInterest(camera, 3, 4));
    EXPECT_TRUE(events_.happens("interest 0001:02:0A")) << "the same interest is told each time: " << i;
  }
  client_.cleanUp();
  EXPECT_TRUE(events_.happens("interest removed 0001:02:0A 3 4"));
  EXPECT_THAT(events_.rest(), Not(Contains(::testing::HasSubstr("0001:02:0B"))));
  node_.cleanUp();
}

TEST_F(Node, DeletesTheListenersItOwns) {
  node_.attachListener(new DeviceListener(events_), true);
  node_.attachListener(new DeviceListener(events_), true);
  auto* mine = new DeviceListener(events_);
  node_.attachListener(mine, true);
  node_.attachListener(mine, false);
  node_.cleanUp();
  EXPECT_THAT(events_.rest(), ElementsAre("deleted", "deleted"));
  delete mine;
}

}  // namespace
}  // namespace TessivarDDS
