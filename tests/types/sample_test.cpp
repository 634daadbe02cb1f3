// Initialising, copying, finalising and printing samples.
#include "tessivar/types/command/command.h"
#include "tests/types/support/any_type.h"

#include <gtest/gtest.h>

namespace types_test {
namespace {

constexpr const char* unit_name = "Tessivar::Unit";
constexpr const char* metadata_name = "Tessivar::CommandMetadata";

typedef Sample<Tessivar::Unit> Unit;
typedef Sample<Tessivar::CommandMetadata> Metadata;

TEST(Initialize, AllocatesToTheBounds) {
  Tessivar::CommandMetadata sample;
  ASSERT_TRUE(Tessivar::CommandMetadata_initialize(&sample));
  EXPECT_STREQ(sample.unitId, "");
  EXPECT_EQ(sample.allowedValues.maximum(), 128);
  EXPECT_EQ(sample.allowedValues.absolute_maximum(), 128);
  EXPECT_EQ(sample.allowedValues.length(), 0);
  EXPECT_NE(sample.allowedValues.get_contiguous_buffer()[127]._u.stringValue, nullptr);
  EXPECT_EQ(sample.validRange, nullptr);
  EXPECT_EQ(sample.defaultValue._d, Tessivar::CommandValue_getDefaultDiscriminator());
  Tessivar::CommandMetadata_finalize(&sample);
  EXPECT_EQ(sample.unitId, nullptr);
  EXPECT_EQ(sample.allowedValues.maximum(), 0);
}

TEST(Initialize, EmptiesInPlaceWithoutMemory) {
  Metadata sample(metadata_name);
  Random random(1);
  sample.randomize(random);
  Tessivar::CommandMetadata_finalize_optional_members(sample.get(), RTI_TRUE);
  const char* name = sample->name;
  const auto* values = sample->allowedValues.get_contiguous_buffer();
  ASSERT_TRUE(Tessivar::CommandMetadata_initialize_ex(sample.get(), RTI_TRUE, RTI_FALSE));
  EXPECT_EQ(sample.value(), Metadata(metadata_name).value());
  EXPECT_EQ(sample->name, name);
  EXPECT_EQ(sample->allowedValues.get_contiguous_buffer(), values);
}

TEST(Initialize, AllocatesOptionalMembersWhenAsked) {
  DDS_TypeAllocationParams_t params;
  params.allocate_optional_members = DDS_BOOLEAN_TRUE;
  Tessivar::Unit* unit = Tessivar::UnitPluginSupport_create_data_w_params(&params);
  ASSERT_NE(unit->rcAddress, nullptr);
  unit->rcAddress->net = 7;
  params.allocate_memory = DDS_BOOLEAN_FALSE;
  ASSERT_TRUE(Tessivar::Unit_initialize_w_params(unit, &params));
  ASSERT_NE(unit->rcAddress, nullptr);
  EXPECT_EQ(unit->rcAddress->net, 0);
  Tessivar::UnitPluginSupport_destroy_data(unit);
}

TEST(Functions, RefuseNull) {
  const Unit unit(unit_name);
  EXPECT_FALSE(Tessivar::Unit_initialize(nullptr));
  EXPECT_FALSE(Tessivar::Unit_copy(unit.get(), nullptr));
  EXPECT_FALSE(Tessivar::UnitPlugin_serialize(nullptr, unit.get(), nullptr, RTI_TRUE, 1, RTI_TRUE, nullptr));
  EXPECT_EQ(Tessivar::UnitPluginSupport_create_data_w_params(nullptr), nullptr);
  Tessivar::Unit_finalize(nullptr);
  Tessivar::UnitPluginSupport_destroy_data(nullptr);
}

TEST(Copy, RefusesWhatIsOverItsBound) {
  const Sample<Tessivar::Guid> guid("Tessivar::Guid");
  Tessivar::Guid source = DDS_String_alloc(65);
  std::fill_n(source, 65, 'x');
  source[65] = '\0';
  EXPECT_FALSE(Tessivar::Guid_copy(guid.get(), &source));
  source[64] = '\0';
  EXPECT_TRUE(Tessivar::Guid_copy(guid.get(), &source));
  EXPECT_STREQ(*guid, source);
  DDS_String_free(source);

  const Metadata metadata(metadata_name);
  const Metadata longer(metadata_name);
  longer->allowedValues.finalize();
  longer->allowedValues.absolute_maximum(200);
  ASSERT_TRUE(longer->allowedValues.ensure_length(129, 129));
  EXPECT_FALSE(Tessivar::CommandMetadata_copy(metadata.get(), longer.get()));
}

TEST(Copy, FollowsOptionalMembers) {
  const Unit with(unit_name);
  with->rcAddress = new Tessivar::Address();
  with->rcAddress->net = 5;
  const Unit without(unit_name);
  const Unit copy(unit_name);
  ASSERT_TRUE(Tessivar::Unit_copy(copy.get(), with.get()));
  ASSERT_NE(copy->rcAddress, nullptr);
  EXPECT_NE(copy->rcAddress, with->rcAddress);
  EXPECT_EQ(copy->rcAddress->net, 5);
  ASSERT_TRUE(Tessivar::Unit_copy(copy.get(), without.get()));
  EXPECT_EQ(copy->rcAddress, nullptr);
}

template <class Print>
std::string printed(Print&& print) {
  ::testing::internal::CaptureStdout();
  print();
  return ::testing::internal::GetCapturedStdout();
}

TEST(Print, WritesEachMember) {
  const Sample<Tessivar::Command> command(
      "Tessivar::Command",
      {{"unitId", "0001:02:00"}, {"commandNumber", 12}, {"value", {{"_d", "Int"}, {"_u", {{"intValue", -2}}}}}});
  EXPECT_EQ(printed([&] { Tessivar::CommandPluginSupport_print_data(command.get(), "command", 1); }),
            "   command:\n"
            "      unitId:\n"
            "         \"0001:02:00\"\n"
            "      commandNumber: 12\n"
            "      value:\n"
            "         _d:\n"
            "            CommandType: 1 (Int)\n"
            "         intValue: -2\n");
}

TEST(Print, WritesNullForWhatIsNotThere) {
  EXPECT_EQ(printed([] { Tessivar::UnitPluginSupport_print_data(nullptr, nullptr, 0); }), "\nNULL\n");
  const Sample<Tessivar::CommandChangeReply> reply("Tessivar::CommandChangeReply");
  ASSERT_TRUE(reply->changeguid.ensure_length(1, 16));
  EXPECT_EQ(printed([&] { Tessivar::CommandChangeReplyPluginSupport_print_data(reply.get(), nullptr, 0); }),
            "\n"
            "   changeguid:\n"
            "      [0]: 0x00\n"
            "   ticketId: 0\n"
            "   result:\n"
            "      CommandChangeReplyResult: 0 (PENDING)\n"
            "   ex:\n"
            "NULL\n");
}

TEST(Print, WritesIntoAString) {
  const Sample<Tessivar::ULRange> range("Tessivar::ULRange");
  DDS_UnsignedLong size = 0;
  ASSERT_TRUE(Tessivar::ULRangePlugin_data_to_string(range.get(), nullptr, &size));
  std::string text(size, '?');
  ASSERT_TRUE(Tessivar::ULRangePlugin_data_to_string(range.get(), text.data(), &size));
  EXPECT_STREQ(text.c_str(), "ULRange:\n   min: 0\n   max: 0\n");
  --size;
  EXPECT_FALSE(Tessivar::ULRangePlugin_data_to_string(range.get(), text.data(), &size));
}

}  // namespace
}  // namespace types_test
