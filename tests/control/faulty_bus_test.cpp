// SPDX-License-Identifier: Apache-2.0

// Tests a device and a controller on an engine that loses, repeats, delays, reorders and refuses.
#include "tests/control/support/device_and_controller.h"
#include "tests/support/test_engine.h"

#include <future>

namespace TessivarDDS {
namespace {

using namespace ::testing;
using namespace tessivar::testing;

struct OnTestEngine {
  TestEngine engine_;
};

class FaultyBusTest : protected OnTestEngine, public DeviceAndController {
 protected:
  void add(Call call, Effect effect, const std::string& topic, int count = 1) {
    engine_.script.add({.call = call, .effect = effect, .topic = topic, .count = count});
  }
  bool set(unsigned number, int timeout = 20000) {
    DDSPtr command(Helper::createCommand(camera, number, 5));
    return client_.setCommand(command, timeout);
  }
  std::size_t pending() { return client_.services()->commandService()->pendingTickets(); }
  RequestReplyCounts counts() { return client_.services()->commandService()->counts(); }
};

TEST_F(FaultyBusTest, LossFailsOnlyOneCommand) {
  start();
  for (const char* topic : {"Commands.Requests", "Commands.Reply"}) {
    for (const Call call : {Call::write, Call::deliver}) {
      add(call, Effect::lose, topic);
      EXPECT_FALSE(set(1, 300)) << topic;
      EXPECT_TRUE(engine_.script.done()) << topic;
      EXPECT_EQ(pending(), 0u);
      EXPECT_TRUE(set(2)) << topic;
    }
  }
}

TEST_F(FaultyBusTest, RepetitionIsHarmless) {
  start();
  for (const char* topic : {"Commands.Requests", "Commands.Reply"}) {
    for (const Call call : {Call::write, Call::deliver}) {
      const std::uint64_t before = counts().repliesReceived;
      add(call, Effect::repeat, topic);
      EXPECT_TRUE(set(1)) << topic;
      EXPECT_TRUE(eventually([&] { return counts().repliesReceived == before + 2; })) << topic;
      EXPECT_TRUE(set(2)) << topic;
      EXPECT_EQ(pending(), 0u);
    }
  }
  EXPECT_EQ(counts().repliesReceived, 12u);
}

TEST_F(FaultyBusTest, ReorderedAndLateRepliesReachTheirTickets) {
  node_listener_.answer = [](auto*, auto* request) {
    return Helper::createReply(request, request->newValue.commandNumber == 1 ? Tessivar::COMPLETE : Tessivar::FAILED,
                               "");
  };
  start();
  for (const Call call : {Call::write, Call::deliver}) {
    add(call, Effect::hold, "Commands.Reply", 3);
    EXPECT_FALSE(set(1, 100)) << "its reply is late";
    std::vector<DDSPtr<TessivarClient::Ticket>> tickets;
    for (const unsigned number : {1u, 2u}) {
      DDSPtr command(Helper::createCommand(camera, number, 5));
      tickets.push_back(client_.beginSetCommand(command));
      ASSERT_TRUE(tickets.back());
    }
    ASSERT_TRUE(eventually([&] { return engine_.script.held() == 3; }));
    const std::uint64_t late = counts().repliesWithoutTicket;
    engine_.release(true);
    for (const unsigned i : {0u, 1u}) {
      ASSERT_TRUE(eventually([&] { return tickets[i]->received.load(); })) << i;
      EXPECT_EQ(tickets[i]->reply->result, i == 0 ? Tessivar::COMPLETE : Tessivar::FAILED);
      EXPECT_TRUE(client_.completeSetCommand(tickets[i]));
    }
    EXPECT_TRUE(eventually([&] { return counts().repliesWithoutTicket == late + 1; }));
    EXPECT_EQ(pending(), 0u);
  }
}

TEST_F(FaultyBusTest, ALateMatchIsAwaited) {
  attach();
  ASSERT_TRUE(node_.create());
  for (const char* topic : {"Commands.Requests", "Commands.Reply"}) {
    for (const Call call : {Call::match, Call::liveliness}) add(call, Effect::hold, topic, Script::always);
    ASSERT_TRUE(client_.create());
    ASSERT_TRUE(eventually([&] { return engine_.script.held() >= 1; }));
    EXPECT_FALSE(client_.waitForMatch(100)) << topic;
    log_.lines();
    EXPECT_FALSE(set(1, 100)) << topic;
    EXPECT_THAT(log_.lines(), Contains(HasSubstr("No current connection")));
    engine_.script.clear();
    auto waiting = std::async(std::launch::async, [&] { return client_.waitForMatch(20000); });
    engine_.release();
    EXPECT_TRUE(waiting.get()) << topic;
    EXPECT_TRUE(set(1)) << topic;
    client_.cleanUp();
    client_.attachDomain(controller_.get());
  }
}

TEST_F(FaultyBusTest, ABlockedWriterDelaysNothingElse) {
  start();
  add(Call::write, Effect::block, "Commands.Requests");
  auto blocked = std::async(std::launch::async, [&] { return set(1); });
  ASSERT_TRUE(eventually([&] { return engine_.blocked() == 1; }));
  EXPECT_TRUE(node_.addUnit(unit_) && client_hears_.happens("unit 0001:02:0A"));
  EXPECT_TRUE(client_.registerInterest(camera) && node_hears_.happens("interest 0001:02:0A"));
  EXPECT_TRUE(node_.publishCommand(command_) && client_hears_.happens("value 5"));
  EXPECT_TRUE(set(2)) << "another request";
  EXPECT_EQ(blocked.wait_for(std::chrono::seconds(0)), std::future_status::timeout);
  engine_.release();
  EXPECT_TRUE(blocked.get());

  add(Call::write, Effect::block, "Commands.Reply");
  EXPECT_FALSE(set(1, 1000)) << "the device's reply was given up after max_blocking_time";
  EXPECT_TRUE(set(2));
  EXPECT_EQ(pending(), 0u);
}

TEST_F(FaultyBusTest, ARefusedWriteCanBeRepeated) {
  start();
  const std::string unit = camera.toString();
  struct Step {
    const char* name;
    Call call;
    const char* topic;
    std::function<bool()> run;
  };
  const Step steps[] = {
      {"addUnit", Call::write, "Units", [&] { return node_.addUnit(unit_); }},
      {"publishMetadata", Call::write, "Metadata", [&] { return node_.publishMetadata(metadata_); }},
      {"publishCommand", Call::write, "Commands", [&] { return node_.publishCommand(command_); }},
      {"registerInterest", Call::write, "Interests", [&] { return client_.registerInterest(camera); }},
      {"registerInterest, range", Call::write, "Interests", [&] { return client_.registerInterest(camera, 1, 3); }},
      {"removeInterest, range", Call::unregister, "Interests", [&] { return client_.removeInterest(camera, 1, 3); }},
      {"removeInterest", Call::unregister, "Interests", [&] { return client_.removeInterest(camera); }},
      {"disposeCommand", Call::dispose, "Commands", [&] { return node_.disposeCommand(camera, 1); }},
      {"disposeMetadata", Call::dispose, "Metadata", [&] { return node_.disposeMetadata(camera, 1); }},
      {"removeUnit", Call::dispose, "Units", [&] { return node_.removeUnit(camera); }},
  };
  for (const Step& step : steps) {
    log_.lines();
    add(step.call, Effect::refuse, step.topic);
    EXPECT_FALSE(step.run()) << step.name;
    EXPECT_TRUE(engine_.script.done()) << step.name;
    EXPECT_THAT(log_.lines(), Not(IsEmpty())) << step.name;
    engine_.script.clear();
    EXPECT_TRUE(step.run()) << step.name;
    EXPECT_THAT(log_.lines(), IsEmpty()) << step.name;
  }
  EXPECT_TRUE(client_hears_.happens("unit " + unit) && client_hears_.happens("no unit " + unit));
  EXPECT_TRUE(node_hears_.happens("interest " + unit));
}

}  // namespace
}  // namespace TessivarDDS
