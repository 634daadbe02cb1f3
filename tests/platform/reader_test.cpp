#include "support/face_fixture.h"
#include "support/faulty_engine.h"

#include <future>
#include <set>

namespace face_test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

DDS_DataReaderQos keep_all() {
  DDS_DataReaderQos qos = state_reader_qos();
  qos.history.kind = DDS_KEEP_ALL_HISTORY_QOS;
  return qos;
}

DDS_ReadSelectionI taking(DDS_Long max = DDS_LENGTH_UNLIMITED) {
  DDS_ReadSelectionI selection;
  selection.take = DDS_BOOLEAN_TRUE;
  selection.max_samples = max;
  return selection;
}

/// Reader and writer in one participant: what is written is there when the write returns.
class ReaderTest : public testing::Test {
 protected:
  FaultyEngine engine;
  LogLines log;
  Side side;
  NoteWriter* writer = side.writer();
  NoteReader* reader = side.reader(keep_all());
};

TEST_F(ReaderTest, LendsDecodedSamplesUntilTheyAreReturned) {
  writer->write({1, 10, "one"});
  writer->write({2, 20, "two"});
  DDS_SampleBufferI buffer;
  DDS_SampleInfoSeq infos;
  ASSERT_EQ(reader->read_or_take_untypedI(buffer, infos, taking()), DDS_RETCODE_OK);
  ASSERT_EQ(buffer.count, 2);
  EXPECT_TRUE(buffer.lent);
  EXPECT_FALSE(infos.has_ownership());
  ASSERT_EQ(infos.length(), 2);
  std::vector<std::string> texts;
  for (DDS_Long i = 0; i < buffer.count; ++i) {
    texts.push_back(static_cast<Note*>(buffer.lent_samples[i])->text);
    EXPECT_TRUE(infos[i].valid_data);
    EXPECT_EQ(infos[i].sample_state, DDS_NOT_READ_SAMPLE_STATE);
    EXPECT_EQ(infos[i].view_state, DDS_NEW_VIEW_STATE);
    EXPECT_EQ(infos[i].instance_handle.keyHash.length, 16u);
  }
  EXPECT_THAT(texts, UnorderedElementsAre("one", "two"));

  EXPECT_EQ(side.participant->delete_datareader(reader), DDS_RETCODE_PRECONDITION_NOT_MET);
  DDS_SampleBufferI again;
  EXPECT_EQ(reader->read_or_take_untypedI(again, infos, taking()), DDS_RETCODE_PRECONDITION_NOT_MET);
  NoteReader* other = side.reader();
  EXPECT_EQ(other->return_loan_untypedI(buffer.lent_samples, buffer.lent_maximum, infos),
            DDS_RETCODE_PRECONDITION_NOT_MET);
  EXPECT_EQ(reader->return_loan_untypedI(buffer.lent_samples, buffer.lent_maximum, infos), DDS_RETCODE_OK);
  EXPECT_TRUE(infos.has_ownership());
  EXPECT_EQ(infos.length(), 0);
  EXPECT_EQ(reader->return_loan_untypedI(buffer.lent_samples, buffer.lent_maximum, infos),
            DDS_RETCODE_PRECONDITION_NOT_MET);
  EXPECT_EQ(reader->read_or_take_untypedI(again, infos, taking()), DDS_RETCODE_NO_DATA);
}

TEST_F(ReaderTest, SeveralLoansAreIndependentAndSamplesAreUsedAgain) {
  for (int i = 0; i < 4; ++i) writer->write({i, 0, "text"});
  DDS_SampleBufferI buffers[2];
  DDS_SampleInfoSeq infos[2];
  for (int i : {0, 1}) ASSERT_EQ(reader->read_or_take_untypedI(buffers[i], infos[i], taking(2)), DDS_RETCODE_OK);
  std::set<int> seen;
  for (int i : {0, 1})
    for (DDS_Long n = 0; n < 2; ++n) seen.insert(static_cast<Note*>(buffers[i].lent_samples[n])->id);
  EXPECT_EQ(seen.size(), 4u);
  for (int i : {0, 1}) {
    EXPECT_EQ(reader->return_loan_untypedI(buffers[i].lent_samples, buffers[i].lent_maximum, infos[i]), DDS_RETCODE_OK);
  }
  const int made = live_notes();
  for (int round = 0; round < 10; ++round) {
    for (int i = 0; i < 4; ++i) writer->write({i, round, "text"});
    EXPECT_EQ(reader->take().size(), 4u);
  }
  EXPECT_EQ(live_notes(), made);
}

TEST_F(ReaderTest, KeepsNoMoreThanABoundedNumberOfIdleSamples) {
  const int before = live_notes();
  for (int i = 0; i < 3000; ++i) writer->write({i, 0, ""});
  EXPECT_EQ(reader->take().size(), 3000u);
  EXPECT_LE(live_notes() - before, 1024);
}

TEST_F(ReaderTest, CopiesIntoBuffersThatTheCallerOwns) {
  for (int i = 0; i < 3; ++i) writer->write({i, i * 10, "text"});
  Note notes[2];
  DDS_SampleBufferI buffer;
  buffer.maximum = 2;
  buffer.contiguous = notes;
  buffer.sample_size = sizeof(Note);
  DDS_SampleInfoSeq infos(2);
  ASSERT_EQ(reader->read_or_take_untypedI(buffer, infos, taking()), DDS_RETCODE_OK);
  EXPECT_FALSE(buffer.lent);
  EXPECT_EQ(buffer.count, 2);
  EXPECT_EQ(infos.length(), 2);
  EXPECT_EQ(notes[0].value, notes[0].id * 10);
  EXPECT_EQ(notes[1].text, "text");
  EXPECT_NE(notes[0].id, notes[1].id);
  EXPECT_EQ(reader->take().size(), 1u);
}

TEST_F(ReaderTest, RefusesSequencesThatDoNotFitTogether) {
  writer->write({1, 0, ""});
  Note notes[4];
  const auto attempt = [&](DDS_Long samples_maximum, DDS_Long infos_maximum, DDS_Boolean owned, DDS_Long max_samples) {
    DDS_SampleBufferI buffer;
    buffer.maximum = samples_maximum;
    buffer.owned = owned;
    buffer.contiguous = samples_maximum ? notes : nullptr;
    buffer.sample_size = sizeof(Note);
    DDS_SampleInfoSeq infos(infos_maximum);
    return reader->read_or_take_untypedI(buffer, infos, taking(max_samples));
  };
  EXPECT_EQ(attempt(2, 0, DDS_BOOLEAN_TRUE, -1), DDS_RETCODE_PRECONDITION_NOT_MET);
  EXPECT_EQ(attempt(0, 2, DDS_BOOLEAN_TRUE, -1), DDS_RETCODE_PRECONDITION_NOT_MET);
  EXPECT_EQ(attempt(4, 4, DDS_BOOLEAN_FALSE, -1), DDS_RETCODE_PRECONDITION_NOT_MET);
  EXPECT_EQ(attempt(2, 2, DDS_BOOLEAN_TRUE, 3), DDS_RETCODE_PRECONDITION_NOT_MET);
  EXPECT_EQ(attempt(0, 0, DDS_BOOLEAN_TRUE, 0), DDS_RETCODE_BAD_PARAMETER);
  EXPECT_EQ(attempt(0, 0, DDS_BOOLEAN_TRUE, -2), DDS_RETCODE_BAD_PARAMETER);
  EXPECT_EQ(reader->read_or_take_next_sample_untypedI(nullptr, *std::make_unique<DDS_SampleInfo>(), 1),
            DDS_RETCODE_BAD_PARAMETER);
  EXPECT_EQ(attempt(2, 2, DDS_BOOLEAN_TRUE, 2), DDS_RETCODE_OK);
}

TEST_F(ReaderTest, SelectsWithAConditionOfItsOwnOnly) {
  writer->write({1, 0, ""});
  reader->read();
  writer->write({2, 0, ""});
  DDS_ReadSelectionI selection;
  selection.condition =
      reader->create_readcondition(DDS_NOT_READ_SAMPLE_STATE, DDS_ANY_VIEW_STATE, DDS_ANY_INSTANCE_STATE);
  std::vector<Received> received;
  ASSERT_EQ(reader->access(selection, received), DDS_RETCODE_OK);
  EXPECT_THAT(ids(received), ElementsAre(2));
  EXPECT_EQ(reader->access(selection, received), DDS_RETCODE_NO_DATA);
  NoteReader* other = side.reader();
  EXPECT_EQ(other->access(selection, received), DDS_RETCODE_PRECONDITION_NOT_MET);
}

TEST_F(ReaderTest, TakesOneSampleAfterTheOther) {
  writer->write({1, 10, "a"});
  writer->write({1, 11, "b"});
  Note note;
  DDS_SampleInfo info;
  ASSERT_EQ(reader->read_or_take_next_sample_untypedI(&note, info, DDS_BOOLEAN_FALSE), DDS_RETCODE_OK);
  EXPECT_EQ(note, (Note{1, 10, "a"}));
  ASSERT_EQ(reader->read_or_take_next_sample_untypedI(&note, info, DDS_BOOLEAN_TRUE), DDS_RETCODE_OK);
  EXPECT_EQ(note, (Note{1, 11, "b"}));
  EXPECT_EQ(reader->read_or_take_next_sample_untypedI(&note, info, DDS_BOOLEAN_TRUE), DDS_RETCODE_NO_DATA);
}

TEST_F(ReaderTest, GoesThroughTheInstances) {
  for (const int id : {7, 3, 5}) {
    writer->write({id, 0, ""});
    writer->write({id, 1, ""});
  }
  DDS_ReadSelectionI selection;
  selection.instances = DDS_ReadSelectionI::one;
  std::vector<Received> received;
  EXPECT_EQ(reader->access(selection, received), DDS_RETCODE_BAD_PARAMETER);
  selection.instance = handle_of({4, 0, ""});
  EXPECT_EQ(reader->access(selection, received), DDS_RETCODE_BAD_PARAMETER);
  selection.instance = handle_of({5, 0, ""});
  ASSERT_EQ(reader->access(selection, received), DDS_RETCODE_OK);
  EXPECT_THAT(ids(received), ElementsAre(5, 5));

  // Each once, also when taking makes them go.
  for (const bool take : {false, true}) {
    if (take) {
      for (const int id : {7, 3, 5}) writer->dispose({id, 0, ""});
    }
    selection = {};
    selection.take = take;
    selection.instances = DDS_ReadSelectionI::next;
    std::vector<std::int32_t> order;
    while (reader->access(selection, received) == DDS_RETCODE_OK) {
      order.push_back(received.front().note.id);
      for (const Received& one : received) EXPECT_EQ(one.note.id, order.back());
      selection.instance = received.front().info.instance_handle;
    }
    EXPECT_THAT(order, UnorderedElementsAre(3, 5, 7));
  }
}

TEST_F(ReaderTest, KnowsAnInstanceUntilTheLastOfItIsTaken) {
  const Note note{9, 0, ""};
  const DDS_InstanceHandle_t handle = handle_of(note);
  Note key;
  EXPECT_FALSE(reader->lookup_instance_untypedI(&note).isValid);
  EXPECT_EQ(reader->get_key_value_untypedI(&key, handle), DDS_RETCODE_BAD_PARAMETER);
  writer->write(note);
  EXPECT_TRUE(reader->lookup_instance_untypedI(&note).isValid);
  reader->take();
  writer->dispose(note);
  EXPECT_TRUE(reader->lookup_instance_untypedI(&note).isValid);

  DDS_SampleBufferI buffer;
  DDS_SampleInfoSeq infos;
  ASSERT_EQ(reader->read_or_take_untypedI(buffer, infos, taking()), DDS_RETCODE_OK);
  ASSERT_EQ(buffer.count, 1);
  EXPECT_FALSE(infos[0].valid_data);
  EXPECT_EQ(infos[0].instance_state, DDS_NOT_ALIVE_DISPOSED_INSTANCE_STATE);
  EXPECT_EQ(static_cast<Note*>(buffer.lent_samples[0])->id, 9);
  EXPECT_FALSE(reader->lookup_instance_untypedI(&note).isValid);
  ASSERT_EQ(reader->get_key_value_untypedI(&key, infos[0].instance_handle), DDS_RETCODE_OK);
  EXPECT_EQ(key.id, 9);
  EXPECT_EQ(reader->return_loan_untypedI(buffer.lent_samples, buffer.lent_maximum, infos), DDS_RETCODE_OK);
  EXPECT_THAT(reader->take(), IsEmpty());
  EXPECT_EQ(reader->get_key_value_untypedI(&key, handle), DDS_RETCODE_BAD_PARAMETER);

  writer->write({9, 1, "again"});
  EXPECT_TRUE(reader->lookup_instance_untypedI(&note).isValid);
  EXPECT_THAT(ids(reader->take()), ElementsAre(9));
}

TEST_F(ReaderTest, ForgetsWhatWasTakenOneByOne) {
  const Note note{9, 0, ""};
  writer->write(note);
  writer->write(note);
  writer->dispose(note);
  Note taken;
  DDS_SampleInfo info;
  int count = 0;
  while (reader->read_or_take_next_sample_untypedI(&taken, info, DDS_BOOLEAN_TRUE) == DDS_RETCODE_OK) ++count;
  EXPECT_GE(count, 2);
  EXPECT_FALSE(reader->lookup_instance_untypedI(&note).isValid);
}

TEST_F(ReaderTest, KeepsAnInstanceWhoseReadSamplesAreLeft) {
  const Note note{9, 0, ""};
  writer->write(note);
  reader->read();
  writer->dispose(note);
  DDS_ReadSelectionI selection = taking();
  selection.sample_states = DDS_NOT_READ_SAMPLE_STATE;
  std::vector<Received> received;
  reader->access(selection, received);
  EXPECT_TRUE(reader->lookup_instance_untypedI(&note).isValid);
  EXPECT_EQ(reader->take().size(), 1u);
  EXPECT_FALSE(reader->lookup_instance_untypedI(&note).isValid);
}

TEST_F(ReaderTest, DoesNotHearOfTheEndOfWhatItNeverSaw) {
  writer->write({1, 0, ""});
  writer->write({2, 0, ""});
  reader->take();
  DDS_DataReaderQos qos;  // volatile: sees nothing of the past
  qos.reliability.kind = DDS_RELIABLE_RELIABILITY_QOS;
  NoteReader* late = side.reader(qos);
  writer->dispose({1, 0, ""});
  EXPECT_THAT(late->read(), IsEmpty());
  EXPECT_THAT(late->take(), IsEmpty());
  writer->write({2, 0, ""});
  writer->dispose({2, 0, ""});
  const auto received = late->take();
  ASSERT_FALSE(received.empty());
  EXPECT_THAT(ids(received), testing::Each(2));
  EXPECT_THAT(ids(reader->take()), UnorderedElementsAre(1, 2));  // the end of both, that of 2 with its sample
}

TEST_F(ReaderTest, DropsWhatCannotBeDecodedWithOneLine) {
  engine.accessed_hook = [](std::vector<tessivar::platform::EngineSlot>& slots) {
    if (slots.size() == 3) slots[1].sample->size = 5;
  };
  for (int i = 0; i < 3; ++i) writer->write({i, 0, ""});
  EXPECT_EQ(reader->take().size(), 2u);
  ASSERT_EQ(log.lines().size(), 1u);
  EXPECT_THAT(log.lines()[0], HasSubstr("could not be decoded"));
  engine.accessed_hook = nullptr;
}

TEST_F(ReaderTest, WaitsForHistory) {
  for (int i = 0; i < 500; ++i) writer->write({i, 0, "history"});
  Side peer;
  NoteReader* late = peer.reader(keep_all());
  EXPECT_EQ(late->wait_for_historical_data({-1, 0}), DDS_RETCODE_BAD_PARAMETER);
  ASSERT_TRUE(matched(*late));
  EXPECT_EQ(late->wait_for_historical_data(deadline_duration), DDS_RETCODE_OK);
  EXPECT_EQ(late->take().size(), 500u);
}

struct Counting : DDSDataReaderListener {
  void on_data_available(DDSDataReader* reader) override {
    for (Received& one : static_cast<NoteReader*>(reader)->take()) {
      const std::lock_guard lock(mutex);
      received.push_back(std::move(one));
    }
  }
  std::size_t count() {
    const std::lock_guard lock(mutex);
    return received.size();
  }
  std::mutex mutex;
  std::vector<Received> received;
};

TEST_F(ReaderTest, TellsItsListenerAlsoOfWhatCameWhileItWasMade) {
  writer->write({1, 0, ""});
  Counting listener;
  NoteReader* late = side.reader(keep_all(), &listener);
  EXPECT_TRUE(eventually([&] { return listener.count() == 1; }));
  writer->write({2, 0, ""});
  EXPECT_TRUE(eventually([&] { return listener.count() == 2; }));
  EXPECT_EQ(side.participant->delete_datareader(late), DDS_RETCODE_OK);
}

struct Blocking : DDSDataReaderListener {
  void on_sample_lost(DDSDataReader*, const DDS_SampleLostStatus&) override {
    entered.set_value();
    leave.get_future().wait();
    left = true;
  }
  std::promise<void> entered;
  std::promise<void> leave;
  std::atomic<bool> left = false;
};

TEST_F(ReaderTest, RemovingAListenerWaitsForItsCallback) {
  Blocking listener;
  reader->set_listener(&listener, DDS_SAMPLE_LOST_STATUS);
  auto event = std::async(std::launch::async, [&] { engine.reader_events->sample_lost({1, 1}); });
  listener.entered.get_future().wait();
  auto removal = std::async(std::launch::async, [&] {
    reader->set_listener(nullptr, DDS_STATUS_MASK_NONE);
    return listener.left.load();
  });
  EXPECT_EQ(removal.wait_for(20ms), std::future_status::timeout);
  listener.leave.set_value();
  EXPECT_TRUE(removal.get());
  event.get();
}

struct RemovesItself : DDSDataReaderListener {
  void on_sample_lost(DDSDataReader* reader, const DDS_SampleLostStatus&) override {
    reader->set_listener(nullptr, DDS_STATUS_MASK_NONE);
    ++calls;
  }
  int calls = 0;
};

TEST_F(ReaderTest, AListenerMayRemoveItself) {
  RemovesItself listener;
  reader->set_listener(&listener, DDS_STATUS_MASK_ALL);
  engine.reader_events->sample_lost({1, 1});
  engine.reader_events->sample_lost({2, 1});
  EXPECT_EQ(listener.calls, 1);
  EXPECT_EQ(reader->get_listener(), nullptr);
  DDS_SampleLostStatus status;
  reader->get_sample_lost_status(status);
  EXPECT_EQ(status.total_count, 2);
  EXPECT_EQ(status.total_count_change, 1);
}

TEST_F(ReaderTest, CannotBeMadeWithoutTheEngine) {
  engine.create_reader_hook = [] { return DDS_RETCODE_OUT_OF_RESOURCES; };
  EXPECT_EQ(side.reader(), nullptr);
  ASSERT_FALSE(log.lines().empty());
  EXPECT_THAT(log.lines().back(), HasSubstr("a fault of the test"));
}

TEST_F(ReaderTest, ThatIsNotEnabledHasNothing) {
  DDS_DomainParticipantQos qos = loopback_qos();
  qos.entity_factory.autoenable_created_entities = DDS_BOOLEAN_FALSE;
  Side disabled(qos);
  NoteReader* quiet = disabled.reader();
  std::vector<Received> received;
  EXPECT_EQ(quiet->access({}, received), DDS_RETCODE_NOT_ENABLED);
  EXPECT_EQ(quiet->wait_for_historical_data({0, 0}), DDS_RETCODE_NOT_ENABLED);
  EXPECT_FALSE(quiet->get_instance_handle().isValid);
  const Note note;
  EXPECT_FALSE(quiet->lookup_instance_untypedI(&note).isValid);
}

}  // namespace
}  // namespace face_test
