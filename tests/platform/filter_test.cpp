// SPDX-License-Identifier: Apache-2.0

// Tests content filters, and changes of their parameters while data flows.
#include "support/bus.h"
#include "tests/support/storm.h"

#include <atomic>

namespace platform_test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::UnorderedElementsAre;

/// Throws at the value 13.
class CountingFilter : public AtLeast {
 public:
  DDS_Long measure(const Command& sample) override {
    if (++evaluating > 1) ++overlaps;
    std::this_thread::sleep_for(delay.load());
    --evaluating;
    return sample.value._u.intValue == 13 ? throw 13 : sample.value._u.intValue;
  }
  DDS_ReturnCode_t compile(void** data, const char* expression, const DDS_StringSeq& parameters,
                           const DDS_TypeCode* code, const char* type, void* old) override {
    const DDS_ReturnCode_t result = AtLeast::compile(data, expression, parameters, code, type, old);
    compiled += result == DDS_RETCODE_OK;
    return result;
  }
  void finalize(void*) override { --compiled; }
  std::atomic<int> compiled = 0, evaluating = 0, overlaps = 0;
  std::atomic<std::chrono::microseconds> delay = 0us;  // of each evaluation
};

class FilterTest : public testing::Test {
 protected:
  FilterTest() {
    participant.register_contentfilter("at least", &filter);
    topic = filtered("Filtered", side.topic, "value", {"50"});
  }
  ~FilterTest() override {
    participant.delete_contained_entities();
    EXPECT_EQ(filter.compiled, 0);
    EXPECT_EQ(filter.overlaps, 0) << "evaluations for one reader, at the same time";
  }
  DDSContentFilteredTopic* filtered(const char* name, DDSTopic* related, const char* expression,
                                    const std::vector<std::string>& parameters, const char* by = "at least") {
    return participant.create_contentfilteredtopic_with_filter(name, related, expression, strings(parameters), by);
  }
  /// If `again` is true, the history arrives again after a change of the parameters.
  CommandDataReader* reader(bool again, DDSDataReaderListener* listener = nullptr) {
    return side.reader(catching_up(again), listener, topic);
  }
  DDS_ReturnCode_t set(const std::vector<std::string>& parameters) {
    return topic->set_expression_parameters(strings(parameters));
  }

  LogRecorder log;
  CountingFilter filter;
  Side side, peer;
  DDSDomainParticipant& participant = *side.participant;
  CommandDataWriter* writer = peer.writer();
  DDSContentFilteredTopic* topic = nullptr;
};

TEST_F(FilterTest, LogsMistakesAndKeepsEntitiesInUse) {
  EXPECT_EQ(filtered("F", side.topic, "value", {"1"}, "unknown"), nullptr);
  EXPECT_EQ(filtered("F", peer.topic, "value", {"1"}), nullptr);
  EXPECT_EQ(filtered("F", side.topic, "value", {}), nullptr);
  EXPECT_THAT(log.lines(),
              ElementsAre(HasSubstr("no content filter \"unknown\" is registered"), HasSubstr("not this participant's"),
                          HasSubstr("refused expression \"value\", return code 3")));
  CommandDataReader* some = reader(false);
  write(writer, 1, 13);
  write(writer, 2, 100);
  EXPECT_THAT(numbers(take(some, 1)), ElementsAre(2u));
  EXPECT_THAT(log.lines(), ElementsAre(HasSubstr("DDSContentFilter::evaluate")));

  EXPECT_EQ(participant.unregister_contentfilter("at least"), DDS_RETCODE_PRECONDITION_NOT_MET);
  EXPECT_EQ(participant.delete_topic(side.topic), DDS_RETCODE_PRECONDITION_NOT_MET);
  EXPECT_EQ(participant.delete_contentfilteredtopic(topic), DDS_RETCODE_PRECONDITION_NOT_MET);
}

TEST_F(FilterTest, NewParametersApplyToLaterSamples) {
  CommandDataReader* some = reader(false);
  write(writer, 1, 5);
  write(writer, 2, 60);
  ASSERT_THAT(numbers(take(some, 1)), ElementsAre(2u));
  write(writer, 2, 6);
  dispose(writer, 1);
  dispose(writer, 2);
  EXPECT_THAT(numbers(take(some, 1)), ElementsAre(2u));
  EXPECT_EQ(set({}), DDS_RETCODE_BAD_PARAMETER);
  ASSERT_EQ(set({"4"}), DDS_RETCODE_OK);
  write(writer, 3, 3);
  write(writer, 4, 5);
  EXPECT_THAT(numbers(take(some, 1)), ElementsAre(4u));
  const auto counts = some->counters()->read();
  EXPECT_EQ(counts.received, 2u);
  EXPECT_EQ(counts.filtered, 3u);
  EXPECT_EQ(counts.lost, 0u) << "the engine takes what the filter refuses of a known instance as lost";
  EXPECT_EQ(counts.matched, 1u);
  EXPECT_EQ(counts.waiting, 0u);
}

TEST_F(FilterTest, NewParametersBringTheHistoryThatTheyAccept) {
  struct : DDSDataReaderListener {
    void on_subscription_matched(DDSDataReader*, const DDS_SubscriptionMatchedStatus&) override { ++calls; }
    void on_liveliness_changed(DDSDataReader*, const DDS_LivelinessChangedStatus&) override { ++calls; }
    std::atomic<int> calls = 0;
  } listener;
  CommandDataReader* some = reader(true, &listener);
  for (const DDS_UnsignedLong i : {40u, 50u, 80u, 90u}) write(writer, i, static_cast<DDS_Long>(i));
  DDSReadCondition* news =
      some->create_readcondition(DDS_NOT_READ_SAMPLE_STATE, DDS_ANY_VIEW_STATE, DDS_ANY_INSTANCE_STATE);
  std::vector<Received> received;
  const auto reads = [&](std::size_t count) {
    std::vector<Received> all;
    DDS_ReadSelectionI unread;
    unread.condition = news;
    eventually([&] {
      if (access(some, unread, received) == DDS_RETCODE_OK) all.insert(all.end(), received.begin(), received.end());
      return all.size() >= count;
    });
    return all;
  };
  EXPECT_THAT(numbers(reads(3)), UnorderedElementsAre(50u, 80u, 90u));
  EXPECT_TRUE(eventually([&] { return listener.calls == 2; }));

  std::atomic<bool> stop = false;
  std::atomic<int> missing = 0;
  std::thread polling([&] {
    DDS_ReadSelectionI one;
    one.instances = DDS_ReadSelectionI::one;
    one.instance = some->lookup_instance(command(90));
    for (std::vector<Received> polled; !stop;) missing += access(some, one, polled) != DDS_RETCODE_OK;
  });
  const auto knows = [&](DDS_UnsignedLong number) { return some->lookup_instance(command(number)).isValid != 0; };
  EXPECT_EQ(set({"80"}), DDS_RETCODE_OK);
  EXPECT_EQ(some->wait_for_historical_data(patience), DDS_RETCODE_OK);
  EXPECT_TRUE(!knows(50) && knows(80) && !news->get_trigger_value()) << "rejected, kept, and nothing told again";
  EXPECT_EQ(set({"85"}), DDS_RETCODE_OK);
  EXPECT_EQ(set({"30"}), DDS_RETCODE_OK) << "while it catches up";
  EXPECT_EQ(some->wait_for_historical_data(patience), DDS_RETCODE_OK);
  const auto again = numbers(reads(2));
  EXPECT_THAT(again, testing::AnyOf(UnorderedElementsAre(40u, 50u), UnorderedElementsAre(40u, 50u, 80u)));
  stop = true;
  polling.join();
  EXPECT_EQ(missing, 0);

  // Live data follows. An unread end of an instance is still reported after the next change. Loans stay valid.
  write(writer, 95, 95);
  EXPECT_THAT(numbers(reads(1)), ElementsAre(95u));
  DDS_SampleBufferI lent;
  DDS_SampleInfoSeq infos;
  EXPECT_EQ(some->read_or_take_untypedI(lent, infos, {}), DDS_RETCODE_OK);
  dispose(writer, 80);
  EXPECT_TRUE(eventually([&] { return news->get_trigger_value() != DDS_BOOLEAN_FALSE; }));
  EXPECT_EQ(set({"85"}), DDS_RETCODE_OK);
  EXPECT_EQ(some->wait_for_historical_data(patience), DDS_RETCODE_OK);
  const auto gone = reads(1);
  EXPECT_THAT(numbers(gone), ElementsAre(80u));
  EXPECT_FALSE(gone.front().info.valid_data);
  EXPECT_TRUE(static_cast<Command*>(lent.lent_samples[0])->commandNumber);
  EXPECT_EQ(some->return_loan_untypedI(lent.lent_samples, lent.lent_maximum, infos), DDS_RETCODE_OK);
  peer.writer();
  EXPECT_TRUE(matched(some, 2));
  EXPECT_EQ(matches(some).total_count, 2);
  EXPECT_TRUE(eventually([&] { return listener.calls == 4; })) << listener.calls << " calls: not for each change";
  some->set_listener(nullptr, DDS_STATUS_MASK_NONE);
}

/// The type of the commands, with a decoder that can simulate a failure for lack of memory.
struct ForgetfulType : PRESTypePlugin {
  ForgetfulType() : PRESTypePlugin(original) {
    static CommandSupport support;
    type_support = &support;
    decode = [](void* sample, const std::uint8_t* buffer, std::size_t size) {
      return !no_memory && original.decode(sample, buffer, size);
    };
  }
  inline static std::atomic<bool> no_memory = false;
  inline static const PRESTypePlugin original = *std::unique_ptr<PRESTypePlugin>(Tessivar::CommandPlugin_new());
};

TEST_F(FilterTest, EvaluatesAtTheNextAccessIfMemoryWasShort) {
  participant.register_type("Forgetful", ForgetfulType());
  DDSTopic* all = participant.create_topic(own_topic(".F").c_str(), "Forgetful", reliable<DDS_TopicQos>(), nullptr, 0);
  side.topic = all;
  writer = side.writer();
  topic = filtered("Forgetful", all, "value", {"50"});
  CommandDataReader* some = reader(false);
  DDSReadCondition* news =
      some->create_readcondition(DDS_NOT_READ_SAMPLE_STATE, DDS_ANY_VIEW_STATE, DDS_ANY_INSTANCE_STATE);
  write(writer, 1, 60);
  ForgetfulType::no_memory = true;
  write(writer, 2, 5);
  write(writer, 3, 70);
  write(writer, 4, 6);
  EXPECT_THAT(numbers(take(some)), ElementsAre(1u));
  EXPECT_TRUE(news->get_trigger_value());
  ForgetfulType::no_memory = false;
  EXPECT_THAT(numbers(take(some)), ElementsAre(3u));
  EXPECT_FALSE(news->get_trigger_value());
  EXPECT_THAT(log.lines(), ElementsAre(HasSubstr("no memory for received samples")));
  EXPECT_EQ(some->counters()->read().filtered, 2u);
}

TEST_F(FilterTest, IsCalledByOneThreadAtATimeForAReader) {
  CommandDataWriter* here = side.writer();  // its thread calls the filter
  CommandDataReader* some = reader(true);
  for (DDS_UnsignedLong i = 0; i < 20; ++i) write(here, i, 60);
  filter.delay = 2ms;
  EXPECT_EQ(set({"55"}), DDS_RETCODE_OK);
  EXPECT_TRUE(eventually([&] { return filter.evaluating > 0; })) << "on the thread that catches up";
  for (DDS_UnsignedLong i = 20; i < 40; ++i) write(here, i, 60);
  filter.delay = 0us;
  EXPECT_EQ(some->wait_for_historical_data(patience), DDS_RETCODE_OK);
  EXPECT_EQ(take(some, 40).size(), 40u);
}

TEST_F(FilterTest, ChangesWhileOtherThreadsWriteAndRead) {
  struct : DDSDataReaderListener {
    void on_data_available(DDSDataReader* from) override { take(from); }
  } listener;
  CommandDataReader* some = reader(true, &listener);
  std::atomic<int> written = 0;
  const auto write_next = [&] {
    const int next = ++written;
    write(writer, static_cast<DDS_UnsignedLong>(next % 20), 50 + next);
    if (next % 50 == 0) dispose(writer, static_cast<DDS_UnsignedLong>(next % 20));
    std::this_thread::sleep_for(100us);
  };
  tessivar::testing::storm(20, {[&] { EXPECT_EQ(set({"50"}), DDS_RETCODE_OK); }}, {write_next, [&] { take(some); }},
                           {&written});
  some->set_listener(nullptr, DDS_STATUS_MASK_NONE);
  write(writer, 777, 1 << 30);
  EXPECT_TRUE(comes(some, 777, 1 << 30));
}

}  // namespace
}  // namespace platform_test
