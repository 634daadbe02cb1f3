#include "support/face_fixture.h"
#include "support/faulty_engine.h"

namespace face_test {
namespace {

using testing::AllOf;
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

TEST_F(WriterTest, KnowsItsInstancesUntilTheyAreUnregistered) {
  int writes = 0;
  engine.write_hook = [&] {
    ++writes;
    return DDS_RETCODE_OK;
  };
  const Note note{258, 1, "x"};
  const DDS_InstanceHandle_t handle = writer->register_untypedI(&note);
  EXPECT_EQ(handle.keyHash.value[2], 1);
  EXPECT_EQ(handle.keyHash.value[3], 2);
  EXPECT_TRUE(same(writer->lookup_instance_untypedI(&note), handle));
  EXPECT_EQ(writes, 0) << "registering needs no engine";
  EXPECT_EQ(writer->write(note, handle), DDS_RETCODE_OK);
  EXPECT_EQ(writes, 1);
  Note key;
  EXPECT_EQ(writer->get_key_value_untypedI(&key, handle), DDS_RETCODE_OK);
  EXPECT_EQ(key.id, 258);
  EXPECT_EQ(writer->dispose(note), DDS_RETCODE_OK);
  EXPECT_TRUE(writer->lookup_instance_untypedI(&note).isValid);
  EXPECT_EQ(writer->unregister(note), DDS_RETCODE_OK);
  EXPECT_FALSE(writer->lookup_instance_untypedI(&note).isValid);
  EXPECT_EQ(writer->get_key_value_untypedI(&key, handle), DDS_RETCODE_BAD_PARAMETER);
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
  const Note good{1, 0, ""};
  const Note too_long{1, 0, std::string(longest_text + 1, 'x')};
  const Note bad_key{-1, 0, ""};
  const DDS_InstanceHandle_t other = handle_of({2, 0, ""});
  const auto write = &NoteWriter::write_untypedI;
  const struct {
    DDS_ReturnCode_t (DDSDataWriter::*operation)(const void*, const DDS_InstanceHandle_t&, const DDS_Time_t&);
    const Note* note;
    DDS_InstanceHandle_t handle;
    DDS_Time_t time;
    const char* line;
  } cases[] = {
      {write, nullptr, DDS_HANDLE_NIL, DDS_TIME_INVALID, "write: topic"},
      {&NoteWriter::unregister_untypedI, nullptr, DDS_HANDLE_NIL, DDS_TIME_INVALID, "unregister_instance: topic"},
      {write, &too_long, DDS_HANDLE_NIL, DDS_TIME_INVALID, "the sample cannot be encoded"},
      {write, &bad_key, DDS_HANDLE_NIL, DDS_TIME_INVALID, "the key cannot be encoded"},
      {&NoteWriter::dispose_untypedI, &bad_key, DDS_HANDLE_NIL, DDS_TIME_INVALID, "the key cannot be encoded"},
      {write, &good, other, DDS_TIME_INVALID, "the handle is another instance's"},
      {write, &good, DDS_HANDLE_NIL, {-2, 0}, "not a valid time"},
      {write, &good, DDS_HANDLE_NIL, {1, 1000000000}, "not a valid time"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ((writer->*c.operation)(c.note, c.handle, c.time), DDS_RETCODE_BAD_PARAMETER) << c.line;
    EXPECT_THAT(log.lines(), ElementsAre(AllOf(HasSubstr(c.line), HasSubstr(side.topic->get_name()))));
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

TEST_F(WriterTest, WithoutKeyHasNoHandlesAndCarriesTheSourceTimestamp) {
  DDSTopic* topic = side.participant->create_topic(own_topic("Keyless").c_str(), "Keyless", state_qos(), nullptr, 0);
  auto* keyless = static_cast<NoteWriter*>(
      side.participant->create_datawriter(topic, DDS_DATAWRITER_QOS_USE_TOPIC_QOS, nullptr, 0));
  auto* reader = static_cast<NoteReader*>(
      side.participant->create_datareader(topic, DDS_DATAREADER_QOS_USE_TOPIC_QOS, nullptr, 0));
  const Note note{1, 2, "three"};
  EXPECT_FALSE(keyless->register_untypedI(&note).isValid);
  EXPECT_EQ(keyless->write(note, handle_of(note)), DDS_RETCODE_BAD_PARAMETER);
  EXPECT_EQ(keyless->write_untypedI(&note, DDS_HANDLE_NIL, {1234, 567}), DDS_RETCODE_OK);
  const auto received = take(*reader, 1);
  ASSERT_EQ(received.size(), 1u);
  EXPECT_EQ(received[0].note, note);
  EXPECT_FALSE(received[0].info.instance_handle.isValid);
  EXPECT_EQ(received[0].info.source_timestamp.sec, 1234);
  EXPECT_EQ(received[0].info.source_timestamp.nanosec, 567u);
  EXPECT_TRUE(same(received[0].info.publication_handle, keyless->get_instance_handle()));
}

struct Heard : DDSDomainParticipantListener {
  void on_liveliness_lost(DDSDataWriter*, const DDS_LivelinessLostStatus& status) override {
    changes.push_back(status.total_count_change);
  }
  void on_offered_incompatible_qos(DDSDataWriter*, const DDS_OfferedIncompatibleQosStatus&) override {
    throw std::runtime_error("a fault of the test");
  }
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
  engine.writer_events->liveliness_lost({3, 0});  // nothing changed
  EXPECT_THAT(own.changes, ElementsAre(1));
  EXPECT_THAT(participants.changes, ElementsAre(2));
  engine.writer_events->offered_incompatible_qos({1, 1, 11});
  EXPECT_THAT(log.lines(), ElementsAre(HasSubstr("a fault of the test")));
  side.participant->set_listener(nullptr, DDS_STATUS_MASK_NONE);
  writer->set_listener(nullptr, DDS_STATUS_MASK_NONE);
  DDS_OfferedDeadlineMissedStatus status;
  engine.writer_events->offered_deadline_missed({2, 2, DDS_HANDLE_NIL});
  engine.writer_events->offered_deadline_missed({5, 3, DDS_HANDLE_NIL});
  for (const DDS_Long change : {5, 0}) {  // reading it counts anew
    writer->get_offered_deadline_missed_status(status);
    EXPECT_EQ(status.total_count, 5);
    EXPECT_EQ(status.total_count_change, change);
  }
}

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
  const DDS_Long any = DDS_LENGTH_UNLIMITED;
  const struct {
    DDS_Long max_bytes, max_samples;
    int writes, flushes;
  } cases[] = {{any, 3, 2, 0},   {any, 3, 3, 1},   {any, 3, 7, 2},  {300, any, 2, 0},
               {300, any, 3, 1}, {250, any, 3, 1}, {50, any, 2, 2}, {any, any, 50, 0}};
  for (const auto& one : cases) {
    NoteWriter* batching = batched(one.max_bytes, one.max_samples, DDS_DURATION_INFINITE);
    engine.flushes = 0;
    for (int i = 0; i < one.writes; ++i) ASSERT_EQ(batching->write(note), DDS_RETCODE_OK);
    EXPECT_EQ(engine.flushes, one.flushes) << one.max_bytes << ", " << one.max_samples << ", " << one.writes;
    EXPECT_EQ(batching->flush(), DDS_RETCODE_OK);
    EXPECT_EQ(engine.flushes, one.flushes + 1);
  }
}

TEST_F(BatchTest, ArrivesWhenItsDelayIsOverOrAcknowledgmentsAreWaitedFor) {
  Side peer;
  DDS_DataReaderQos qos;
  qos.reliability.kind = DDS_RELIABLE_RELIABILITY_QOS;
  qos.history.kind = DDS_KEEP_ALL_HISTORY_QOS;
  NoteReader* reader = peer.reader(qos);
  NoteWriter* delayed = batched(DDS_LENGTH_UNLIMITED, DDS_LENGTH_UNLIMITED, {0, 30000000});
  NoteWriter* endless = batched(DDS_LENGTH_UNLIMITED, DDS_LENGTH_UNLIMITED, DDS_DURATION_INFINITE);
  ASSERT_TRUE(matched(*reader, 3) && matched(*delayed) && matched(*endless));
  for (int round = 0; round < 3; ++round) {
    for (int i = 0; i < 5; ++i) delayed->write({i, round, ""});
    EXPECT_EQ(take(*reader, 5).size(), 5u);
  }
  endless->write({1, 0, ""});
  EXPECT_EQ(endless->wait_for_acknowledgments(deadline_duration), DDS_RETCODE_OK);
  EXPECT_EQ(take(*reader, 1).size(), 1u);
  engine.flush_hook = [] { return DDS_RETCODE_TIMEOUT; };
  EXPECT_EQ(endless->wait_for_acknowledgments(deadline_duration), DDS_RETCODE_TIMEOUT);
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
