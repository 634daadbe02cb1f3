#include "support/face_fixture.h"
#include "support/faulty_engine.h"

namespace face_test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

bool same(const DDS_InstanceHandle_t& a, const DDS_InstanceHandle_t& b) {
  return DDS_InstanceHandle_equals(&a, &b) != DDS_BOOLEAN_FALSE;
}

class WriterTest : public testing::Test {
 protected:
  FaultyEngine engine;
  LogLines log;
  Side side;
  NoteWriter* writer = side.writer();
};

TEST_F(WriterTest, RegisteringNeedsNoEngineAndGivesTheKeyHash) {
  int writes = 0;
  engine.write_hook = [&] {
    ++writes;
    return DDS_RETCODE_OK;
  };
  const Note note{258, 1, "x"};
  const DDS_InstanceHandle_t handle = writer->register_untypedI(&note);
  ASSERT_TRUE(handle.isValid);
  EXPECT_EQ(handle.keyHash.length, 16u);
  EXPECT_TRUE(same(handle, handle_of(note)));
  EXPECT_EQ(handle.keyHash.value[2], 1);
  EXPECT_EQ(handle.keyHash.value[3], 2);
  EXPECT_TRUE(same(writer->register_untypedI(&note), handle));
  EXPECT_TRUE(same(writer->lookup_instance_untypedI(&note), handle));
  EXPECT_EQ(writes, 0);
  EXPECT_EQ(writer->write(note, handle), DDS_RETCODE_OK);
  EXPECT_EQ(writes, 1);
}

TEST_F(WriterTest, KnowsItsInstancesUntilTheyAreUnregistered) {
  const Note note{5, 0, ""};
  EXPECT_FALSE(writer->lookup_instance_untypedI(&note).isValid);
  Note key;
  EXPECT_EQ(writer->get_key_value_untypedI(&key, handle_of(note)), DDS_RETCODE_BAD_PARAMETER);
  writer->write(note);
  EXPECT_EQ(writer->get_key_value_untypedI(&key, handle_of(note)), DDS_RETCODE_OK);
  EXPECT_EQ(key.id, 5);
  EXPECT_EQ(writer->dispose(note), DDS_RETCODE_OK);
  EXPECT_TRUE(writer->lookup_instance_untypedI(&note).isValid);
  EXPECT_EQ(writer->unregister(note), DDS_RETCODE_OK);
  EXPECT_FALSE(writer->lookup_instance_untypedI(&note).isValid);
  EXPECT_EQ(writer->get_key_value_untypedI(&key, handle_of(note)), DDS_RETCODE_BAD_PARAMETER);
  EXPECT_EQ(writer->unregister(note), DDS_RETCODE_PRECONDITION_NOT_MET);
}

TEST_F(WriterTest, UnregisteringWhatWasNeverWrittenTellsNobody) {
  Side peer;
  NoteReader* reader = peer.reader();
  NoteWriter* other = side.writer();
  other->write({1, 1, "theirs"});
  ASSERT_EQ(take(*reader, 1).size(), 1u);
  const Note mine{1, 0, ""};
  writer->register_untypedI(&mine);
  EXPECT_EQ(writer->unregister(mine), DDS_RETCODE_OK);
  writer->write({2, 0, "marker"});
  EXPECT_THAT(ids(take(*reader, 1)), ElementsAre(2));
}

TEST_F(WriterTest, RefusesWhatCannotBeWritten) {
  const Note note{1, 0, ""};
  const Note other{2, 0, ""};
  const Note too_long{1, 0, std::string(longest_text + 1, 'x')};
  const Note bad_key{-1, 0, ""};
  const struct {
    const char* line;
    DDS_ReturnCode_t result;
  } cases[] = {
      {"write: topic", writer->write_untypedI(nullptr, DDS_HANDLE_NIL, DDS_TIME_INVALID)},
      {"dispose: topic", writer->dispose_untypedI(nullptr, DDS_HANDLE_NIL, DDS_TIME_INVALID)},
      {"unregister_instance: topic", writer->unregister_untypedI(nullptr, DDS_HANDLE_NIL, DDS_TIME_INVALID)},
      {"the sample cannot be encoded", writer->write(too_long)},
      {"the key cannot be encoded", writer->write(bad_key)},
      {"the key cannot be encoded", writer->dispose(bad_key)},
      {"the handle is another instance's", writer->write(note, handle_of(other))},
      {"the handle is another instance's", writer->dispose(note, handle_of(other))},
      {"not a valid time", writer->write_untypedI(&note, DDS_HANDLE_NIL, {-2, 0})},
      {"not a valid time", writer->write_untypedI(&note, DDS_HANDLE_NIL, {1, 1000000000})},
  };
  const std::vector<std::string> lines = log.lines();
  ASSERT_EQ(lines.size(), std::size(cases));
  for (std::size_t i = 0; i < lines.size(); ++i) {
    EXPECT_EQ(cases[i].result, DDS_RETCODE_BAD_PARAMETER) << i;
    EXPECT_THAT(lines[i], HasSubstr(cases[i].line));
    EXPECT_THAT(lines[i], HasSubstr(side.topic->get_name()));
  }
  EXPECT_FALSE(writer->register_untypedI(nullptr).isValid);
  EXPECT_FALSE(writer->register_untypedI(&bad_key).isValid);
}

TEST_F(WriterTest, PassesTheEnginesFailuresOnAndKeepsTheInstance) {
  const Note note{1, 0, ""};
  engine.allocate_hook = [] { return false; };
  EXPECT_EQ(writer->write(note), DDS_RETCODE_OUT_OF_RESOURCES);
  EXPECT_EQ(writer->dispose(note), DDS_RETCODE_OUT_OF_RESOURCES);
  engine.allocate_hook = nullptr;
  engine.write_hook = [] { return DDS_RETCODE_TIMEOUT; };
  EXPECT_EQ(writer->write(note), DDS_RETCODE_TIMEOUT);
  EXPECT_EQ(writer->unregister(note), DDS_RETCODE_TIMEOUT);
  EXPECT_TRUE(writer->lookup_instance_untypedI(&note).isValid);
}

TEST_F(WriterTest, CarriesTheSourceTimestamp) {
  NoteReader* reader = side.reader();
  const Note note{1, 0, ""};
  writer->write_untypedI(&note, DDS_HANDLE_NIL, {1234, 567});
  const auto received = take(*reader, 1);
  ASSERT_EQ(received.size(), 1u);
  EXPECT_EQ(received[0].info.source_timestamp.sec, 1234);
  EXPECT_EQ(received[0].info.source_timestamp.nanosec, 567u);
  const DDS_InstanceHandle_t from = writer->get_instance_handle();
  EXPECT_TRUE(same(received[0].info.publication_handle, from));
}

TEST_F(WriterTest, WithoutKeyHasNoHandles) {
  DDSTopic* topic = side.participant->create_topic(own_topic("Keyless").c_str(), "Keyless", state_qos(), nullptr, 0);
  auto* keyless = static_cast<NoteWriter*>(
      side.participant->create_datawriter(topic, DDS_DATAWRITER_QOS_USE_TOPIC_QOS, nullptr, 0));
  auto* reader = static_cast<NoteReader*>(
      side.participant->create_datareader(topic, DDS_DATAREADER_QOS_USE_TOPIC_QOS, nullptr, 0));
  const Note note{1, 2, "three"};
  EXPECT_FALSE(keyless->register_untypedI(&note).isValid);
  EXPECT_FALSE(keyless->lookup_instance_untypedI(&note).isValid);
  EXPECT_EQ(keyless->write(note, handle_of(note)), DDS_RETCODE_BAD_PARAMETER);
  EXPECT_EQ(keyless->write(note), DDS_RETCODE_OK);
  const auto received = take(*reader, 1);
  ASSERT_EQ(received.size(), 1u);
  EXPECT_EQ(received[0].note, note);
  EXPECT_FALSE(received[0].info.instance_handle.isValid);
}

TEST_F(WriterTest, ThatIsNotEnabledKnowsInstancesButDoesNotWrite) {
  DDS_DomainParticipantQos qos = loopback_qos();
  qos.entity_factory.autoenable_created_entities = DDS_BOOLEAN_FALSE;
  Side disabled(qos);
  NoteWriter* quiet = disabled.writer();
  const Note note{1, 0, ""};
  EXPECT_TRUE(quiet->register_untypedI(&note).isValid);
  EXPECT_EQ(quiet->write(note), DDS_RETCODE_NOT_ENABLED);
  EXPECT_EQ(quiet->flush(), DDS_RETCODE_NOT_ENABLED);
  EXPECT_FALSE(quiet->get_instance_handle().isValid);
  EXPECT_EQ(quiet->enable(), DDS_RETCODE_OK);
  EXPECT_EQ(quiet->enable(), DDS_RETCODE_OK);
  EXPECT_TRUE(quiet->get_instance_handle().isValid);
  EXPECT_EQ(quiet->write(note), DDS_RETCODE_OK);
}

TEST_F(WriterTest, CountsChangesSinceItsStatusWasRead) {
  Side peer;
  NoteReader* reader = peer.reader();
  ASSERT_TRUE(matched(*reader));
  ASSERT_TRUE(eventually([&] {
    DDS_InstanceHandleSeq handles;
    return writer->get_matched_subscriptions(handles) == DDS_RETCODE_OK && handles.length() == 1 &&
           same(handles[0], reader->get_instance_handle());
  }));
  engine.writer_events->offered_deadline_missed({2, 2, DDS_HANDLE_NIL});
  engine.writer_events->offered_deadline_missed({5, 3, DDS_HANDLE_NIL});
  DDS_OfferedDeadlineMissedStatus deadline_status;
  writer->get_offered_deadline_missed_status(deadline_status);
  EXPECT_EQ(deadline_status.total_count, 5);
  EXPECT_EQ(deadline_status.total_count_change, 5);
  writer->get_offered_deadline_missed_status(deadline_status);
  EXPECT_EQ(deadline_status.total_count, 5);
  EXPECT_EQ(deadline_status.total_count_change, 0);
}

struct Heard : DDSDomainParticipantListener {
  void on_liveliness_lost(DDSDataWriter* writer, const DDS_LivelinessLostStatus& status) override {
    writers.push_back(writer);
    changes.push_back(status.total_count_change);
  }
  void on_offered_incompatible_qos(DDSDataWriter*, const DDS_OfferedIncompatibleQosStatus&) override {
    throw std::runtime_error("a fault of the test");
  }
  std::vector<DDSDataWriter*> writers;
  std::vector<DDS_Long> changes;
};

TEST_F(WriterTest, ReportsToItsListenerOrElseToTheParticipants) {
  Heard own;
  Heard participants;
  side.participant->set_listener(&participants, DDS_LIVELINESS_LOST_STATUS | DDS_OFFERED_INCOMPATIBLE_QOS_STATUS);
  writer->set_listener(&own, DDS_LIVELINESS_LOST_STATUS);
  engine.writer_events->liveliness_lost({1, 1});
  writer->set_listener(&own, DDS_PUBLICATION_MATCHED_STATUS);
  engine.writer_events->liveliness_lost({3, 2});
  writer->set_listener(nullptr, DDS_STATUS_MASK_NONE);
  engine.writer_events->liveliness_lost({3, 0});  // nothing changed
  EXPECT_THAT(own.changes, ElementsAre(1));
  EXPECT_THAT(participants.changes, ElementsAre(2));
  EXPECT_THAT(participants.writers, ElementsAre(writer));
  log.clear();
  engine.writer_events->offered_incompatible_qos({1, 1, 11});
  ASSERT_EQ(log.lines().size(), 1u);
  EXPECT_THAT(log.lines()[0], HasSubstr("a fault of the test"));
  side.participant->set_listener(nullptr, DDS_STATUS_MASK_NONE);
}

TEST_F(WriterTest, CannotBeMadeWithoutTheEngine) {
  engine.create_writer_hook = [] { return DDS_RETCODE_OUT_OF_RESOURCES; };
  EXPECT_EQ(side.writer(), nullptr);
  ASSERT_FALSE(log.lines().empty());
  EXPECT_THAT(log.lines().back(), HasSubstr("a fault of the test"));
  engine.create_writer_hook = nullptr;
  EXPECT_NE(side.writer(), nullptr);
}

// --- batching
// ---------------------------------------------------------------------------------------------------------

class BatchTest : public WriterTest {
 protected:
  NoteWriter* batched(DDS_Long max_bytes, DDS_Long max_samples, DDS_Duration_t delay) {
    DDS_DataWriterQos qos;
    qos.batch.enable = DDS_BOOLEAN_TRUE;
    qos.batch.max_data_bytes = max_bytes;
    qos.batch.max_samples = max_samples;
    qos.batch.max_flush_delay = delay;
    return side.writer(qos);
  }
};

TEST_F(BatchTest, IsSentAtItsLimits) {
  const Note note{1, 0, std::string(84, 'x')};  // 100 octets
  const struct {
    DDS_Long max_bytes;
    DDS_Long max_samples;
    int writes;
    int flushes;
  } cases[] = {
      {DDS_LENGTH_UNLIMITED, 3, 2, 0},   {DDS_LENGTH_UNLIMITED, 3, 3, 1},
      {DDS_LENGTH_UNLIMITED, 3, 7, 2},   {300, DDS_LENGTH_UNLIMITED, 2, 0},
      {300, DDS_LENGTH_UNLIMITED, 3, 1}, {250, DDS_LENGTH_UNLIMITED, 3, 1},
      {50, DDS_LENGTH_UNLIMITED, 2, 2},  {DDS_LENGTH_UNLIMITED, DDS_LENGTH_UNLIMITED, 50, 0},
  };
  for (const auto& one : cases) {
    NoteWriter* batching = batched(one.max_bytes, one.max_samples, DDS_DURATION_INFINITE);
    engine.flushes = 0;
    for (int i = 0; i < one.writes; ++i) ASSERT_EQ(batching->write(note), DDS_RETCODE_OK);
    EXPECT_EQ(engine.flushes, one.flushes) << one.max_bytes << ", " << one.max_samples << ", " << one.writes;
    EXPECT_EQ(batching->flush(), DDS_RETCODE_OK);
    EXPECT_EQ(engine.flushes, one.flushes + 1);
  }
}

TEST_F(BatchTest, ArrivesWhenItsDelayIsOver) {
  Side peer;
  DDS_DataReaderQos qos;
  qos.reliability.kind = DDS_RELIABLE_RELIABILITY_QOS;
  qos.history.kind = DDS_KEEP_ALL_HISTORY_QOS;
  NoteReader* reader = peer.reader(qos);
  NoteWriter* batching = batched(DDS_LENGTH_UNLIMITED, DDS_LENGTH_UNLIMITED, {0, 30000000});
  ASSERT_TRUE(matched(*reader, 2));
  ASSERT_TRUE(matched(*batching));
  for (int round = 0; round < 3; ++round) {
    for (int i = 0; i < 5; ++i) batching->write({i, round, ""});
    EXPECT_EQ(take(*reader, 5).size(), 5u);
  }
}

TEST_F(BatchTest, IsSentBeforeAcknowledgmentsAreWaitedFor) {
  Side peer;
  DDS_DataReaderQos qos;
  qos.reliability.kind = DDS_RELIABLE_RELIABILITY_QOS;
  NoteReader* reader = peer.reader(qos);
  NoteWriter* batching = batched(DDS_LENGTH_UNLIMITED, DDS_LENGTH_UNLIMITED, DDS_DURATION_INFINITE);
  ASSERT_TRUE(matched(*reader, 2));
  ASSERT_TRUE(matched(*batching));
  batching->write({1, 0, ""});
  EXPECT_EQ(batching->wait_for_acknowledgments(deadline_duration), DDS_RETCODE_OK);
  EXPECT_EQ(take(*reader, 1).size(), 1u);
  engine.flush_hook = [] { return DDS_RETCODE_TIMEOUT; };
  EXPECT_EQ(batching->flush(), DDS_RETCODE_TIMEOUT);
  EXPECT_EQ(batching->wait_for_acknowledgments(deadline_duration), DDS_RETCODE_TIMEOUT);
  engine.flush_hook = nullptr;
}

TEST_F(BatchTest, WritersWithDelaysComeAndGoWhileOthersSend) {
  std::vector<std::thread> threads;
  for (int t = 0; t < 3; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < 10; ++i) {
        NoteWriter* batching = batched(DDS_LENGTH_UNLIMITED, DDS_LENGTH_UNLIMITED, {0, 500000});
        for (int n = 0; n < 20; ++n) batching->write({t, n, ""});
        EXPECT_EQ(side.participant->delete_datawriter(batching), DDS_RETCODE_OK);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
}

}  // namespace
}  // namespace face_test
