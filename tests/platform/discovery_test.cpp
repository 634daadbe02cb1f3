// SPDX-License-Identifier: Apache-2.0

// Tests remote participants: notifications, how to ignore a participant, and participants that are killed or paused.
#include "support/peer.h"

#include <csignal>
#include <future>

namespace platform_test {
namespace {

using testing::Each;

/// Records the participants that its participant discovers, and ignores those with the name "unwanted".
class Watcher : public DDSDataReaderListener {
 public:
  explicit Watcher(Side& side) : participant_(*side.participant) {
    reader_->set_listener(this, DDS_DATA_AVAILABLE_STATUS);
  }
  ~Watcher() override { reader_->set_listener(nullptr, DDS_STATUS_MASK_NONE); }

  void on_data_available(DDSDataReader*) override {
    DDS_ParticipantBuiltinTopicDataSeq samples;
    DDS_SampleInfoSeq infos;
    DDSParticipantBuiltinTopicDataDataReader::narrow(reader_)->take(
        samples, infos, DDS_LENGTH_UNLIMITED, DDS_ANY_SAMPLE_STATE, DDS_ANY_VIEW_STATE, DDS_ANY_INSTANCE_STATE);
    for (DDS_Long i = 0; i < samples.length(); ++i) {
      const char* const name = samples[i].participant_name.name;
      const std::string event = !infos[i].valid_data ? "an end" : name ? name : "";
      if (event == "unwanted") participant_.ignore_participant(infos[i].instance_handle);
      seen.add(event);
    }
  }
  /// The names of new participants, and "an end".
  tessivar::testing::Events seen;

 private:
  DDSDomainParticipant& participant_;
  DDSDataReader* const reader_ = participant_.get_builtin_subscriber()->lookup_datareader(DDS_PARTICIPANT_TOPIC_NAME);
};

TEST(DiscoveryTest, ParticipantIgnoredWhenItAppearsNeverMatches) {
  Side side;
  Watcher watcher(side);
  CommandDataReader* reader = side.reader();
  CommandDataWriter* writer = side.writer();
  for (int round = 0; round < 10; ++round) {
    Side unwanted(loopback_qos("unwanted")), wanted;
    write(unwanted.writer(), 1);
    unwanted.reader();
    write(wanted.writer(), 2);
    ASSERT_TRUE(watcher.seen.happens("unwanted"));
    ASSERT_TRUE(eventually([&] { return matches(reader).total_count == round + 2; }));  // its own writer is one of them
    EXPECT_EQ(reader->wait_for_historical_data(patience), DDS_RETCODE_OK);
    EXPECT_THAT(numbers(take(reader, 1)), Each(2u));
  }
  EXPECT_EQ(matches(reader).total_count, 11);
  EXPECT_EQ(matches(writer).total_count, 1);
}

TEST(DiscoveryTest, KilledProcessIsGoneWithinItsLease) {
  Side side;
  Watcher watcher(side);
  Peer peer;
  ASSERT_TRUE(watcher.seen.happens("peer"));
  peer.signal(SIGKILL);
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_TRUE(watcher.seen.happens("an end"));
  EXPECT_LT(std::chrono::steady_clock::now() - begin, 3500ms);
}

struct Pause {
  const char* name;
  bool history;
  DDS_Duration_t peer_lease, own_lease;
  std::chrono::milliseconds length;
};

/// The peer is usable again within one lease, in both directions and without a restart. Samples of the pause arrive
/// from the history.
void pause_and_continue(const Pause& pause) {
  const std::string topic = own_topic(pause.name);
  DDS_DomainParticipantQos qos = loopback_qos();
  qos.discovery_config.participant_liveliness_lease_duration = pause.own_lease;
  Side side(qos, topic);
  side.participant->ignore_participant(side.participant->get_instance_handle());
  Peer peer(pause.history, pause.peer_lease, topic);
  CommandDataWriter* writer = side.writer(lively<DDS_DataWriterQos>(pause.history));
  CommandDataReader* reader = side.reader(lively<DDS_DataReaderQos>(pause.history));
  const auto connected = [&] {
    DDS_LivelinessChangedStatus alive = {};
    reader->get_liveliness_changed_status(alive);
    return matches(reader).current_count == 1 && matches(writer).current_count == 1 && alive.alive_count == 1 &&
           alive.not_alive_count == 0;
  };
  const auto usable = [&](DDS_Long value, std::chrono::milliseconds limit) {
    const auto answers = [&] {
      write(writer, 2, value);
      return comes(reader, 3, value, 100ms);
    };
    EXPECT_TRUE(eventually(connected, limit)) << pause.name;
    EXPECT_TRUE(eventually(answers, limit)) << pause.name;
  };
  constexpr auto lease = 3500ms;
  usable(1, 20s);
  peer.signal(SIGSTOP);
  write(writer, 2, 2);
  std::this_thread::sleep_for(pause.length);
  peer.signal(SIGCONT);
  EXPECT_TRUE(!pause.history || comes(reader, 3, 2, lease)) << pause.name;
  // A peer that was not lost stays connected all the time. In both cases the connection works one lease later.
  usable(3, lease);
}

TEST(DiscoveryTest, PausedPeerIsUsableAgainWithinALease) {
  const DDS_Duration_t usual = {2, 800000000};
  const Pause pauses[] = {
      {"AboutTheLease", true, usual, usual, 2500ms},
      {"TwiceTheLease", true, usual, usual, 6000ms},
      {"TwiceTheLeaseWithoutHistory", false, usual, usual, 6000ms},
      {"OnlyThePeerIsDropped", true, {1, 0}, {20, 0}, 2500ms},
      {"OnlyWeAreDropped", true, {20, 0}, {1, 0}, 2500ms},
      {"TheWritersAreLostTheirParticipantIsNot", true, {10, 0}, {10, 0}, 4000ms},
  };
  std::vector<std::future<void>> all;
  for (const Pause& pause : pauses) all.push_back(std::async(std::launch::async, pause_and_continue, pause));
}

}  // namespace
}  // namespace platform_test
