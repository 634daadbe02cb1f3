// SPDX-License-Identifier: Apache-2.0

// Tests rules that hold for every sample of every type, with random samples, and for any received octets.
#include "tests/types/support/any_octets.h"

#include <memory>

#include <gtest/gtest.h>

namespace types_test {
namespace {

/// One type under test.
struct Case {
  const AnyType& type;
  const PRESTypePlugin& plugin;
  Random& random;
};

/// Calls `test(case)` for every type.
template <class Test>
void for_types(Test&& test) {
  Random random(20240102);
  for (const AnyType& type : all_types()) {
    SCOPED_TRACE(type.name);
    test(Case{type, *type.plugin, random});
    if (::testing::Test::HasFailure()) return;
  }
}

/// Calls `test(case, sample)` with random samples of every type.
template <class Test>
void for_samples(Test&& test) {
  for_types([&](const Case& one) {
    AnySample sample(one.type);
    for (int i = 0; i < 30; ++i) {
      sample.randomize(one.random);
      test(one, sample);
    }
  });
}

TEST(PropertyTest, SamplesAreDecodedAndCopiedWithoutChange) {
  for_samples([](const Case& one, const AnySample& sample) {
    const auto& [type, plugin, random] = one;
    for (const bool little_endian : {true, false}) {
      auto octets = encoding_of(sample, little_endian);
      ASSERT_TRUE(octets);
      const AnySample read(type);
      for (int padding = 0; padding <= 4; ++padding) {
        ASSERT_EQ(decode(read, *octets), padding <= 3) << padding;
        EXPECT_TRUE(padding > 3 || same(read, sample)) << padding;
        octets->push_back(0);
      }
    }
    AnySample copy(type);
    copy.randomize(random);
    ASSERT_TRUE(plugin.copy_sample(nullptr, copy.get(), sample.get()));
    EXPECT_TRUE(same(copy, sample));
  });
}

TEST(PropertyTest, EncodingsAreWithinTheirBounds) {
  for_samples([](const Case& one, const AnySample& sample) {
    const auto& [type, plugin, random] = one;
    const auto octets = encoding_of(sample, true);
    ASSERT_TRUE(octets);
    EXPECT_EQ(plugin.encoded_size(sample.get()), octets->size());
    EXPECT_LE(octets->size(), plugin.get_serialized_sample_max_size(nullptr, RTI_TRUE, 0, 0));
    EXPECT_GE(octets->size(), type.min_size(nullptr, RTI_TRUE, 0, 0));
    const auto alignment = static_cast<unsigned int>(random() % 16);
    const unsigned int size = plugin.get_serialized_sample_size(nullptr, RTI_FALSE, 0, alignment, sample.get());
    EXPECT_LE(size, plugin.get_serialized_sample_max_size(nullptr, RTI_FALSE, 0, alignment));
    EXPECT_GE(size, type.min_size(nullptr, RTI_FALSE, 0, alignment));

    // A buffer that is one octet too short is refused.
    Stream tight(octets->size() - 1);
    EXPECT_FALSE(plugin.serialize(nullptr, sample.get(), tight.get(), RTI_TRUE, 1, RTI_TRUE, nullptr));
    EXPECT_FALSE(plugin.encode(sample.get(), Octets(octets->size()).data(), octets->size() - 1));
  });
}

TEST(PropertyTest, AllFunctionsGiveTheSameKey) {
  for_samples([](const Case& one, const AnySample& sample) {
    const auto& [type, plugin, random] = one;
    EXPECT_EQ(plugin.get_key_kind(), type.keyed ? PRES_TYPEPLUGIN_USER_KEY : PRES_TYPEPLUGIN_NO_KEY);
    if (!type.keyed) return;
    const std::string expected = hash_of(sample);
    Octets key(plugin.encode_key(sample.get(), nullptr, 0));
    EXPECT_LE(key.size(), type.max_key_size(nullptr, RTI_TRUE, 0, 0));
    ASSERT_EQ(plugin.encode_key(sample.get(), key.data(), key.size()), key.size());
    for (const bool little_endian : {true, false}) {
      const Octets octets = encoding_of(sample, little_endian).value();
      DDS_KeyHash_t hash;
      EXPECT_TRUE(plugin.check(octets.data(), octets.size(), &hash));
      EXPECT_EQ(to_hex(hash), expected);
      Octets transcoded(key.size());
      EXPECT_EQ(plugin.encoded_to_key(octets.data(), octets.size(), transcoded.data(), key.size()), key.size());
      EXPECT_EQ(transcoded, key);
      const AnySample holder(type);
      Stream stream(octets);
      EXPECT_TRUE(type.stream_to_key(holder.get(), stream.get()));
      EXPECT_EQ(hash_of(holder), expected);
    }

    key.resize(key.size() + random() % 9);  // peers pad the key of a dispose
    DDS_KeyHash_t hash;
    EXPECT_TRUE(plugin.check_key(key.data(), key.size(), &hash));
    EXPECT_EQ(to_hex(hash), expected);
    const AnySample holder(type);
    EXPECT_TRUE(plugin.decode_key(holder.get(), key.data(), key.size()));
    AnySample instance(type);
    instance.randomize(random);
    EXPECT_TRUE(plugin.key_to_instance(nullptr, instance.get(), holder.get()));
    EXPECT_EQ(hash_of(instance), expected);
  });
}

TEST(PropertyTest, AnyOctetsAreDecodedSafely) {
  for_types([](const Case& one) {
    AnySample sample(one.type);
    AnyOctets reader(one.type);
    const auto read = [&](const Octets& octets) {
      const std::unique_ptr<std::uint8_t[]> exact(new std::uint8_t[octets.size()]);  // a sanitizer detects an overrun
      std::copy(octets.begin(), octets.end(), exact.get());
      EXPECT_STREQ(reader.broken_rule(exact.get(), octets.size()), nullptr) << to_hex(octets);
    };
    for (int i = 0; i < 8; ++i) {
      sample.randomize(one.random);
      const Octets octets = encoding_of(sample, i % 2 == 0).value();
      const std::size_t step = octets.size() / 60 + 1;  // long encodings are tested at some positions only
      for (std::size_t at = 0; at < octets.size(); at += step) {
        read({octets.begin(), octets.begin() + static_cast<std::ptrdiff_t>(at)});
        constexpr std::uint8_t flips[] = {0x01, 0x40, 0x80, 0xff};
        Octets mutated = octets;
        mutated[at] = static_cast<std::uint8_t>(mutated[at] ^ flips[one.random() % std::size(flips)]);
        read(mutated);
      }
      Octets noise(one.random() % 64);
      for (std::uint8_t& octet : noise) octet = static_cast<std::uint8_t>(one.random() % 8);
      read(noise);
    }
  });
}

}  // namespace
}  // namespace types_test
