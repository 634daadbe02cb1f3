// SPDX-License-Identifier: Apache-2.0

// Tests the participants and the matches of an engine. Each test names the obligations of
// tessivar/platform/engine/engine.h.
#include "engine/engine_fixture.h"

namespace platform_test {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::UnorderedElementsAre;

TEST_F(EngineTest, RefusesInvalidEntitiesWithAReason) {  // E1 P4
  const std::pair<std::function<void(EngineParticipantConfig&)>, const char*> participants[] = {
      {[](auto& config) { config.domain_id = 233; }, "domain id 233"},
      {[](auto& config) { config.interfaces = {"none0"}; }, "none0"},
      {[](auto& config) { config.lease_duration = 7'200'000'000'000; }, "lease"},
  };
  std::string error;
  for (const auto& [spoil, reason] : participants) {
    EngineParticipantConfig config = Member::usual();
    spoil(config);
    std::unique_ptr<EngineParticipant> participant;
    EXPECT_EQ(engine_.create_participant(config, nullptr, participant, error), DDS_RETCODE_BAD_PARAMETER);
    EXPECT_EQ(participant, nullptr);
    EXPECT_THAT(error, HasSubstr(reason));
  }
  const Member member(engine_);
  const struct {
    std::string topic;
    const PRESTypePlugin* type;
    const char* reason;
  } endpoints[] = {{"T", nullptr, "no type"},
                   {"", &command_type_of_tests(), "1 to 255 characters"},
                   {std::string(256, 'x'), &command_type_of_tests(), "1 to 255 characters"}};
  for (const auto& [topic, type, reason] : endpoints) {
    const auto spoil = [&topic = topic, &type = type](auto& config) {
      config.topic = topic;
      config.type = type;
    };
    TestReader reader;
    TestWriter writer;
    EXPECT_NE(member.open(reader, error, spoil), DDS_RETCODE_OK);
    EXPECT_THAT(error, AllOf(HasSubstr("topic \"" + topic), HasSubstr(reason)));
    EXPECT_NE(member.open(writer, error, spoil), DDS_RETCODE_OK);
    EXPECT_THAT(error, AllOf(HasSubstr("topic \"" + topic), HasSubstr(reason)));
    EXPECT_FALSE(reader.it || writer.it);
  }
  const auto reader = member.reader();
  member.writer()->write(1);
  EXPECT_THAT(reader->take_numbers(1), ElementsAre(1u));
  EXPECT_EQ(member.it->add_peer("a.invalid"), DDS_RETCODE_BAD_PARAMETER);
  EXPECT_EQ(member.it->ignore(DDS_HANDLE_NIL), DDS_RETCODE_BAD_PARAMETER);
  for (const char* peer : {"127.0.0.1", "127.0.0.7:7411"}) {
    EXPECT_EQ(member.it->add_peer(peer), DDS_RETCODE_OK);
    EXPECT_EQ(member.it->remove_peer(peer), DDS_RETCODE_OK);
  }
  EXPECT_THAT(member.it->interfaces(), ElementsAre("lo (127.0.0.1)"));
}

/// Records participants, and ignores those with the name "unwanted".
class Watching final : public EngineParticipantEvents {
 public:
  void participant_seen(const DDS_ParticipantBuiltinTopicData& data, const DDS_InstanceHandle_t& handle,
                        bool alive) override {
    if (++inside > 1) ++overlaps;
    if (alive && text(data.participant_name.name) == "unwanted") self.load()->ignore(handle);
    std::this_thread::sleep_for(20ms);  // enough time for a match, if the engine does not wait for this call
    seen.add(alive ? description(data) : "gone");
    --inside;
  }
  tessivar::testing::Events seen;
  std::atomic<EngineParticipant*> self = nullptr;
  std::atomic<int> inside = 0, overlaps = 0;

 private:
  static std::string text(const char* value) { return value ? value : "-"; }
  static std::string description(const DDS_ParticipantBuiltinTopicData& data) {
    std::string result = text(data.participant_name.name) + ' ' + text(data.participant_name.role_name);
    const DDS_OctetSeq& user = data.user_data.value;
    for (DDS_Long i = 0; i < user.length(); ++i) result += ' ' + std::to_string(user[i]);
    for (const char* name : {"test.sent", "test.kept"}) {
      const DDS_Property_t* found = DDSPropertyQosPolicyHelper::lookup_property(data.property, name);
      result += ' ' + text(found ? found->value : nullptr);
    }
    return data.default_unicast_locators.length() == 0 ? result + " no locator" : result;
  }
};

TEST_F(EngineTest, ReportsParticipantsBeforeTheirEndpointsMatch) {  // P2 P3 V1
  Watching watching;
  const Member member(engine_, &watching);
  watching.self = member.it.get();
  TestReader reader;
  std::vector<std::string> seen_at_match;
  reader.callbacks.on_match = [&] {
    if (seen_at_match.empty()) seen_at_match = watching.seen.take(0);
  };
  std::string error;
  ASSERT_EQ(member.open(reader, error), DDS_RETCODE_OK);
  {
    const Member named(engine_, nullptr, [](auto& config) {
      config.name = "camera";
      config.role_name = "device";
      config.user_data = {1, 2};
      config.properties = {{"test.sent", "yes", true}, {"test.kept", "no", false}};
    });
    const auto writer = named.writer();
    ASSERT_TRUE(all_matched(1, &reader, writer));
  }
  EXPECT_TRUE(all_matched(0, &reader));
  EXPECT_THAT(seen_at_match, AllOf(Not(IsEmpty()), testing::Each("camera device 1 2 yes -"))) << "it may come twice";
  EXPECT_TRUE(watching.seen.happens("gone"));
  EXPECT_THAT(watching.seen.take(0), Not(testing::Contains("gone"))) << "once";
  EXPECT_EQ(watching.overlaps, 0);
}

/// Needs the participant that reports the event, as a listener that wants to ignore does.
struct Expecting final : EngineParticipantEvents {
  void participant_seen(const DDS_ParticipantBuiltinTopicData&, const DDS_InstanceHandle_t&, bool) override {
    if (!eventually([&] { return created.load(); }, 5s)) in_vain = true;
  }
  std::atomic<bool> created = false, in_vain = false;
};

TEST_F(EngineTest, CallbackMayWaitForTheCreationInProgress) {  // P3
  const Member other(engine_);
  for (int round = 0; round < 50; ++round) {
    Expecting events;
    {
      const Member member(engine_, &events);
      events.created = true;
    }
    ASSERT_FALSE(events.in_vain);
  }
}

TEST_F(EngineTest, IgnoresParticipantsAtOnceOrLater) {  // P5
  Watching watching;
  const Member member(engine_, &watching), third(engine_);
  watching.self = member.it.get();
  const auto reader = member.reader();
  const Member unwanted(engine_, nullptr, [](auto& config) { config.name = "unwanted"; });
  const Member other(engine_, nullptr, [](auto& config) { config.announcement_period = 20'000'000; });
  const auto never = unwanted.writer(), first = other.writer(), good = third.writer();
  ASSERT_TRUE(all_matched(2, reader) && all_matched(1, first, good));
  EXPECT_EQ(member.it->ignore(other.it->guid()), DDS_RETCODE_OK);
  EXPECT_TRUE(all_matched(1, reader) && all_matched(0, first)) << "on both sides";
  for (int i = 0; i < 50; ++i) {
    never->write(3);
    first->write(2);
    std::this_thread::sleep_for(1ms);  // several announcements
  }
  EXPECT_EQ(first->it->wait_for_acknowledgments(wait_limit), DDS_RETCODE_OK);
  good->write(1);
  EXPECT_THAT(reader->take_numbers(1), ElementsAre(1u));
  EXPECT_EQ(reader->callbacks.matched, 1);
  EXPECT_THAT(reader->it->matched_publications(), ElementsAre(Is(good->it->guid())));
  EXPECT_TRUE(all_matched(0, never)) << "its reliable writer would wait";
}

TEST_F(EngineTest, MatchesByNameTypeAndQos) {  // E6 P4 V4
  struct Case {
    const char* topic;
    const char* type;
    DDS_ReliabilityQosPolicyKind offered;
    bool matches;
  };
  const Case cases[] = {{".Name", "Command", DDS_RELIABLE_RELIABILITY_QOS, true},
                        {"_Name", "Command", DDS_RELIABLE_RELIABILITY_QOS, false},
                        {".Nam", "Command", DDS_RELIABLE_RELIABILITY_QOS, false},
                        {".Name", "Other", DDS_RELIABLE_RELIABILITY_QOS, false},
                        {".Name", "Command", DDS_BEST_EFFORT_RELIABILITY_QOS, false}};
  LogRecorder log;
  const PRESTypePlugin other_type = command_type("Other");
  const Member member(engine_), remote(engine_);
  const auto reader = member.reader([](auto& config) { config.topic += ".Name"; });
  std::vector<std::unique_ptr<TestWriter>> writers;
  for (const Member* place : {&member, &remote}) {
    for (const Case& one : cases) {
      writers.push_back(place->writer([&](auto& config) {
        config.topic += one.topic;
        if (one.type == std::string("Other")) config.type = &other_type;
        config.qos.reliability.kind = one.offered;
      }));
    }
  }
  EXPECT_TRUE(all_matched(2, reader));
  EXPECT_TRUE(
      eventually([&] { return reader->callbacks.incompatible == 2 && writers[9]->callbacks.incompatible == 1; }));
  for (std::size_t i = 0; i < writers.size(); ++i)
    EXPECT_TRUE(eventually([&] { return writers[i]->callbacks.matched == cases[i % 5].matches; })) << i;
  std::vector<DDS_InstanceHandle_t> guids = reader->it->matched_publications();
  EXPECT_THAT(guids, UnorderedElementsAre(Is(writers[0]->it->guid()), Is(writers[5]->it->guid())));
  EXPECT_THAT(log.lines(2), AllOf(testing::SizeIs(testing::Ge(2u)),
                                  testing::Each(HasSubstr("BEST_EFFORT is offered, RELIABLE is requested"))));
}

TEST_F(EngineTest, KnowsWhichWritersAreAlive) {  // V3
  const Member member(engine_), remote(engine_);
  const auto lively = [](auto& config) {
    config.qos.liveliness = {DDS_MANUAL_BY_TOPIC_LIVELINESS_QOS, {0, 100'000'000}};
  };
  const auto reader = member.reader(lively);
  auto writer = remote.writer(lively);
  const auto has = [&](int alive, int not_alive) {
    return eventually([&] { return reader->callbacks.alive == alive && reader->callbacks.not_alive == not_alive; });
  };
  EXPECT_TRUE(has(0, 1)) << "silent for its lease";
  writer->write(1);
  EXPECT_TRUE(has(1, 0)) << "heard again";
  EXPECT_EQ(writer->it->assert_liveliness(), DDS_RETCODE_OK);
  writer.reset();
  EXPECT_TRUE(has(0, 0)) << "gone";
}

}  // namespace
}  // namespace platform_test
