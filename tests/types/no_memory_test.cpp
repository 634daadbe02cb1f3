// SPDX-License-Identifier: Apache-2.0

// Tests calls while each of their allocations fails in turn. A call succeeds or reports that memory is short, the next
// call works, and nothing is lost. Also tests how much memory loans use.
#include "tests/platform/support/bus.h"
#include "tests/types/support/memory.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <optional>
#include <thread>

namespace {

using namespace Tessivar;
using platform_test::reliable;
using testing::ElementsAre;
using types_test::FailingAllocations;

constexpr DDS_Long all = DDS_LENGTH_UNLIMITED;
constexpr int most_allocations = 500;  // for one call

/// Accepts commands whose text is at least as long as the parameter.
struct TextAtLeast : platform_test::AtLeast {
  DDS_Long measure(const Command& sample) override {
    return sample.value._d == String ? static_cast<DDS_Long>(std::strlen(sample.value._u.stringValue)) : -1;
  }
};

DDS_ReturnCode_t result_of(bool made) {
  return made ? DDS_RETCODE_OK : DDS_RETCODE_OUT_OF_RESOURCES;
}

/// Calls `attempt` with one failing allocation, and also with all later allocations failing, until none has failed.
/// `attempt` returns true if an allocation failed.
void for_each_allocation(const std::function<bool(int, FailingAllocations::Which)>& attempt) {
  for (const auto which : {FailingAllocations::Which::one, FailingAllocations::Which::all_later}) {
    for (int n = 0; attempt(n, which); ++n) ASSERT_LT(n, most_allocations);
  }
}

/// Reader and writer share a participant: a sample has arrived when the write returns.
class NoMemoryTest : public testing::Test {
 protected:
  NoMemoryTest() { side.participant->register_contentfilter("at least", &filter); }
  ~NoMemoryTest() override {
    side.participant->delete_contained_entities();  // also the topic that uses the filter
    CommandTypeSupport::delete_data(sample);
  }

  /// Calls `prepare` and then `call` while allocations fail. If the call has failed, it is repeated with memory.
  void fail_each(
      const char* name, const std::function<DDS_ReturnCode_t()>& call, const std::function<void()>& prepare = [] {}) {
    for_each_allocation([&](int n, FailingAllocations::Which which) {
      SCOPED_TRACE(std::string(name) + ", allocation " + std::to_string(n));
      prepare();
      DDS_ReturnCode_t result = DDS_RETCODE_ERROR;
      bool failed = false;
      std::thread([&] {  // a new thread has no cached memory
        const FailingAllocations failing(n, which);
        result = call();
        failed = failing.happened();
      })
          .join();
      EXPECT_EQ(result, failed && result != DDS_RETCODE_OK ? DDS_RETCODE_OUT_OF_RESOURCES : DDS_RETCODE_OK);
      if (result != DDS_RETCODE_OK) {
        ++failures;
        EXPECT_EQ(call(), DDS_RETCODE_OK) << "with memory";
      }
      return failed;
    });
  }
  /// Makes an entity while allocations fail. Each is deleted before the next; returns the last.
  template <class Make, class Delete>
  auto make_each(const char* name, Make make, Delete remove) {
    decltype(make()) made = nullptr;
    fail_each(
        name, [&] { return result_of(made = make()); }, [&] { EXPECT_TRUE(!made || remove(made) == DDS_RETCODE_OK); });
    return made;
  }
  /// A command of a new instance, with a text of 1 to 60 characters.
  const Command& next_command() {
    number = ++commands;
    sample->commandNumber = number;
    DDS_String_replace(&sample->unitId, "0001:02:0A");
    DDS_String_replace(&sample->value._u.stringValue, std::string(1 + number % 60, 'x').c_str());
    sample->value._d = String;
    return *sample;
  }
  DDSContentFilteredTopic* filtered(const char* at_least) {
    return side.participant->create_contentfilteredtopic_with_filter("Filtered", side.topic, "text",
                                                                     platform_test::strings({at_least}), "at least");
  }
  /// Takes all samples, and returns their numbers in order.
  static std::vector<DDS_UnsignedLong> received(CommandDataReader* from) {
    std::vector<DDS_UnsignedLong> result = platform_test::numbers(platform_test::take(from));
    std::sort(result.begin(), result.end());
    return result;
  }

  tessivar::testing::LogRecorder log;
  TextAtLeast filter;
  platform_test::Side side;
  CommandDataWriter* writer = side.writer();
  Command* const sample = CommandTypeSupport::create_data();
  DDS_UnsignedLong commands = 0, number = 0;
  int failures = 0;
};

TEST_F(NoMemoryTest, OperationsOfFactoryAndParticipantSucceedOrReportFailure) {
  const std::string text = "A text that is too long for a string's own room";
  DDSDomainParticipantFactory& factory = platform_test::factory();
  DDS_DomainParticipantFactoryQos factory_qos, enabling;
  factory.get_qos(enabling);
  factory_qos = enabling;
  factory_qos.entity_factory.autoenable_created_entities = DDS_BOOLEAN_FALSE;
  DDS_DomainParticipantQos qos, read_qos;
  DDSPropertyQosPolicyHelper::add_property(qos.property, text.c_str(), text.c_str(), DDS_BOOLEAN_FALSE);
  DDS_TopicQos topic_qos;
  DDS_DataWriterQos writer_qos;
  DDS_DataReaderQos reader_qos, catching_up = platform_test::catching_up();
  DDS_StringSeq interfaces;

  fail_each("set_qos of the factory", [&] { return factory.set_qos(factory_qos); });
  fail_each("get_qos of the factory", [&] { return factory.get_qos(factory_qos); });
  fail_each("set_default_participant_qos", [&] { return factory.set_default_participant_qos(qos); });
  DDSDomainParticipant* const made = make_each(
      "create_participant",
      [&] { return factory.create_participant(platform_test::own_domain(), DDS_PARTICIPANT_QOS_DEFAULT, nullptr, 0); },
      [&](auto* one) { return factory.delete_participant(one); });
  fail_each("get_default_participant_qos", [&] { return factory.get_default_participant_qos(read_qos); });
  fail_each("set_qos", [&] { return made->set_qos(qos); });
  fail_each("get_qos", [&] { return made->get_qos(read_qos); });
  fail_each("set_default_topic_qos", [&] { return made->set_default_topic_qos(DDS_TOPIC_QOS_DEFAULT); });
  fail_each("get_default_topic_qos", [&] { return made->get_default_topic_qos(topic_qos); });
  fail_each("set_default_datawriter_qos", [&] { return made->set_default_datawriter_qos(writer_qos); });
  fail_each("get_default_datawriter_qos", [&] { return made->get_default_datawriter_qos(writer_qos); });
  fail_each("set_default_datareader_qos", [&] { return made->set_default_datareader_qos(catching_up); });
  fail_each("get_default_datareader_qos",
            [&] { return made->get_default_datareader_qos_w_topic_name(reader_qos, "Topic"); });
  const char* const peer = "builtin.udpv4://127.0.0.1";
  fail_each(
      "add_peer", [&] { return made->add_peer(peer); }, [&] { made->remove_peer(peer); });
  fail_each("get_network_interfaces", [&] { return side.participant->get_network_interfaces(interfaces); });
  std::string name;
  fail_each(
      "register_contentfilter", [&] { return made->register_contentfilter(name.c_str(), &filter); },
      [&, count = 0]() mutable { name = text + std::to_string(++count); });
  std::optional<DDSWaitSet> wait_set;
  std::optional<DDSGuardCondition> condition;
  fail_each(
      "attach_condition", [&] { return wait_set->attach_condition(&*condition); },
      [&] {
        condition.emplace();  // the wait set forgets the condition before
        wait_set.emplace();
      });
  EXPECT_GT(failures, 0);

  EXPECT_EQ(factory.set_default_participant_qos(DDS_PARTICIPANT_QOS_DEFAULT), DDS_RETCODE_OK);
  EXPECT_EQ(factory.set_qos(enabling), DDS_RETCODE_OK);
  EXPECT_EQ(factory.delete_participant(made), DDS_RETCODE_OK);
}

TEST_F(NoMemoryTest, EntitiesAreCreatedOrFailureIsReported) {
  DDSDomainParticipant& participant = *side.participant;
  int types = 0;
  std::string name;
  fail_each(
      "register_type", [&] { return CommandTypeSupport::register_type(&participant, name.c_str()); },
      [&] { name = "A name that is too long for a string's own room: " + std::to_string(++types); });
  const auto delete_topic = [&](auto* made) { return participant.delete_topic(made); };
  const auto delete_filtered = [&](auto* made) { return participant.delete_contentfilteredtopic(made); };
  const auto delete_writer = [&](auto* made) { return participant.delete_datawriter(made); };
  const auto delete_reader = [&](auto* made) { return participant.delete_datareader(made); };
  DDSTopic* const topic = make_each(
      "create_topic",
      [&] {
        return participant.create_topic("ANameThatIsTooLongForTheOwnRoomOfAString", "Command", DDS_TOPIC_QOS_DEFAULT,
                                        nullptr, 0);
      },
      delete_topic);
  const DDS_StringSeq parameters = platform_test::strings({"1"});
  DDSContentFilteredTopic* const filtered_topic = make_each(
      "create_contentfilteredtopic_with_filter",
      [&] {
        return participant.create_contentfilteredtopic_with_filter("Filtered", topic, "text", parameters, "at least");
      },
      delete_filtered);
  DDSDataWriter* const made_writer = make_each(
      "create_datawriter", [&] { return participant.create_datawriter(topic, DDS_DATAWRITER_QOS_DEFAULT, nullptr, 0); },
      delete_writer);
  DDSDataReader* const made_reader = make_each(
      "create_datareader",
      [&] { return participant.create_datareader(filtered_topic, DDS_DATAREADER_QOS_DEFAULT, nullptr, 0); },
      delete_reader);
  // Nothing that failed is left: everything can be deleted.
  EXPECT_EQ(delete_reader(made_reader), DDS_RETCODE_OK);
  EXPECT_EQ(delete_filtered(filtered_topic), DDS_RETCODE_OK);
  EXPECT_EQ(delete_writer(made_writer), DDS_RETCODE_OK);
  EXPECT_EQ(delete_topic(topic), DDS_RETCODE_OK);
  EXPECT_GT(failures, 0);
}

TEST_F(NoMemoryTest, WriteReachesAllLocalReadersOrNone) {
  struct Hears : DDSDataReaderListener {
    void on_data_available(DDSDataReader*) override { ++calls; }
    int calls = 0;
  } hears;
  DDSContentFilteredTopic* const topic = filtered("1");
  CommandDataReader *plain = nullptr, *narrow = nullptr;
  DDSReadCondition* condition = nullptr;
  const auto check = [&] {
    EXPECT_THAT(received(plain), ElementsAre(number));
    EXPECT_THAT(received(narrow), ElementsAre(number));
    EXPECT_EQ(plain->counters()->read().lost + narrow->counters()->read().lost, 0u);
    narrow->delete_contained_entities();
    side.participant->delete_datareader(plain);
    side.participant->delete_datareader(narrow);
    side.participant->delete_datawriter(writer);
  };
  fail_each(
      "write",
      [&] {
        const DDS_ReturnCode_t result = writer->write(*sample, DDS_HANDLE_NIL);
        EXPECT_EQ(writer->lookup_instance(*sample).isValid != 0, result == DDS_RETCODE_OK);
        EXPECT_EQ(hears.calls > 0, result == DDS_RETCODE_OK);
        EXPECT_EQ(condition->get_trigger_value() != 0, result == DDS_RETCODE_OK);
        return result;
      },
      [&] {
        if (plain) check();
        writer = side.writer();
        plain = side.reader(DDS_DATAREADER_QOS_USE_TOPIC_QOS, &hears);
        narrow = side.reader(platform_test::catching_up(), nullptr, topic);
        condition = narrow->create_readcondition(DDS_NOT_READ_SAMPLE_STATE, DDS_ANY_VIEW_STATE, DDS_ANY_INSTANCE_STATE);
        next_command();
        hears.calls = 0;
      });
  check();
  EXPECT_GT(failures, 0);
}

TEST_F(NoMemoryTest, DisposeAndUnregisterReachALocalReaderOnce) {
  CommandDataReader* const reader = side.reader();
  const auto ends = [&] {
    const auto received = platform_test::take(reader);
    return std::count_if(received.begin(), received.end(), [](const auto& one) { return !one.info.valid_data; });
  };
  fail_each(
      "dispose", [&] { return writer->dispose(*sample, DDS_HANDLE_NIL); }, [&] { next_command(); });
  EXPECT_EQ(ends(), 0) << "of instances that the reader never saw";
  int count = 0;
  fail_each(
      "unregister_instance", [&] { return writer->unregister_instance(*sample, DDS_HANDLE_NIL); },
      [&] {
        EXPECT_EQ(ends(), count++ > 0);
        writer->write(next_command(), DDS_HANDLE_NIL);
        ends();
      });
}

TEST_F(NoMemoryTest, KeysAndInstancesAreFoundOrFailureIsReported) {
  CommandDataReader* const reader = side.reader();
  Command key;
  fail_each(
      "register_instance", [&] { return result_of(writer->register_instance(*sample).isValid); },
      [&] { next_command(); });
  writer->write(next_command(), DDS_HANDLE_NIL);
  const DDS_InstanceHandle_t handle = writer->lookup_instance(*sample);
  const auto forget_key = [&] { CommandTypeSupport::finalize_data(&key); };
  const auto get_key = [&](auto* entity) {
    const DDS_ReturnCode_t result = entity->get_key_value(key, handle);
    EXPECT_TRUE(result != DDS_RETCODE_OK || (key.commandNumber == number && key.unitId == std::string("0001:02:0A")));
    return result;
  };
  fail_each(
      "get_key_value of a writer", [&] { return get_key(writer); }, forget_key);
  fail_each(
      "get_key_value of a reader", [&] { return get_key(reader); }, forget_key);
  forget_key();
  fail_each("create_readcondition", [&] {
    return result_of(reader->create_readcondition(DDS_READ_SAMPLE_STATE, DDS_ANY_VIEW_STATE, DDS_ANY_INSTANCE_STATE));
  });
  EXPECT_GT(failures, 0);
}

struct Form {
  const char* name;
  bool take, own_sequences, by_instance;
  friend std::ostream& operator<<(std::ostream& out, const Form& form) { return out << form.name; }
};
class NoMemoryReadTest : public NoMemoryTest, public testing::WithParamInterface<Form> {};

TEST_P(NoMemoryReadTest, LosesNoSample) {
  const Form form = GetParam();
  constexpr DDS_Long count = 5;
  CommandDataReader* reader = nullptr;
  DDSReadCondition* unread = nullptr;
  DDS_InstanceHandle_t previous = DDS_HANDLE_NIL;
  const auto access = [&](CommandSeq& samples, DDS_SampleInfoSeq& infos) {
    return form.by_instance && form.take ? reader->take_next_instance_w_condition(samples, infos, all, previous, unread)
           : form.by_instance            ? reader->read_next_instance_w_condition(samples, infos, all, previous, unread)
           : form.take                   ? reader->take_w_condition(samples, infos, all, unread)
                                         : reader->read_w_condition(samples, infos, all, unread);
  };
  for_each_allocation([&](int n, FailingAllocations::Which which) {
    SCOPED_TRACE(n);
    // A reader and sequences that have no memory yet. The end of an instance and samples of other instances.
    reader = side.reader(reliable<DDS_DataReaderQos>(false));
    unread = reader->create_readcondition(DDS_NOT_READ_SAMPLE_STATE, DDS_ANY_VIEW_STATE, DDS_ANY_INSTANCE_STATE);
    CommandSeq samples(form.own_sequences ? count : 0);
    DDS_SampleInfoSeq infos(form.own_sequences ? count : 0);
    std::vector<DDS_UnsignedLong> expected, got;
    for (DDS_Long i = 0; i < count; ++i) {
      writer->write(next_command(), DDS_HANDLE_NIL);
      expected.push_back(number);
      if (i > 0) continue;
      DDS_SampleInfo info;
      reader->take_next_sample(*sample, info);  // without a loan, which would be kept
      writer->dispose(*sample, DDS_HANDLE_NIL);
    }
    previous = DDS_HANDLE_NIL;
    DDS_ReturnCode_t result;
    bool failed;
    {
      const FailingAllocations failing(n, which);
      result = access(samples, infos);
      failed = failing.happened();
    }
    EXPECT_TRUE(result == DDS_RETCODE_OK || (failed && result == DDS_RETCODE_OUT_OF_RESOURCES)) << result;
    failures += result != DDS_RETCODE_OK;
    for (; result != DDS_RETCODE_NO_DATA && !HasFailure(); result = access(samples, infos)) {
      EXPECT_TRUE(result == DDS_RETCODE_OK || got.empty()) << result;
      EXPECT_EQ(samples.length(), infos.length());
      for (DDS_Long i = 0; i < samples.length(); ++i) {
        got.push_back(samples[i].commandNumber);
        EXPECT_EQ(std::strlen(samples[i].value._u.stringValue), infos[i].valid_data ? 1 + got.back() % 60 : 0);
        Command key;
        EXPECT_EQ(reader->get_key_value(key, infos[i].instance_handle), DDS_RETCODE_OK);
        EXPECT_EQ(key.commandNumber, got.back());
        CommandTypeSupport::finalize_data(&key);
        previous = infos[i].instance_handle;
      }
      EXPECT_EQ(unread->get_trigger_value() != 0, got.size() < expected.size());
      const FailingAllocations failing(0, FailingAllocations::Which::all_later);
      EXPECT_EQ(reader->return_loan(samples, infos), DDS_RETCODE_OK);
    }
    std::sort(got.begin(), got.end());
    EXPECT_EQ(got, expected);
    reader->delete_contained_entities();
    EXPECT_EQ(side.participant->delete_datareader(reader), DDS_RETCODE_OK);
    return failed && !HasFailure();
  });
  EXPECT_GT(failures, 0);
}

INSTANTIATE_TEST_SUITE_P(Forms, NoMemoryReadTest,
                         testing::Values(Form{"ReadLoan", false, false, false}, Form{"TakeLoan", true, false, false},
                                         Form{"ReadOwn", false, true, false}, Form{"TakeOwn", true, true, false},
                                         Form{"ReadInstance", false, false, true},
                                         Form{"TakeInstance", true, false, true}),
                         [](const auto& form) { return form.param.name; });

TEST_F(NoMemoryTest, TakeNextSampleCanBeRepeated) {
  CommandDataReader* const reader = side.reader();
  Command next;
  DDS_SampleInfo info;
  fail_each(
      "take_next_sample",
      [&] {
        const DDS_ReturnCode_t result = reader->take_next_sample(next, info);
        EXPECT_TRUE(result != DDS_RETCODE_OK || next.commandNumber == number);
        return result;
      },
      [&] {
        CommandTypeSupport::finalize_data(&next);
        writer->write(next_command(), DDS_HANDLE_NIL);
      });
  EXPECT_EQ(reader->take_next_sample(next, info), DDS_RETCODE_NO_DATA);
  CommandTypeSupport::finalize_data(&next);
}

TEST_F(NoMemoryTest, FilterChangeSucceedsOrReportsFailure) {
  DDSContentFilteredTopic* const topic = filtered("1");
  CommandDataReader* const reader = side.reader(platform_test::catching_up(), nullptr, topic);
  CommandDataReader* const plain = side.reader(reliable<DDS_DataReaderQos>());
  for (int i = 0; i < 59; ++i) writer->write(next_command(), DDS_HANDLE_NIL);  // texts of 2 to 60 characters
  const DDS_StringSeq wide = platform_test::strings({"1"}), narrow = platform_test::strings({"31"});
  const auto known = [&] {
    std::size_t count = 0;
    for (sample->commandNumber = 1; sample->commandNumber <= commands; ++sample->commandNumber)
      count += reader->lookup_instance(*sample).isValid != 0;
    return count;
  };
  EXPECT_EQ(known(), 59u);
  for (const auto where : {FailingAllocations::Where::this_thread, FailingAllocations::Where::everywhere}) {
    bool failed = true;
    for (int n = 0; failed; ++n) {
      SCOPED_TRACE(n);
      ASSERT_LT(n, 10 * most_allocations);
      const FailingAllocations failing(n, FailingAllocations::Which::one, where);
      const bool narrows = n % 2 == 0;
      const DDS_StringSeq& parameters = narrows ? narrow : wide;
      DDS_ReturnCode_t result = topic->set_expression_parameters(parameters);
      EXPECT_TRUE(result == DDS_RETCODE_OK || result == DDS_RETCODE_OUT_OF_RESOURCES) << result;
      if (result != DDS_RETCODE_OK) result = topic->set_expression_parameters(parameters);
      EXPECT_EQ(result, DDS_RETCODE_OK);
      EXPECT_EQ(reader->wait_for_historical_data(platform_test::patience), DDS_RETCODE_OK);
      EXPECT_EQ(known(), narrows ? 30u : 59u);
      failed = failing.happened();
    }
  }
  EXPECT_EQ(received(plain).size(), 59u);
}

TEST(LoanTest, UsesLittleMemoryAndReusesIt) {
  constexpr std::size_t count = 2000;
  platform_test::Side side;
  CommandMetadataTypeSupport::register_type(side.participant);
  DDSTopic* topic = side.participant->create_topic(platform_test::own_topic(".Metadata").c_str(),
                                                   "Tessivar::CommandMetadata", reliable<DDS_TopicQos>(), nullptr, 0);
  auto* writer = CommandMetadataDataWriter::narrow(
      side.participant->create_datawriter(topic, DDS_DATAWRITER_QOS_USE_TOPIC_QOS, nullptr, 0));
  auto* reader = CommandMetadataDataReader::narrow(
      side.participant->create_datareader(topic, DDS_DATAREADER_QOS_USE_TOPIC_QOS, nullptr, 0));
  CommandMetadata metadata;
  for (; metadata.commandNumber < count; ++metadata.commandNumber) writer->write(metadata, DDS_HANDLE_NIL);
  CommandMetadataSeq samples;
  DDS_SampleInfoSeq infos;
  const std::size_t before = types_test::live_octets();
  const auto read_within = [&](DDS_Long most, std::size_t octets) {
    ASSERT_EQ(reader->read(samples, infos, most, DDS_ANY_SAMPLE_STATE, DDS_ANY_VIEW_STATE, DDS_ANY_INSTANCE_STATE),
              DDS_RETCODE_OK);
    EXPECT_STREQ(samples[0].defaultValue._u.stringValue, "");
    EXPECT_LT(types_test::live_octets() - before, octets);
    EXPECT_EQ(reader->return_loan(samples, infos), DDS_RETCODE_OK);
    EXPECT_LT(types_test::live_octets() - before, 3u << 20);
  };
  read_within(all, count * 1500);
  read_within(100, 3u << 20);
  const std::size_t allocated = types_test::allocations();
  read_within(100, 3u << 20);
  EXPECT_EQ(types_test::allocations(), allocated);
}

}  // namespace
