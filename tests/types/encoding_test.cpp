// SPDX-License-Identifier: Apache-2.0

// Tests special rules of the encodings: refused values and kept values.
#include "tests/types/support/encoding.h"

#include "tessivar/types/command/command.h"
#include "tests/types/support/any_type.h"

#include <gtest/gtest.h>

namespace types_test {
namespace {

typedef Sample<Tessivar::Command> Command;
typedef Sample<Tessivar::CommandMetadata> Metadata;

constexpr const char* command_name = "Tessivar::Command";
constexpr const char* metadata_name = "Tessivar::CommandMetadata";

bool is_encodable(const AnySample& sample) {
  const bool has_size = sample.type().plugin->encoded_size(sample.get()) != 0;
  EXPECT_EQ(encoding_of(sample, true).has_value(), has_size);
  return has_size;
}

TEST(EncodingTest, RefusesValuesOverTheirBoundAsCopyDoes) {
  const Command sample(command_name), copy(command_name);
  for (const std::size_t length : {std::size_t{64}, std::size_t{65}}) {
    DDS_String_replace(&sample->unitId, std::string(length, 'x').c_str());
    DDS_KeyHash_t hash;
    EXPECT_EQ(is_encodable(sample), length == 64);
    EXPECT_EQ(Tessivar::CommandPlugin_instance_to_keyhash(nullptr, &hash, sample.get()), length == 64);
    EXPECT_EQ(Tessivar::Command_copy(copy.get(), sample.get()), length == 64);
  }
  const Metadata metadata(metadata_name), other(metadata_name);
  metadata->allowedValues.finalize();
  metadata->allowedValues.absolute_maximum(1000);
  for (const DDS_Long length : {128, 129}) {
    EXPECT_TRUE(metadata->allowedValues.ensure_length(length, 200));
    EXPECT_EQ(is_encodable(metadata), length == 128);
    EXPECT_EQ(Tessivar::CommandMetadata_copy(other.get(), metadata.get()), length == 128);
  }
}

TEST(EncodingTest, FailsIfTheStreamIsTooShort) {
  const Command sample(command_name);
  char octets[256];
  RTICdrStream stream;
  RTICdrStream_init(&stream);
  for (const int length : {-1, 3}) {
    RTICdrStream_set(&stream, octets, length);
    EXPECT_FALSE(Tessivar::CommandPlugin_serialize(nullptr, sample.get(), &stream, RTI_FALSE, 1, RTI_TRUE, nullptr));
  }
}

TEST(DecodingTest, RefusesInvalidBooleansAndClearsTheSample) {
  const Sample<Tessivar::CommandValue> sample("Tessivar::CommandValue");
  EXPECT_TRUE(decode(sample, from_hex("000100000200000001")));
  for (const char* octets : {"000100000200000002", "0001000000000000040000006e657700ffffffff"}) {
    DDS_String_replace(&sample->_u.stringValue, "old");
    EXPECT_FALSE(decode(sample, from_hex(octets)));
    EXPECT_STREQ(sample->_u.stringValue, "");
  }
}

TEST(DecodingTest, ClearsUnionBranchesThatAreNotSelected) {
  const Sample<Tessivar::CommandValue> sample("Tessivar::CommandValue",
                                              {{"_d", "String"}, {"_u", {{"stringValue", "old"}}}});
  ASSERT_TRUE(decode(sample, from_hex("000100000200000001")));
  EXPECT_STREQ(sample->_u.stringValue, "");
  EXPECT_EQ(sample->_u.boolValue, DDS_BOOLEAN_TRUE);
}

TEST(DecodingTest, ReusesTheBuffersOfTheSample) {
  Metadata sample(metadata_name);
  Random random(1);
  sample.randomize(random);
  const char* text = sample->description;
  const auto* values = sample->allowedValues.get_contiguous_buffer();
  for (int i = 0; i < 20; ++i) {
    Metadata source(metadata_name);
    source.randomize(random);
    ASSERT_TRUE(decode(sample, encoding_of(source, true).value()));
    EXPECT_EQ(sample->description, text);
    EXPECT_EQ(sample->allowedValues.get_contiguous_buffer(), values);
  }
}

}  // namespace
}  // namespace types_test
