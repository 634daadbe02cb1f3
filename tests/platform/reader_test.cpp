#include "support/face_fixture.h"
#include "support/faulty_engine.h"

#include <atomic>
#include <future>

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

TEST_F(ReaderTest, LendsSamplesUntilTheyAreReturned) {
  writer->write({1, 10, "one"});
  writer->write({2, 20, "two"});
  DDS_SampleBufferI buffers[2];
  DDS_SampleInfoSeq infos[2];
  std::vector<std::string> texts;
  for (const int i : {0, 1}) {
    ASSERT_EQ(reader->read_or_take_untypedI(buffers[i], infos[i], taking(1)), DDS_RETCODE_OK);
    ASSERT_EQ(infos[i].length(), 1);
    EXPECT_TRUE(buffers[i].lent);
    EXPECT_EQ(infos[i][0].view_state, DDS_NEW_VIEW_STATE);
    texts.push_back(static_cast<Note*>(buffers[i].lent_samples[0])->text);
  }
  EXPECT_THAT(texts, UnorderedElementsAre("one", "two"));

  EXPECT_EQ(side.participant->delete_datareader(reader), DDS_RETCODE_PRECONDITION_NOT_MET);
  DDS_SampleBufferI again;
  EXPECT_EQ(reader->read_or_take_untypedI(again, infos[0], taking()), DDS_RETCODE_PRECONDITION_NOT_MET);
  const auto give_back = [&](NoteReader* to, int i) {
    return to->return_loan_untypedI(buffers[i].lent_samples, buffers[i].lent_maximum, infos[i]);
  };
  EXPECT_EQ(give_back(side.reader(), 0), DDS_RETCODE_PRECONDITION_NOT_MET);
  EXPECT_EQ(give_back(reader, 0), DDS_RETCODE_OK);
  EXPECT_EQ(give_back(reader, 0), DDS_RETCODE_PRECONDITION_NOT_MET) << "twice";
  EXPECT_TRUE(infos[0].has_ownership());
  EXPECT_EQ(give_back(reader, 1), DDS_RETCODE_OK);
}

TEST_F(ReaderTest, UsesSamplesAgainAndKeepsABoundedNumberOfThem) {
  const int before = live_notes();
  for (int i = 0; i < 3000; ++i) writer->write({i, 0, ""});
  EXPECT_EQ(reader->take().size(), 3000u);
  const int made = live_notes();
  EXPECT_LE(made - before, 1024);
  for (int round = 0; round < 10; ++round) {
    for (int i = 0; i < 4; ++i) writer->write({i, round, "text"});
    EXPECT_EQ(reader->take().size(), 4u);
  }
  EXPECT_EQ(live_notes(), made);
}

TEST_F(ReaderTest, CopiesIntoBuffersOfTheCallerThatFitTogether) {
  for (int i = 0; i < 3; ++i) writer->write({i, i * 10, "text"});
  Note notes[4];
  const struct {
    DDS_Long samples, infos;
    DDS_Boolean owned;
    DDS_Long max_samples;
    DDS_ReturnCode_t result;
  } cases[] = {
      {2, 0, DDS_BOOLEAN_TRUE, -1, DDS_RETCODE_PRECONDITION_NOT_MET},
      {0, 2, DDS_BOOLEAN_TRUE, -1, DDS_RETCODE_PRECONDITION_NOT_MET},
      {4, 4, DDS_BOOLEAN_FALSE, -1, DDS_RETCODE_PRECONDITION_NOT_MET},
      {2, 2, DDS_BOOLEAN_TRUE, 3, DDS_RETCODE_PRECONDITION_NOT_MET},
      {0, 0, DDS_BOOLEAN_TRUE, 0, DDS_RETCODE_BAD_PARAMETER},
      {0, 0, DDS_BOOLEAN_TRUE, -2, DDS_RETCODE_BAD_PARAMETER},
      {2, 2, DDS_BOOLEAN_TRUE, -1, DDS_RETCODE_OK},
  };
  for (const auto& c : cases) {
    DDS_SampleBufferI buffer;
    buffer.maximum = c.samples;
    buffer.owned = c.owned;
    buffer.contiguous = c.samples ? notes : nullptr;
    buffer.sample_size = sizeof(Note);
    DDS_SampleInfoSeq infos(c.infos);
    EXPECT_EQ(reader->read_or_take_untypedI(buffer, infos, taking(c.max_samples)), c.result);
    EXPECT_FALSE(buffer.lent);
    EXPECT_EQ(infos.length(), c.result == DDS_RETCODE_OK ? 2 : 0);
  }
  EXPECT_EQ(notes[0].value, notes[0].id * 10);
  EXPECT_EQ(notes[1].text, "text");
  EXPECT_NE(notes[0].id, notes[1].id);
  Note note;
  DDS_SampleInfo info;
  EXPECT_EQ(reader->read_or_take_next_sample_untypedI(nullptr, info, DDS_BOOLEAN_TRUE), DDS_RETCODE_BAD_PARAMETER);
  EXPECT_EQ(reader->read_or_take_next_sample_untypedI(&note, info, DDS_BOOLEAN_TRUE), DDS_RETCODE_OK);
  EXPECT_EQ(note.text, "text");
  EXPECT_EQ(reader->read_or_take_next_sample_untypedI(&note, info, DDS_BOOLEAN_TRUE), DDS_RETCODE_NO_DATA);
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
  EXPECT_EQ(side.reader()->access(selection, received), DDS_RETCODE_PRECONDITION_NOT_MET);
}

TEST_F(ReaderTest, GoesThroughTheInstances) {
  for (const int id : {7, 3, 5, 7, 3, 5}) writer->write({id, 0, ""});
  DDS_ReadSelectionI selection;
  selection.instances = DDS_ReadSelectionI::one;
  std::vector<Received> received;
  for (const DDS_InstanceHandle_t& wrong : {DDS_HANDLE_NIL, handle_of({4, 0, ""})}) {
    selection.instance = wrong;
    EXPECT_EQ(reader->access(selection, received), DDS_RETCODE_BAD_PARAMETER);
  }
  selection.instance = handle_of({5, 0, ""});
  ASSERT_EQ(reader->access(selection, received), DDS_RETCODE_OK);
  EXPECT_THAT(ids(received), ElementsAre(5, 5));

  // Each once, also when taking makes them go.
  for (const int id : {7, 3, 5}) writer->dispose({id, 0, ""});
  for (const bool take : {false, true}) {
    selection = {};
    selection.take = take;
    selection.instances = DDS_ReadSelectionI::next;
    std::vector<std::int32_t> order;
    while (reader->access(selection, received) == DDS_RETCODE_OK) {
      order.push_back(received.front().note.id);
      EXPECT_THAT(ids(received), testing::Each(order.back()));
      selection.instance = received.front().info.instance_handle;
    }
    EXPECT_THAT(order, UnorderedElementsAre(3, 5, 7));
  }
}

TEST_F(ReaderTest, KnowsAnInstanceUntilTheLastOfItIsTaken) {
  const Note note{9, 0, ""};
  Note key;
  const auto known = [&] { return reader->lookup_instance_untypedI(&note).isValid != DDS_BOOLEAN_FALSE; };
  EXPECT_FALSE(known());
  writer->write(note);
  reader->read();
  writer->dispose(note);
  DDS_ReadSelectionI selection = taking();
  selection.sample_states = DDS_NOT_READ_SAMPLE_STATE;
  std::vector<Received> received;
  reader->access(selection, received);
  EXPECT_TRUE(known()) << "what was read is left";

  ASSERT_EQ(reader->access(taking(), received), DDS_RETCODE_OK);
  EXPECT_EQ(received.back().info.instance_state, DDS_NOT_ALIVE_DISPOSED_INSTANCE_STATE);
  EXPECT_EQ(received.back().note.id, 9);
  EXPECT_FALSE(known());
  EXPECT_EQ(reader->get_key_value_untypedI(&key, handle_of(note)), DDS_RETCODE_OK) << "until the next access";
  EXPECT_THAT(reader->take(), IsEmpty());
  EXPECT_EQ(reader->get_key_value_untypedI(&key, handle_of(note)), DDS_RETCODE_BAD_PARAMETER);

  writer->write(note);  // born again, and taken sample by sample
  EXPECT_TRUE(known());
  writer->dispose(note);
  DDS_SampleInfo info;
  while (reader->read_or_take_next_sample_untypedI(&key, info, DDS_BOOLEAN_TRUE) == DDS_RETCODE_OK) continue;
  EXPECT_FALSE(known());
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
  EXPECT_THAT(log.lines(), ElementsAre(HasSubstr("could not be decoded")));
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

TEST_F(ReaderTest, TellsItsListenerAlsoOfWhatCameWhileItWasMade) {
  struct : DDSDataReaderListener {
    void on_data_available(DDSDataReader* from) override { count += static_cast<NoteReader*>(from)->take().size(); }
    std::atomic<std::size_t> count = 0;
  } listener;
  writer->write({1, 0, ""});
  NoteReader* late = side.reader(keep_all(), &listener);
  EXPECT_TRUE(eventually([&] { return listener.count == 1; }));
  writer->write({2, 0, ""});
  EXPECT_TRUE(eventually([&] { return listener.count == 2; }));
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

TEST_F(ReaderTest, AListenerMayRemoveItself) {
  struct : DDSDataReaderListener {
    void on_sample_lost(DDSDataReader* from, const DDS_SampleLostStatus&) override {
      from->set_listener(nullptr, DDS_STATUS_MASK_NONE);
      ++calls;
    }
    int calls = 0;
  } listener;
  reader->set_listener(&listener, DDS_STATUS_MASK_ALL);
  engine.reader_events->sample_lost({1, 1});
  engine.reader_events->sample_lost({2, 1});
  EXPECT_EQ(listener.calls, 1);
  EXPECT_EQ(reader->get_listener(), nullptr);
}

}  // namespace
}  // namespace face_test
