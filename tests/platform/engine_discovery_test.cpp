// Remote participants: what is told of them, and how to keep one out.
#include "tests/platform/engine_fixture.h"
#include "tests/platform/engine_process.h"

#include <atomic>
#include <set>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace engine_test {
namespace {

constexpr DDS_DomainId_t domain = 71;

/// Notes who comes and goes, and ignores those whose name says so.
class Watcher final : public EngineParticipantEvents {
 public:
  void participant_seen(const DDS_ParticipantBuiltinTopicData& data, const DDS_InstanceHandle_t& handle,
                        bool alive) override {
    const std::lock_guard guard(lock_);
    if (alive) {
      last = data;
      last_handle = handle;
      const std::string name = data.participant_name.name ? data.participant_name.name : "";
      names_[{handle.keyHash.value, handle.keyHash.value + 16}] = name;
      come.insert(name);
      if (name == "unwanted" && participant) participant->ignore(handle);
    } else {
      gone.insert(names_[{handle.keyHash.value, handle.keyHash.value + 16}]);
    }
  }

  bool saw(const std::multiset<std::string>& set, const std::string& name) {
    const std::lock_guard guard(lock_);
    return set.contains(name);
  }

  EngineParticipant* participant = nullptr;
  DDS_ParticipantBuiltinTopicData last;
  DDS_InstanceHandle_t last_handle = DDS_HANDLE_NIL;
  std::multiset<std::string> come;
  std::multiset<std::string> gone;

 private:
  std::mutex lock_;
  std::map<std::vector<std::uint8_t>, std::string> names_;
};

EngineParticipantConfig named(const std::string& name) {
  EngineParticipantConfig config = participant_config(domain);
  config.name = name;
  return config;
}

TEST(EngineDiscovery, TellsWhatAParticipantSaysOfItself) {
  Watcher watcher;
  const auto mine = make_participant(participant_config(domain), &watcher);
  EngineParticipantConfig config = named("router 1");
  config.user_data = {'t', 'y', 'p', 'e', '=', '7'};
  config.role_name = "service";
  config.properties = {{"site", "north", true}, {"secret", "x", false}};
  auto other = make_participant(config);
  ASSERT_TRUE(eventually([&] { return watcher.saw(watcher.come, "router 1"); }));

  const DDS_ParticipantBuiltinTopicData& data = watcher.last;
  const DDS_InstanceHandle_t guid = other->guid();
  EXPECT_TRUE(DDS_InstanceHandle_equals(&guid, &watcher.last_handle));
  EXPECT_TRUE(std::equal(std::begin(data.key), std::end(data.key), guid.keyHash.value));
  ASSERT_EQ(data.user_data.value.length(), 6);
  EXPECT_EQ(data.user_data.value[5], '7');
  EXPECT_STREQ(data.participant_name.role_name, "service");
  const DDS_Property_t* site = DDSPropertyQosPolicyHelper::lookup_property(data.property, "site");
  ASSERT_NE(site, nullptr);
  EXPECT_STREQ(site->value, "north");
  EXPECT_EQ(DDSPropertyQosPolicyHelper::lookup_property(data.property, "secret"), nullptr);
  ASSERT_EQ(data.default_unicast_locators.length(), 1);
  const DDS_Locator_t& locator = data.default_unicast_locators[0];
  EXPECT_EQ(locator.kind, DDS_LOCATOR_KIND_UDPv4);
  EXPECT_EQ(locator.port, 7400u + 250u * domain + 11u + 2u * static_cast<unsigned>(other->participant_index()));
  EXPECT_EQ(locator.address[12], 127);
  EXPECT_EQ(locator.address[15], 1);

  other.reset();
  EXPECT_TRUE(eventually([&] { return watcher.saw(watcher.gone, "router 1"); }));
  EXPECT_EQ(watcher.come.size(), 1u);  // never itself
}

TEST(EngineDiscovery, OneThatIsIgnoredWhenItAppearsNeverGetsThrough) {
  Watcher watcher;
  const auto mine = make_participant(participant_config(domain), &watcher);
  watcher.participant = mine.get();
  const auto reader = make_reader(*mine, "Test.Ignore", reader_qos(true, 0));
  const auto writer = make_writer(*mine, "Test.Ignore", writer_qos(true));
  for (int round = 0; round < 10; ++round) {
    const auto unwanted = make_participant(named("unwanted"));
    const auto their_writer = make_writer(*unwanted, "Test.Ignore", writer_qos(true));
    const auto their_reader = make_reader(*unwanted, "Test.Ignore", reader_qos(true));
    write(*their_writer, {1, 1});
    const auto wanted = make_participant(named("wanted"));
    const auto wanted_writer = make_writer(*wanted, "Test.Ignore", writer_qos(true));
    ASSERT_TRUE(eventually([&] { return watcher.saw(watcher.come, "unwanted"); }));
    write(*wanted_writer, {2, 2});
    // It had its own writer before.
    ASSERT_TRUE(eventually([&] { return reader->subscription_matched_status().total_count == round + 2; }));
    ASSERT_EQ(reader->wait_for_historical_data(10'000'000'000), DDS_RETCODE_OK);
  }
  std::vector<EngineSlot> slots;
  reader->access({}, -1, slots);
  EXPECT_FALSE(slots.empty());
  for (const EngineSlot& slot : slots) EXPECT_TRUE(!slot.info.valid_data || decode(slot).id == 2);
  EXPECT_EQ(reader->subscription_matched_status().total_count, 11);
  EXPECT_EQ(writer->publication_matched_status().total_count, 1);
  EXPECT_TRUE(eventually([&] { return watcher.come.size() == 20; }));
  EXPECT_FALSE(watcher.saw(watcher.gone, "unwanted"));
}

TEST(EngineDiscovery, OneThatIsIgnoredLaterGoesAndStaysAway) {
  Watcher watcher;
  const auto mine = make_participant(participant_config(domain), &watcher);
  const auto reader = make_reader(*mine, "Test.Ignore", reader_qos());
  const auto other = make_participant(named("other"));
  const auto writer = make_writer(*other, "Test.Ignore", writer_qos(false, 0));
  ASSERT_TRUE(matched(*writer, *reader));
  EXPECT_EQ(mine->ignore(DDS_HANDLE_NIL), DDS_RETCODE_BAD_PARAMETER);
  EXPECT_EQ(mine->ignore(other->guid()), DDS_RETCODE_OK);
  ASSERT_TRUE(eventually([&] { return reader->subscription_matched_status().current_count == 0; }));
  // It is told, and does not wait for somebody who does not listen.
  EXPECT_TRUE(eventually([&] { return writer->publication_matched_status().current_count == 0; }));
  // Its next announcements come every 0.7 s; one that starts now is discovered after them.
  std::this_thread::sleep_for(1500ms);
  const auto third = make_participant(named("third"));
  const auto wanted = make_writer(*third, "Test.Ignore", writer_qos());
  ASSERT_TRUE(matched(*wanted, *reader));
  EXPECT_EQ(reader->subscription_matched_status().total_count, 2);
  EXPECT_EQ(writer->publication_matched_status().total_count, 1);
  for (int i = 0; i < 20; ++i) EXPECT_EQ(write(*writer, {1, 1}, 60'000), DDS_RETCODE_OK);
  write(*wanted, {2, 2});
  std::vector<EngineSlot> slots;
  ASSERT_TRUE(eventually([&] { return reader->access({}, -1, slots) == DDS_RETCODE_OK; }));
  for (const EngineSlot& slot : slots) EXPECT_TRUE(!slot.info.valid_data || decode(slot).id == 2);
}

/// Needs the participant that it is told for, as one that wants to ignore does.
class Expecting final : public EngineParticipantEvents {
 public:
  void participant_seen(const DDS_ParticipantBuiltinTopicData&, const DDS_InstanceHandle_t&, bool) override {
    if (!eventually([&] { return created.load(); }, 5s)) in_vain = true;
  }
  std::atomic<bool> created{false};
  std::atomic<bool> in_vain{false};
};

TEST(EngineDiscovery, ACallbackMayWaitForTheCreationThatIsGoingOn) {
  const auto other = make_participant(named("other"));
  for (int round = 0; round < 50; ++round) {
    Expecting events;
    const auto participant = make_participant(participant_config(domain), &events);
    events.created = true;
    ASSERT_FALSE(events.in_vain);
  }
}

const Role short_lived("discovery_peer", [](Channel& parent) {
  const auto participant = make_participant(named("killed"));
  parent.send("ready");
  parent.receive(60000);
});

TEST(EngineDiscovery, AKilledProcessIsGoneWithinItsLease) {
  Watcher watcher;
  const auto mine = make_participant(participant_config(domain), &watcher);
  Process process("discovery_peer");
  ASSERT_EQ(process->receive(), "ready");
  ASSERT_TRUE(eventually([&] { return watcher.saw(watcher.come, "killed"); }));
  process.signal(SIGKILL);
  EXPECT_TRUE(eventually([&] { return watcher.saw(watcher.gone, "killed"); }, 3500ms));
}

}  // namespace
}  // namespace engine_test
