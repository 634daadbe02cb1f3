// SPDX-License-Identifier: Apache-2.0

// Tests rules that hold for every sample of every type, with random samples, and for any received octets.
#include "tests/types/support/any_octets.h"

#include <memory>

#include <gtest/gtest.h>

namespace types_test {
namespace {

/// Calls `test(type, random)` for every type.
template <class Test>
void for_types(Test&& test) {
  Random random(20240102);
  for (const AnyType& type : all_types()) {
    SCOPED_TRACE(type.name);
    test(type, random);
    if (::testing::Test::HasFailure()) return;
  }
}

/// Checks the rules for an exact copy of the octets, so that a sanitizer detects an overrun.
void expect_rules(AnyOctets& reader, const Octets& octets) {
  const std::unique_ptr<std::uint8_t[]> exact(new std::uint8_t[octets.size()]);
  std::copy(octets.begin(), octets.end(), exact.get());
  EXPECT_STREQ(reader.broken_rule(exact.get(), octets.size()), nullptr) << to_hex(octets);
}

TEST(PropertyTest, SamplesAreDecodedWithoutChange) {
  for_types([](const AnyType& type, Random& random) {
    EXPECT_EQ(type.plugin->get_key_kind(), type.keyed ? PRES_TYPEPLUGIN_USER_KEY : PRES_TYPEPLUGIN_NO_KEY);
    AnySample sample(type);
    AnyOctets reader(type);
    for (int i = 0; i < 60; ++i) {
      sample.randomize(random);
      auto octets = encoding_of(sample, i % 2 == 0);
      ASSERT_TRUE(octets);
      expect_rules(reader, *octets);
      const AnySample read(type);
      for (int padding = 0; padding <= 4; ++padding) {
        ASSERT_EQ(decode(read, *octets), padding <= 3) << padding;
        EXPECT_TRUE(padding > 3 || same(read, sample)) << padding;
        octets->push_back(0);
      }
    }
  });
}

TEST(PropertyTest, AnyOctetsAreDecodedSafely) {
  for_types([](const AnyType& type, Random& random) {
    AnySample sample(type);
    AnyOctets reader(type);
    for (int i = 0; i < 8; ++i) {
      sample.randomize(random);
      const Octets octets = encoding_of(sample, i % 2 == 0).value();
      const std::size_t step = octets.size() / 60 + 1;  // long encodings are tested at some positions only
      for (std::size_t at = 0; at < octets.size(); at += step) {
        expect_rules(reader, {octets.begin(), octets.begin() + static_cast<std::ptrdiff_t>(at)});
        constexpr std::uint8_t flips[] = {0x01, 0x40, 0x80, 0xff};
        Octets mutated = octets;
        mutated[at] = static_cast<std::uint8_t>(mutated[at] ^ flips[random() % std::size(flips)]);
        expect_rules(reader, mutated);
      }
      Octets noise(random() % 64);
      for (std::uint8_t& octet : noise) octet = static_cast<std::uint8_t>(random() % 8);
      expect_rules(reader, noise);
    }
  });
}

}  // namespace
}  // namespace types_test
