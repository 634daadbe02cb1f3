// A peer that pauses and returns is usable again within one lease, in both directions, with no new sample and no
// restart.
#include "tests/platform/engine_fixture.h"
#include "tests/platform/engine_process.h"

#include <sstream>

namespace engine_test {
namespace {

constexpr DDS_DomainId_t domain = 61;

/// Both sides of a conversation have one: a writer that keeps history, one that does not, and readers for the other
/// side's.
class Side {
 public:
  Side(const std::string& mine, const std::string& other, std::int64_t participant_lease) {
    EngineParticipantConfig config = participant_config(domain);
    config.lease_duration = participant_lease;
    participant_ = make_participant(config);
    state_ = make_writer(*participant_, mine + ".State", with_lease(writer_qos(true)));
    event_ = make_writer(*participant_, mine + ".Event", with_lease(writer_qos(false, 0)));
    state_reader_ = make_reader(*participant_, other + ".State", with_lease(reader_qos(true)));
    event_reader_ = make_reader(*participant_, other + ".Event", with_lease(reader_qos(false, 0)));
  }

  void write(Counter counter) {
    EXPECT_EQ(engine_test::write(*state_, counter), DDS_RETCODE_OK);
    EXPECT_EQ(engine_test::write(*event_, counter), DDS_RETCODE_OK);
  }

  bool connected() {
    for (EngineReader* reader : {state_reader_.get(), event_reader_.get()}) {
      if (reader->subscription_matched_status().current_count != 1) return false;
      const DDS_LivelinessChangedStatus liveliness = reader->liveliness_changed_status();
      if (liveliness.alive_count != 1 || liveliness.not_alive_count != 0) return false;
    }
    for (EngineWriter* writer : {state_.get(), event_.get()})
      if (writer->publication_matched_status().current_count != 1) return false;
    return true;
  }

  /// Whether both readers have had this value, now or before.
  bool has(std::uint32_t value) {
    return has(*state_reader_, value, last_state_) && has(*event_reader_, value, last_event_);
  }
  bool has_state(std::uint32_t value) { return has(*state_reader_, value, last_state_); }

 private:
  template <typename Qos>
  static Qos with_lease(Qos qos) {
    qos.liveliness.lease_duration = {3, 0};
    return qos;
  }

  static bool has(EngineReader& reader, std::uint32_t value, std::uint32_t& last) {
    std::vector<EngineSlot> slots;
    EngineSelection take;
    take.take = true;
    reader.access(take, -1, slots);
    for (const EngineSlot& slot : slots)
      if (slot.info.valid_data) last = std::max(last, decode(slot).value);
    return last >= value;
  }

  std::unique_ptr<EngineParticipant> participant_;
  std::unique_ptr<EngineWriter> state_;
  std::unique_ptr<EngineWriter> event_;
  std::unique_ptr<EngineReader> state_reader_;
  std::unique_ptr<EngineReader> event_reader_;
  std::uint32_t last_state_ = 0;
  std::uint32_t last_event_ = 0;
};

const Role peer("liveliness_peer", [](Channel& parent) {
  const std::int64_t lease = std::stoll(parent.receive());
  Side side("Test.Peer", "Test.Main", lease);
  parent.send("ready");
  for (std::string line = parent.receive(60000); !line.empty(); line = parent.receive(60000)) {
    std::istringstream words(line);
    std::string command;
    std::uint32_t value = 0;
    words >> command >> value;
    bool result = true;
    if (command == "write") side.write({1, value});
    if (command == "connected") result = eventually([&] { return side.connected(); }, 3500ms);
    if (command == "has") result = eventually([&] { return side.has(value); }, 3s);
    if (command == "has_state") result = eventually([&] { return side.has_state(value); }, 3s);
    parent.send(result ? "yes" : "no");
  }
});

struct Pause {
  const char* name;
  std::int64_t peer_lease;
  std::int64_t own_lease;
  std::chrono::milliseconds length;
};

std::ostream& operator<<(std::ostream& out, const Pause& pause) {
  return out << pause.name;
}

constexpr std::int64_t usual = 2'800'000'000;

class EngineLiveliness : public testing::TestWithParam<Pause> {};

TEST_P(EngineLiveliness, APausedPeerIsUsableAgain) {
  Process process("liveliness_peer");
  process->send(std::to_string(GetParam().peer_lease));
  Side side("Test.Main", "Test.Peer", GetParam().own_lease);
  ASSERT_EQ(process->receive(), "ready");
  ASSERT_TRUE(eventually([&] { return side.connected(); }));
  ASSERT_EQ(process->ask("connected"), "yes");
  side.write({1, 1});
  ASSERT_EQ(process->ask("write 1"), "yes");
  ASSERT_TRUE(eventually([&] { return side.has(1); }));
  ASSERT_EQ(process->ask("has 1"), "yes");

  process.signal(SIGSTOP);
  const auto stopped = std::chrono::steady_clock::now();
  side.write({1, 2});  // part of the history that the peer finds when it is back
  std::this_thread::sleep_until(stopped + GetParam().length);
  process.signal(SIGCONT);

  const auto continued = std::chrono::steady_clock::now();
  // One that was not missed stays connected all the time; either way it holds a lease later.
  EXPECT_EQ(process->ask("has_state 2"), "yes");
  EXPECT_TRUE(eventually([&] { return side.connected(); }, 3500ms));
  EXPECT_EQ(process->ask("connected"), "yes");
  const std::chrono::duration<double> back = std::chrono::steady_clock::now() - continued;
  RecordProperty("seconds_until_back", std::to_string(back.count()));
  side.write({1, 3});
  EXPECT_EQ(process->ask("has 3"), "yes");
  EXPECT_EQ(process->ask("write 4"), "yes");
  EXPECT_TRUE(eventually([&] { return side.has(4); }, 3s));
  EXPECT_EQ(process.finish(), 0);
}

INSTANTIATE_TEST_SUITE_P(Pauses, EngineLiveliness,
                         testing::Values(Pause{"short_of_the_lease", usual, usual, 1500ms},
                                         Pause{"about_the_lease", usual, usual, 2500ms},
                                         Pause{"above_the_lease", usual, usual, 3000ms},
                                         Pause{"twice_the_lease", usual, usual, 6000ms},
                                         // Only one of the two has dropped the other.
                                         Pause{"dropped_by_us", 1'000'000'000, 20'000'000'000, 2500ms},
                                         Pause{"dropped_by_the_peer", 20'000'000'000, 1'000'000'000, 2500ms},
                                         // The writers are lost first, their participant is not.
                                         Pause{"lease_above_the_writers", 10'000'000'000, 10'000'000'000, 4000ms}),
                         testing::PrintToStringParamName());

}  // namespace
}  // namespace engine_test
