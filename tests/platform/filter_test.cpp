#include "support/face_fixture.h"
#include "support/faulty_engine.h"

#include <atomic>
#include <future>
#include <stdexcept>

namespace face_test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

/// Lets notes through whose value is at least the first parameter.
class AtLeast : public DDSContentFilter {
 public:
  DDS_ReturnCode_t compile(void** data, const char* expression, const DDS_StringSeq& parameters, const DDS_TypeCode*,
                           const char* type, void* old) override {
    EXPECT_EQ(old, nullptr);
    EXPECT_STREQ(type, "Test::Note");
    if (parameters.length() == 0) return DDS_RETCODE_BAD_PARAMETER;
    if (std::string(expression) == "throw") throw std::runtime_error("compile fails");
    *data = new int(std::stoi(parameters[0]));
    ++compiled;
    return DDS_RETCODE_OK;
  }
  DDS_Boolean evaluate(void* data, const void* sample, const DDS_FilterSampleInfo*) override {
    const auto& note = *static_cast<const Note*>(sample);
    if (note.text == "throw") throw 1;
    return note.value >= *static_cast<int*>(data);
  }
  void finalize(void* data) override {
    delete static_cast<int*>(data);
    ++finalized;
  }
  std::atomic<int> compiled = 0;
  std::atomic<int> finalized = 0;
};

class FilterTest : public testing::Test {
 protected:
  FilterTest() { side.participant->register_contentfilter("at least", &filter); }
  ~FilterTest() override { EXPECT_EQ(side.participant->delete_contained_entities(), DDS_RETCODE_OK); }

  DDSContentFilteredTopic* filtered(const std::string& least, const char* expression = "value") {
    return side.participant->create_contentfilteredtopic_with_filter(
        (own_topic() + ".Filtered" + std::to_string(++count)).c_str(), side.topic, expression, strings({least}),
        "at least");
  }
  NoteReader* reader(DDSContentFilteredTopic* topic, bool again = false, DDSDataReaderListener* listener = nullptr) {
    DDS_DataReaderQos qos = state_reader_qos();
    qos.history.kind = DDS_KEEP_ALL_HISTORY_QOS;
    if (again) {
      DDSPropertyQosPolicyHelper::add_property(qos.property, "dds.data_reader.state.filter_redundant_samples", "0",
                                               DDS_BOOLEAN_FALSE);
    }
    return static_cast<NoteReader*>(side.participant->create_datareader(topic, qos, listener, DDS_STATUS_MASK_ALL));
  }

  FaultyEngine engine;
  LogLines log;
  AtLeast filter;
  int count = 0;
  Side side;
  Side peer;
  NoteWriter* writer = peer.writer();
};

TEST_F(FilterTest, ForgivesAFilterThatThrows) {
  NoteReader* some = reader(filtered("10"));
  writer->write({1, 100, "throw"});
  writer->write({2, 100, ""});
  EXPECT_THAT(ids(take(*some, 1)), ElementsAre(2));
  EXPECT_THAT(log.lines(), ElementsAre(HasSubstr("DDSContentFilter::evaluate")));
  EXPECT_EQ(filtered("10", "throw"), nullptr);
  EXPECT_THAT(log.lines().back(), HasSubstr("refused expression \"throw\""));
}

TEST_F(FilterTest, RefusesIncompleteTopics) {
  const DDS_StringSeq one = strings({"1"});
  const struct {
    const char* name;
    DDSTopic* topic;
    const char* expression;
    DDS_StringSeq parameters;
    const char* filter;
    const char* line;
  } cases[] = {
      {nullptr, side.topic, "value", one, "at least", "name is missing"},
      {"F", nullptr, "value", one, "at least", "related topic is missing"},
      {"F", side.topic, nullptr, one, "at least", "expression is missing"},
      {"F", side.topic, "value", one, "unknown", "no content filter \"unknown\" is registered"},
      {"F", peer.topic, "value", one, "at least", "not this participant's"},
      {"F", side.topic, "value", {}, "at least", "refused expression \"value\", return code 3"},
      {side.topic->get_name(), side.topic, "value", one, "at least", "exists already"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(side.participant->create_contentfilteredtopic_with_filter(c.name, c.topic, c.expression, c.parameters,
                                                                        c.filter),
              nullptr);
    EXPECT_THAT(log.lines(), ElementsAre(HasSubstr(c.line)));
  }
  EXPECT_EQ(filter.compiled, filter.finalized);
  EXPECT_EQ(side.participant->delete_topic(side.topic), DDS_RETCODE_OK);  // nothing holds it
}

TEST_F(FilterTest, StaysWhileItIsUsed) {
  DDSContentFilteredTopic* topic = filtered("10");
  NoteReader* some = reader(topic);
  EXPECT_EQ(side.participant->unregister_contentfilter("at least"), DDS_RETCODE_PRECONDITION_NOT_MET);
  EXPECT_EQ(side.participant->delete_topic(side.topic), DDS_RETCODE_PRECONDITION_NOT_MET);
  EXPECT_EQ(side.participant->delete_contentfilteredtopic(topic), DDS_RETCODE_PRECONDITION_NOT_MET);
  EXPECT_EQ(side.participant->delete_datareader(some), DDS_RETCODE_OK);
  EXPECT_EQ(filter.finalized, 0);
  EXPECT_EQ(side.participant->delete_contentfilteredtopic(topic), DDS_RETCODE_OK);
  EXPECT_EQ(filter.finalized, 1);
  EXPECT_EQ(side.participant->unregister_contentfilter("at least"), DDS_RETCODE_OK);
}

TEST_F(FilterTest, TakesNewParametersForWhatIsToComeUnlessTheyAreRefused) {
  DDSContentFilteredTopic* topic = filtered("10");
  NoteReader* some = reader(topic);
  EXPECT_EQ(topic->set_expression_parameters({}), DDS_RETCODE_BAD_PARAMETER);
  EXPECT_EQ(filter.finalized, 0);
  writer->write({1, 5, ""});
  writer->write({2, 15, ""});
  ASSERT_THAT(ids(take(*some, 1)), ElementsAre(2));
  ASSERT_EQ(topic->set_expression_parameters(strings({"4"})), DDS_RETCODE_OK);
  EXPECT_EQ(filter.finalized, 1);
  writer->write({3, 3, ""});
  writer->write({4, 5, ""});
  EXPECT_THAT(ids(take(*some, 1)), ElementsAre(4));
  EXPECT_THAT(some->take(), IsEmpty());
}

TEST_F(FilterTest, DoesNotHearOfTheEndOfWhatItRefused) {
  NoteReader* some = reader(filtered("10"));
  writer->write({1, 5, ""});
  writer->write({2, 15, ""});
  ASSERT_THAT(ids(take(*some, 1)), ElementsAre(2));
  writer->dispose({1, 0, ""});
  writer->dispose({2, 0, ""});
  const auto received = take(*some, 1);
  ASSERT_EQ(received.size(), 1u);
  EXPECT_EQ(received[0].note.id, 2);
  EXPECT_FALSE(received[0].info.valid_data);
  EXPECT_THAT(some->take(), IsEmpty());
}

class RedeliveryTest : public FilterTest {};

TEST_F(RedeliveryTest, HistoryAndEndsComeAgainThroughTheNewFilter) {
  DDSContentFilteredTopic* topic = filtered("50");
  NoteReader* some = reader(topic, true);
  for (int i = 0; i < 10; ++i) writer->write({i, i * 10, "state"});
  ASSERT_THAT(ids(take(*some, 5)), UnorderedElementsAre(5, 6, 7, 8, 9));
  DDSReadCondition* condition =
      some->create_readcondition(DDS_NOT_READ_SAMPLE_STATE, DDS_ANY_VIEW_STATE, DDS_ANY_INSTANCE_STATE);
  DDSWaitSet wait_set;
  wait_set.attach_condition(condition);
  DDSConditionSeq active;
  auto waiting = std::async(std::launch::async, [&] { return wait_set.wait(active, deadline_duration); });
  ASSERT_EQ(topic->set_expression_parameters(strings({"80"})), DDS_RETCODE_OK);
  EXPECT_EQ(waiting.get(), DDS_RETCODE_OK);
  EXPECT_THAT(ids(take(*some, 2)), UnorderedElementsAre(8, 9));
  EXPECT_FALSE(condition->get_trigger_value());

  // Live data follows; an end that nobody had read yet is still told of after the next change.
  writer->write({12, 90, ""});
  EXPECT_THAT(ids(take(*some, 1)), ElementsAre(12));
  writer->dispose({8, 0, ""});
  ASSERT_TRUE(eventually([&] { return condition->get_trigger_value() != DDS_BOOLEAN_FALSE; }));
  ASSERT_EQ(topic->set_expression_parameters(strings({"85"})), DDS_RETCODE_OK);
  EXPECT_EQ(wait_set.wait(active, deadline_duration), DDS_RETCODE_OK);
  const auto received = take(*some, 3);
  EXPECT_THAT(ids(received), UnorderedElementsAre(8, 9, 12));
  for (const Received& one : received) EXPECT_EQ(one.info.valid_data != DDS_BOOLEAN_FALSE, one.note.id != 8);
  EXPECT_EQ(wait_set.wait(active, {0, 0}), DDS_RETCODE_TIMEOUT);
}

TEST_F(RedeliveryTest, LoansStayValidAndFiguresGoOn) {
  DDSContentFilteredTopic* topic = filtered("0");
  NoteReader* some = reader(topic, true);
  writer->write({1, 10, "lent"});
  DDS_SampleBufferI buffer;
  DDS_SampleInfoSeq infos;
  ASSERT_TRUE(eventually([&] { return some->read_or_take_untypedI(buffer, infos, {}) == DDS_RETCODE_OK; }));
  for (int i = 0; i < 5; ++i) ASSERT_EQ(topic->set_expression_parameters(strings({"0"})), DDS_RETCODE_OK);
  EXPECT_EQ(static_cast<Note*>(buffer.lent_samples[0])->text, "lent");
  EXPECT_EQ(some->return_loan_untypedI(buffer.lent_samples, buffer.lent_maximum, infos), DDS_RETCODE_OK);
  NoteWriter* second = peer.writer();
  ASSERT_TRUE(matched(*some, 2));
  EXPECT_EQ(peer.participant->delete_datawriter(second), DDS_RETCODE_OK);
  ASSERT_TRUE(matched(*some, 1));
  DDS_SubscriptionMatchedStatus status;
  some->get_subscription_matched_status(status);
  EXPECT_EQ(status.total_count, 2);
}

TEST_F(RedeliveryTest, NothingChangesWhenAReaderCannotBeMadeAgain) {
  DDSContentFilteredTopic* topic = filtered("10");
  NoteReader* first = reader(topic, true);
  NoteReader* second = reader(topic, true);
  int made = 0;
  engine.create_reader_hook = [&] { return ++made == 2 ? DDS_RETCODE_OUT_OF_RESOURCES : DDS_RETCODE_OK; };
  EXPECT_EQ(topic->set_expression_parameters(strings({"0"})), DDS_RETCODE_OUT_OF_RESOURCES);
  engine.create_reader_hook = nullptr;
  writer->write({1, 5, ""});
  writer->write({2, 15, ""});
  EXPECT_THAT(ids(take(*first, 1)), ElementsAre(2));
  EXPECT_THAT(ids(take(*second, 1)), ElementsAre(2));
  DDS_StringSeq parameters;
  topic->get_expression_parameters(parameters);
  EXPECT_STREQ(parameters[0], "10");
}

TEST_F(RedeliveryTest, GoesOnWhileDataFlowsAndOthersRead) {
  DDSContentFilteredTopic* topic = filtered("0");
  struct Reads : DDSDataReaderListener {
    void on_data_available(DDSDataReader* from) override { static_cast<NoteReader*>(from)->read(); }
  } listener;
  NoteReader* some = reader(topic, true, &listener);
  DDSReadCondition* condition =
      some->create_readcondition(DDS_NOT_READ_SAMPLE_STATE, DDS_ANY_VIEW_STATE, DDS_ANY_INSTANCE_STATE);
  DDSWaitSet wait_set;
  wait_set.attach_condition(condition);
  std::atomic<bool> stop = false;
  std::thread writing([&] {
    for (int i = 0; !stop; ++i) {
      writer->write({i % 20, i, "flow"});
      if (i % 50 == 0) writer->dispose({i % 20, 0, ""});
      std::this_thread::sleep_for(100us);
    }
  });
  std::thread reading([&] {
    DDSConditionSeq active;
    while (!stop) {
      if (wait_set.wait(active, {0, 10000000}) == DDS_RETCODE_OK) some->take();
    }
  });
  for (int i = 0; i < 20; ++i) EXPECT_EQ(topic->set_expression_parameters(strings({"0"})), DDS_RETCODE_OK);
  stop = true;
  writing.join();
  reading.join();
  some->take();
  writer->write({777, 1 << 30, "last"});
  some->set_listener(nullptr, DDS_STATUS_MASK_NONE);
  EXPECT_TRUE(eventually([&] {
    const auto received = some->take();
    return std::any_of(received.begin(), received.end(), [](const Received& one) { return one.note.id == 777; });
  }));
}

}  // namespace
}  // namespace face_test
