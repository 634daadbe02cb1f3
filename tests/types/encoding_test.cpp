// Encoding's own rules: headers, sizes, what is refused.
#include "tests/types/support/encoding.h"

#include "tessivar/types/command/command.h"
#include "tessivar/types/logging/logging.h"
#include "tests/support/log_lines.h"
#include "tests/types/support/any_type.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace types_test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

typedef Sample<Tessivar::Command> Command;
typedef Sample<Tessivar::CommandMetadata> Metadata;

constexpr const char* command_name = "Tessivar::Command";
constexpr const char* metadata_name = "Tessivar::CommandMetadata";

bool is_encodable(const AnySample& sample) {
  const bool has_size = sample.type().plugin->encoded_size(sample.get()) != 0;
  EXPECT_EQ(encoding_of(sample, true).has_value(), has_size);
  return has_size;
}

TEST(Encapsulation, IsOneOfFour) {
  const Command sample(command_name);
  for (RTIEncapsulationId id = 0; id < 6; ++id) {
    Stream stream(64);
    EXPECT_EQ(Tessivar::CommandPlugin_serialize(nullptr, sample.get(), stream.get(), RTI_TRUE, id, RTI_TRUE, nullptr),
              id < 4)
        << id;
    Octets octets = encoding_of(sample, (id & 1) != 0).value();
    octets[1] = static_cast<std::uint8_t>(id);
    Stream input(octets);
    EXPECT_EQ(
        Tessivar::CommandPlugin_deserialize_sample(nullptr, sample.get(), input.get(), RTI_TRUE, RTI_TRUE, nullptr),
        id < 4)
        << id;
  }
}

TEST(Sizes, LeaveRoomForEveryMemberAtItsLongest) {
  // 1024 strings of 64 characters, each aligned.
  EXPECT_EQ(Tessivar_Logging::LogMessage2RequestPlugin_get_serialized_sample_max_size(nullptr, RTI_FALSE, 0, 0),
            4u + 16 + 2 + 2 + 4 + 1023 * 72 + 69);
}

TEST(Encoding, RefusesWhatIsOverItsBound) {
  const Command sample(command_name);
  const std::string longest(64, 'x');
  DDS_String_replace(&sample->unitId, longest.c_str());
  EXPECT_TRUE(is_encodable(sample));
  DDS_String_replace(&sample->unitId, (longest + 'x').c_str());
  EXPECT_FALSE(is_encodable(sample));
  DDS_KeyHash_t hash;
  EXPECT_FALSE(Tessivar::CommandPlugin_instance_to_keyhash(nullptr, &hash, sample.get()));
  DDS_String_replace(&sample->unitId, nullptr);
  EXPECT_FALSE(is_encodable(sample));

  const Metadata metadata(metadata_name);
  metadata->allowedValues.finalize();
  metadata->allowedValues.absolute_maximum(1000);
  for (const DDS_Long length : {128, 129}) {
    EXPECT_TRUE(metadata->allowedValues.ensure_length(length, 200));
    EXPECT_EQ(is_encodable(metadata), length == 128);
  }
}

TEST(Encoding, TellsWhichEnumeratorItRefuses) {
  const Command sample(command_name);
  sample->value._d = static_cast<Tessivar::CommandType>(7);
  tessivar_test::LogLines log;
  EXPECT_FALSE(encoding_of(sample, true));
  EXPECT_THAT(log.lines(), ElementsAre(HasSubstr("CommandTypePlugin_serialize: 7 is no enumerator of "
                                                 "Tessivar::CommandType")));
}

TEST(Decoding, RefusesABooleanOfMoreThanOne) {
  const AnySample sample("Tessivar::CommandValue");
  EXPECT_TRUE(decode(sample, from_hex("000100000200000001")));
  EXPECT_FALSE(decode(sample, from_hex("000100000200000002")));
}

TEST(Decoding, EmptiesTheBranchesThatAreNotThere) {
  const Sample<Tessivar::CommandValue> sample("Tessivar::CommandValue",
                                              {{"_d", "String"}, {"_u", {{"stringValue", "old"}}}});
  ASSERT_TRUE(decode(sample, from_hex("000100000200000001")));
  EXPECT_STREQ(sample->_u.stringValue, "");
  EXPECT_EQ(sample->_u.boolValue, DDS_BOOLEAN_TRUE);
}

TEST(Decoding, ReusesTheBuffersOfTheSample) {
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

TEST(Decoding, GrowsAStringThatIsTooShortForItsBound) {
  const Command sample(command_name);
  const Command source(command_name);
  DDS_String_copy_bounded(&source->unitId, std::string(64, 'x').c_str(), 65);
  DDS_String_free(sample->unitId);
  sample->unitId = DDS_String_dup("x");
  ASSERT_TRUE(decode(sample, encoding_of(source, true).value()));
  EXPECT_STREQ(sample->unitId, source->unitId);
}

}  // namespace
}  // namespace types_test
