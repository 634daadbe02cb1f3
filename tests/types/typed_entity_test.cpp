// Typed readers, writers and type supports over the real engine, on the loopback. Reader and writer share a
// participant: what is written is there when the write returns.
#include "tessivar/types/command/command.h"
#include "tests/support/log_lines.h"

#include <algorithm>
#include <string>
#include <unistd.h>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace Tessivar;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::UnorderedElementsAre;

constexpr DDS_SampleStateMask any_sample = DDS_ANY_SAMPLE_STATE;
constexpr DDS_ViewStateMask any_view = DDS_ANY_VIEW_STATE;
constexpr DDS_InstanceStateMask any_instance = DDS_ANY_INSTANCE_STATE;

DDSDomainParticipant* loopback_participant() {
  DDS_DomainParticipantQos qos;
  DDSPropertyQosPolicyHelper::add_property(qos.property, "dds.transport.UDPv4.builtin.parent.allow_interfaces", "lo",
                                           DDS_BOOLEAN_FALSE);
  qos.discovery.multicast_receive_addresses.length(0);
  const DDS_DomainId_t own_domain = 20 + static_cast<DDS_DomainId_t>(getpid() % 70);
  return DDSDomainParticipantFactory::get_instance()->create_participant(own_domain, qos, nullptr, 0);
}

class TypedEntities : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_NE(participant, nullptr);
    ASSERT_EQ(CommandTypeSupport::register_type(participant), DDS_RETCODE_OK);
    topic = participant->create_topic(COMMANDS_TOPIC, CommandTypeSupport::get_type_name(), DDS_TOPIC_QOS_DEFAULT,
                                      nullptr, 0);
    ASSERT_NE(topic, nullptr);
    untyped_writer = participant->create_datawriter(topic, DDS_DATAWRITER_QOS_DEFAULT, nullptr, 0);
    DDS_DataReaderQos qos;
    qos.reliability.kind = DDS_RELIABLE_RELIABILITY_QOS;
    qos.history.kind = DDS_KEEP_ALL_HISTORY_QOS;
    untyped_reader = participant->create_datareader(topic, qos, nullptr, 0);
    writer = CommandDataWriter::narrow(untyped_writer);
    reader = CommandDataReader::narrow(untyped_reader);
    ASSERT_NE(writer, nullptr);
    ASSERT_NE(reader, nullptr);
    command = CommandTypeSupport::create_data();
    DDS_String_replace(&command->unitId, "0001:02:00");
  }
  void TearDown() override {
    CommandTypeSupport::delete_data(command);
    if (!participant) return;
    EXPECT_EQ(participant->delete_contained_entities(), DDS_RETCODE_OK);
    EXPECT_EQ(DDSDomainParticipantFactory::get_instance()->delete_participant(participant), DDS_RETCODE_OK);
  }

  /// The sample with this number; its value says how often it was made.
  const Command& numbered(DDS_UnsignedLong number) {
    command->commandNumber = number;
    command->value._d = Int;
    ++command->value._u.intValue;
    return *command;
  }
  void write(std::initializer_list<DDS_UnsignedLong> numbers) {
    for (const DDS_UnsignedLong number : numbers)
      ASSERT_EQ(writer->write(numbered(number), DDS_HANDLE_NIL), DDS_RETCODE_OK);
  }
  /// The numbers in `samples`, which are given back.
  std::vector<DDS_UnsignedLong> numbers(DDS_ReturnCode_t result) {
    EXPECT_EQ(result, DDS_RETCODE_OK);
    EXPECT_EQ(samples.length(), infos.length());
    std::vector<DDS_UnsignedLong> all;
    for (DDS_Long i = 0; i < samples.length(); ++i) {
      EXPECT_STREQ(samples[i].unitId, "0001:02:00");
      all.push_back(samples[i].commandNumber);
    }
    EXPECT_EQ(reader->return_loan(samples, infos), DDS_RETCODE_OK);
    return all;
  }

  DDSDomainParticipant* const participant = loopback_participant();
  DDSTopic* topic = nullptr;
  DDSDataWriter* untyped_writer = nullptr;
  DDSDataReader* untyped_reader = nullptr;
  CommandDataWriter* writer = nullptr;
  CommandDataReader* reader = nullptr;
  Command* command = nullptr;
  CommandSeq samples;
  DDS_SampleInfoSeq infos;
  tessivar_test::LogLines log;
};

TEST_F(TypedEntities, AreNarrowedToTheirOwnTypeOnly) {
  EXPECT_EQ(UnitDataWriter::narrow(untyped_writer), nullptr);
  EXPECT_EQ(UnitDataWriter::narrow(nullptr), nullptr);
  EXPECT_EQ(UnitDataReader::narrow(untyped_reader), nullptr);
  EXPECT_EQ(UnitDataReader::narrow(nullptr), nullptr);
  EXPECT_THAT(
      log.lines(),
      ElementsAre(HasSubstr("TDataWriter::narrow: wrong type writer"), HasSubstr("TDataWriter::narrow: null writer"),
                  HasSubstr("TDataReader::narrow: wrong type reader"), HasSubstr("TDataReader::narrow: null reader")));
}

TEST_F(TypedEntities, LendSamplesAndTakeThemBack) {
  write({1, 2});
  ASSERT_EQ(reader->read(samples, infos, DDS_LENGTH_UNLIMITED, any_sample, any_view, any_instance), DDS_RETCODE_OK);
  EXPECT_FALSE(samples.has_ownership());
  EXPECT_NE(samples.get_discontiguous_buffer(), nullptr);
  EXPECT_EQ(samples[0].value._d, Int);
  EXPECT_THAT(numbers(DDS_RETCODE_OK), UnorderedElementsAre(1u, 2u));
  EXPECT_TRUE(samples.has_ownership());
  EXPECT_EQ(reader->return_loan(samples, infos), DDS_RETCODE_OK);  // nothing to give back

  EXPECT_THAT(numbers(reader->take(samples, infos, 1, any_sample, any_view, any_instance)), ::testing::SizeIs(1));
  EXPECT_THAT(
      numbers(reader->take(samples, infos, DDS_LENGTH_UNLIMITED, DDS_READ_SAMPLE_STATE, any_view, any_instance)),
      ::testing::SizeIs(1));
  EXPECT_EQ(reader->take(samples, infos, DDS_LENGTH_UNLIMITED, any_sample, any_view, any_instance),
            DDS_RETCODE_NO_DATA);
  EXPECT_EQ(samples.length(), 0);
}

TEST_F(TypedEntities, RefuseToGiveBackWhatIsNotTheirs) {
  write({1});
  Command mine = {};
  Command* pointers[] = {&mine};
  ASSERT_TRUE(samples.loan_discontiguous(pointers, 1, 1));
  EXPECT_EQ(reader->return_loan(samples, infos), DDS_RETCODE_PRECONDITION_NOT_MET);
  EXPECT_TRUE(samples.unloan());
}

// Every form of read and take ends at its own engine call.
TEST_F(TypedEntities, SelectByInstanceAndCondition) {
  write({1, 2, 1, 3});
  command->commandNumber = 1;
  const DDS_InstanceHandle_t one = reader->lookup_instance(*command);
  ASSERT_TRUE(one.isValid);
  const DDS_Long all = DDS_LENGTH_UNLIMITED;
  EXPECT_THAT(numbers(reader->read_instance(samples, infos, all, one, any_sample, any_view, any_instance)),
              ElementsAre(1u, 1u));
  DDSReadCondition* fresh = reader->create_readcondition(DDS_NOT_READ_SAMPLE_STATE, any_view, any_instance);
  DDSReadCondition* seen = reader->create_readcondition(DDS_READ_SAMPLE_STATE, any_view, any_instance);
  EXPECT_EQ(reader->read_instance_w_condition(samples, infos, all, one, fresh), DDS_RETCODE_NO_DATA);
  EXPECT_EQ(reader->take_w_condition(samples, infos, all, nullptr), DDS_RETCODE_BAD_PARAMETER);
  EXPECT_THAT(numbers(reader->take_instance_w_condition(samples, infos, all, one, seen)), ElementsAre(1u, 1u));
  EXPECT_THAT(numbers(reader->read_w_condition(samples, infos, all, fresh)), UnorderedElementsAre(2u, 3u));
  EXPECT_THAT(numbers(reader->take_next_instance_w_condition(samples, infos, 1, DDS_HANDLE_NIL, seen)),
              ::testing::SizeIs(1));
  DDS_SampleInfo info;
  EXPECT_EQ(reader->take_next_sample(*command, info), DDS_RETCODE_NO_DATA);  // what is left has been read
  EXPECT_THAT(numbers(reader->take(samples, infos, all, any_sample, any_view, any_instance)), ::testing::SizeIs(1));
}

TEST_F(TypedEntities, HandleInstances) {
  const DDS_InstanceHandle_t handle = writer->register_instance(numbered(7));
  ASSERT_TRUE(handle.isValid);
  const DDS_InstanceHandle_t found = writer->lookup_instance(*command);
  EXPECT_TRUE(DDS_InstanceHandle_equals(&handle, &found));
  Command* holder = CommandTypeSupport::create_data();
  EXPECT_EQ(writer->get_key_value(*holder, handle), DDS_RETCODE_OK);
  EXPECT_EQ(holder->commandNumber, 7u);
  EXPECT_STREQ(holder->unitId, "0001:02:00");

  DDS_WriteParams_t params;
  params.source_timestamp = {1700000000, 5};
  EXPECT_EQ(writer->write_w_params(numbered(7), params), DDS_RETCODE_OK);
  EXPECT_TRUE(DDS_InstanceHandle_equals(&handle, &params.handle));
  EXPECT_EQ(writer->write_w_timestamp(numbered(7), handle, {1700000001, 0}), DDS_RETCODE_OK);
  EXPECT_EQ(writer->dispose(*command, handle), DDS_RETCODE_OK);

  ASSERT_EQ(reader->take(samples, infos, DDS_LENGTH_UNLIMITED, any_sample, any_view, any_instance), DDS_RETCODE_OK);
  EXPECT_EQ(infos[0].source_timestamp.sec, 1700000000);
  EXPECT_EQ(infos[0].instance_state, DDS_NOT_ALIVE_DISPOSED_INSTANCE_STATE);
  EXPECT_EQ(reader->get_key_value(*holder, infos[0].instance_handle), DDS_RETCODE_OK);
  EXPECT_EQ(holder->commandNumber, 7u);
  EXPECT_EQ(reader->return_loan(samples, infos), DDS_RETCODE_OK);
  CommandTypeSupport::delete_data(holder);

  EXPECT_EQ(writer->unregister_instance(*command, handle), DDS_RETCODE_OK);
  EXPECT_FALSE(writer->lookup_instance(*command).isValid);
}

TEST_F(TypedEntities, RefuseWhatCannotBeEncoded) {
  DDS_String_replace(&command->unitId, std::string(65, 'x').c_str());
  EXPECT_EQ(writer->write(*command, DDS_HANDLE_NIL), DDS_RETCODE_BAD_PARAMETER);
  EXPECT_THAT(log.lines(), ::testing::SizeIs(1));
}

TEST(TypeSupport, HandlesSamples) {
  Command* command = CommandTypeSupport::create_data_ex(DDS_BOOLEAN_TRUE);
  Command* copy = CommandTypeSupport::create_data();
  DDS_String_replace(&command->unitId, "0001:02:00");
  EXPECT_EQ(CommandTypeSupport::copy_data(copy, command), DDS_RETCODE_OK);
  EXPECT_STREQ(copy->unitId, "0001:02:00");
  EXPECT_EQ(CommandTypeSupport::copy_data(copy, nullptr), DDS_RETCODE_ERROR);

  unsigned int length = 0;
  ASSERT_EQ(CommandTypeSupport::serialize_data_to_cdr_buffer(nullptr, length, command), DDS_RETCODE_OK);
  std::vector<char> buffer(length);
  EXPECT_EQ(CommandTypeSupport::serialize_data_to_cdr_buffer(buffer.data(), length, command), DDS_RETCODE_OK);
  EXPECT_EQ(CommandTypeSupport::initialize_data_ex(copy, DDS_BOOLEAN_TRUE, DDS_BOOLEAN_FALSE), DDS_RETCODE_OK);
  EXPECT_STREQ(copy->unitId, "");
  EXPECT_EQ(CommandTypeSupport::deserialize_data_from_cdr_buffer(copy, buffer.data(), length), DDS_RETCODE_OK);
  EXPECT_STREQ(copy->unitId, "0001:02:00");

  DDS_UnsignedLong size = 1;
  char text[1];
  EXPECT_EQ(CommandTypeSupport::data_to_string(command, text, size), DDS_RETCODE_OUT_OF_RESOURCES);
  EXPECT_GT(size, 1u);
  EXPECT_EQ(CommandTypeSupport::delete_data(copy), DDS_RETCODE_OK);
  EXPECT_EQ(CommandTypeSupport::delete_data_ex(command, DDS_BOOLEAN_TRUE), DDS_RETCODE_OK);
  EXPECT_EQ(CommandTypeSupport::get_typecode(), Command_get_typecode());
}

}  // namespace
