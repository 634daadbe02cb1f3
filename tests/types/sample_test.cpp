// SPDX-License-Identifier: Apache-2.0

// Tests how samples are initialised, copied and finalised.
#include "tessivar/types/command/command.h"
#include "tests/types/support/encoding.h"

#include <gtest/gtest.h>

namespace types_test {
namespace {

constexpr const char* metadata_name = "Tessivar::CommandMetadata";

typedef Sample<Tessivar::CommandMetadata> Metadata;

TEST(SampleTest, InitializeClearsMembersWithoutNewMemory) {
  Metadata sample(metadata_name);
  Random random(1);
  sample.randomize(random);
  Tessivar::CommandMetadata_finalize_optional_members(sample.get(), RTI_TRUE);
  const char* name = sample->name;
  const auto* values = sample->allowedValues.get_contiguous_buffer();
  ASSERT_TRUE(Tessivar::CommandMetadata_initialize_ex(sample.get(), RTI_TRUE, RTI_FALSE));
  EXPECT_TRUE(same(sample, Metadata(metadata_name)));
  EXPECT_EQ(sample->name, name);
  EXPECT_EQ(sample->allowedValues.get_contiguous_buffer(), values);
}

TEST(SampleTest, InitializeAllocatesOptionalMembersOnRequest) {
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

/// A sample made without the functions of its type: strings are null and sequences have no memory.
TEST(SampleTest, PlainStructureIsCopiedEncodedAndStored) {
  const Metadata empty(metadata_name);
  Tessivar::CommandMetadata plain, copy;
  plain.commandNumber = empty->commandNumber = 7;
  ASSERT_TRUE(Tessivar::CommandMetadata_copy(&copy, &plain));
  EXPECT_STREQ(copy.name, "");
  Tessivar::CommandMetadataSeq sequence(1);
  sequence.length(1);
  EXPECT_TRUE(sequence.set_at(0, plain));
  char expected[256], octets[256];
  unsigned int expected_size = sizeof expected, size = sizeof octets;
  ASSERT_TRUE(Tessivar::CommandMetadataPlugin_serialize_to_cdr_buffer(expected, &expected_size, empty.get()));
  ASSERT_TRUE(Tessivar::CommandMetadataPlugin_serialize_to_cdr_buffer(octets, &size, &plain));
  EXPECT_EQ(std::string(octets, size), std::string(expected, expected_size));
  EXPECT_TRUE(Tessivar::CommandMetadataPlugin_deserialize_from_cdr_buffer(&plain, octets, size));
  EXPECT_STREQ(plain.defaultValue._u.stringValue, "");
  for (Tessivar::CommandMetadata* each : {&plain, &copy}) Tessivar::CommandMetadata_finalize(each);
}

TEST(SampleTest, StringIsOverwrittenInPlaceIfItFits) {
  const std::string text(20, 'x');
  char* ours = DDS_String_alloc(20);
  char* others = strdup("0123456789");  // the size of its memory is unknown
  const char* const places[] = {ours, others};
  EXPECT_EQ(DDS_String_replace(&ours, text.c_str()), places[0]);
  EXPECT_EQ(DDS_String_replace(&others, "9876543210"), places[1]);
  EXPECT_NE(DDS_String_replace(&ours, (text + 'x').c_str()), places[0]);
  ASSERT_NE(DDS_String_replace(&others, "98765432100"), nullptr);
  EXPECT_STREQ(others, "98765432100");
  EXPECT_NE(reinterpret_cast<std::uintptr_t>(others) % 2, reinterpret_cast<std::uintptr_t>(places[1]) % 2);
  DDS_String_free(ours);
  DDS_String_free(others);
}

}  // namespace
}  // namespace types_test
