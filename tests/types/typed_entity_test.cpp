// SPDX-License-Identifier: Apache-2.0

// Tests type supports, and the typed readers and writers, with the real engine.
#include "tessivar/types/command/command.h"
#include "tests/platform/support/bus.h"

#include <vector>

namespace {

using namespace Tessivar;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::SizeIs;
using ::testing::UnorderedElementsAre;

constexpr DDS_SampleStateMask any_sample = DDS_ANY_SAMPLE_STATE;
constexpr DDS_ViewStateMask any_view = DDS_ANY_VIEW_STATE;
constexpr DDS_InstanceStateMask any_instance = DDS_ANY_INSTANCE_STATE;
constexpr DDS_Long all = DDS_LENGTH_UNLIMITED;

/// Reader and writer share a participant: a sample has arrived when the write returns.
class TypedEntityTest : public ::testing::Test {
 protected:
  TypedEntityTest() { DDS_String_replace(&command->unitId, "0001:02:00"); }
  ~TypedEntityTest() override { CommandTypeSupport::delete_data(command); }
  const Command& numbered(DDS_UnsignedLong number) {
    command->commandNumber = number;
    return *command;
  }
  void write(std::initializer_list<DDS_UnsignedLong> numbers) {
    for (const DDS_UnsignedLong number : numbers)
      ASSERT_EQ(writer->write(numbered(number), DDS_HANDLE_NIL), DDS_RETCODE_OK);
  }
  /// Returns the numbers in `samples`, and returns the loan.
  std::vector<DDS_UnsignedLong> numbers(DDS_ReturnCode_t result) {
    EXPECT_EQ(result, DDS_RETCODE_OK);
    EXPECT_FALSE(samples.has_ownership());
    std::vector<DDS_UnsignedLong> found;
    found.reserve(static_cast<std::size_t>(samples.length()));
    for (DDS_Long i = 0; i < samples.length(); ++i) found.push_back(samples[i].commandNumber);
    EXPECT_EQ(reader->return_loan(samples, infos), DDS_RETCODE_OK);
    return found;
  }

  platform_test::Side side;
  CommandDataWriter* const writer = side.writer();
  CommandDataReader* const reader = side.reader();
  Command* const command = CommandTypeSupport::create_data();
  CommandSeq samples;
  DDS_SampleInfoSeq infos;
  tessivar::testing::LogRecorder log;
};

TEST_F(TypedEntityTest, NarrowsToItsOwnTypeOnly) {
  EXPECT_EQ(UnitDataWriter::narrow(writer), nullptr);
  EXPECT_EQ(UnitDataReader::narrow(reader), nullptr);
  EXPECT_EQ(CommandTypeSupport::register_type(nullptr, "x"), DDS_RETCODE_BAD_PARAMETER);
  EXPECT_THAT(log.lines(), ElementsAre(HasSubstr("TDataWriter::narrow: wrong type writer"),
                                       HasSubstr("TDataReader::narrow: wrong type reader"),
                                       HasSubstr("TTypeSupport::register_type: bad parameter: participant")));
}

TEST_F(TypedEntityTest, ReadsAndTakesInEveryForm) {
  write({1, 2, 1, 3});
  const DDS_InstanceHandle_t one = reader->lookup_instance(numbered(1));
  DDSReadCondition* fresh = reader->create_readcondition(DDS_NOT_READ_SAMPLE_STATE, any_view, any_instance);
  DDSReadCondition* seen = reader->create_readcondition(DDS_READ_SAMPLE_STATE, any_view, any_instance);
  EXPECT_THAT(numbers(reader->read_instance(samples, infos, all, one, any_sample, any_view, any_instance)),
              ElementsAre(1u, 1u));
  EXPECT_EQ(reader->read_instance_w_condition(samples, infos, all, one, fresh), DDS_RETCODE_NO_DATA);
  EXPECT_THAT(numbers(reader->take_instance_w_condition(samples, infos, all, one, seen)), ElementsAre(1u, 1u));
  EXPECT_EQ(reader->take_w_condition(samples, infos, all, nullptr), DDS_RETCODE_BAD_PARAMETER);
  EXPECT_EQ(side.reader()->take_w_condition(samples, infos, all, seen), DDS_RETCODE_PRECONDITION_NOT_MET);
  EXPECT_EQ(reader->read_instance_w_condition(samples, infos, all, DDS_HANDLE_NIL, seen), DDS_RETCODE_BAD_PARAMETER);
  EXPECT_THAT(numbers(reader->read_w_condition(samples, infos, all, fresh)), UnorderedElementsAre(2u, 3u));
  EXPECT_THAT(numbers(reader->read_next_instance_w_condition(samples, infos, 1, one, seen)), SizeIs(1));
  EXPECT_THAT(numbers(reader->take_next_instance_w_condition(samples, infos, 1, DDS_HANDLE_NIL, seen)), SizeIs(1));
  DDS_SampleInfo info;
  EXPECT_EQ(reader->take_next_sample(*command, info), DDS_RETCODE_NO_DATA);  // the other samples were read
  EXPECT_THAT(numbers(reader->read(samples, infos, all, any_sample, any_view, any_instance)), SizeIs(1));

  // Into buffers of the caller, as many samples as fit.
  write({7, 8});
  CommandSeq own(2);
  DDS_SampleInfoSeq own_infos(2);
  ASSERT_EQ(reader->take(own, own_infos, all, any_sample, any_view, any_instance), DDS_RETCODE_OK);
  EXPECT_EQ(own.length(), 2);
  EXPECT_TRUE(own.has_ownership());
  EXPECT_EQ(reader->return_loan(own, own_infos), DDS_RETCODE_OK);
  EXPECT_STREQ(own[1].unitId, "0001:02:00");
  EXPECT_EQ(reader->take_next_sample(*command, info), DDS_RETCODE_OK);
  EXPECT_TRUE(info.valid_data);
  EXPECT_EQ(reader->take(samples, infos, all, any_sample, any_view, any_instance), DDS_RETCODE_NO_DATA);
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(reader->take(own, own_infos, all, any_sample, any_view, any_instance), DDS_RETCODE_NO_DATA);
    EXPECT_EQ(own.length() + own_infos.length(), 0);
  }
}

TEST(TypeSupportTest, CreatesCopiesEncodesAndDeletesSamples) {
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
