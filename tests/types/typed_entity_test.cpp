// Type supports, and readers and writers that are narrowed to a type; what they do on the bus is the platform's test.
#include "tessivar/types/command/command.h"
#include "tests/support/log_lines.h"

#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace Tessivar;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

TEST(TypedEntities, AreNarrowedToTheirOwnTypeOnly) {
  DDSDomainParticipantFactory* const factory = DDSDomainParticipantFactory::get_instance();
  DDS_DomainParticipantQos qos;
  DDSPropertyQosPolicyHelper::add_property(qos.property, "dds.transport.UDPv4.builtin.parent.allow_interfaces", "lo",
                                           DDS_BOOLEAN_FALSE);
  DDSDomainParticipant* const participant = factory->create_participant(20, qos, nullptr, DDS_STATUS_MASK_NONE);
  ASSERT_NE(participant, nullptr);
  ASSERT_EQ(CommandTypeSupport::register_type(participant), DDS_RETCODE_OK);
  DDSTopic* const topic =
      participant->create_topic(COMMANDS_TOPIC, CommandTypeSupport::get_type_name(), DDS_TOPIC_QOS_DEFAULT, nullptr, 0);
  ASSERT_NE(topic, nullptr);
  DDSDataWriter* const writer = participant->create_datawriter(topic, DDS_DATAWRITER_QOS_DEFAULT, nullptr, 0);
  DDSDataReader* const reader = participant->create_datareader(topic, DDS_DATAREADER_QOS_DEFAULT, nullptr, 0);
  EXPECT_NE(CommandDataWriter::narrow(writer), nullptr);
  EXPECT_NE(CommandDataReader::narrow(reader), nullptr);
  tessivar_test::LogLines log;
  EXPECT_EQ(UnitDataWriter::narrow(writer), nullptr);
  EXPECT_EQ(UnitDataWriter::narrow(nullptr), nullptr);
  EXPECT_EQ(UnitDataReader::narrow(reader), nullptr);
  EXPECT_EQ(UnitDataReader::narrow(nullptr), nullptr);
  EXPECT_EQ(CommandTypeSupport::register_type(nullptr, "x"), DDS_RETCODE_BAD_PARAMETER);
  EXPECT_THAT(
      log.lines(),
      ElementsAre(HasSubstr("TDataWriter::narrow: wrong type writer"), HasSubstr("TDataWriter::narrow: null writer"),
                  HasSubstr("TDataReader::narrow: wrong type reader"), HasSubstr("TDataReader::narrow: null reader"),
                  HasSubstr("TTypeSupport::register_type: bad parameter: participant")));
  EXPECT_EQ(participant->delete_contained_entities(), DDS_RETCODE_OK);
  EXPECT_EQ(factory->delete_participant(participant), DDS_RETCODE_OK);
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
