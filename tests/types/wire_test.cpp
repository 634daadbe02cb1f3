// SPDX-License-Identifier: Apache-2.0

// Tests the encodings with those of tests/types/data/wire.json, which are made without the library.
#include "tests/support/source_file.h"
#include "tests/types/support/any_octets.h"

#include <fstream>

#include <gtest/gtest.h>

namespace types_test {
namespace {

const json& entries(const char* list) {
  static const json document = json::parse(std::ifstream(tessivar::testing::source_file("tests/types/data/wire.json")));
  return document.at(list);
}

/// One encoding, with the names of its dialect and octet order.
struct Encoding {
  std::string name;
  Octets octets;
};

/// A value and all encodings of it that must be decoded.
struct Vector {
  explicit Vector(const json& its_entry)
      : entry(its_entry), sample(entry.at("type").get<std::string>(), entry.at("value")) {
    add("write", entry.at("write"));
    if (entry.contains("read_too"))
      for (const auto& [dialect, orders] : entry.at("read_too").items()) add(dialect, orders);
  }
  void add(const std::string& dialect, const json& orders) {
    for (const auto& [order, hex] : orders.items()) readable.push_back({dialect + "/" + order, from_hex(hex)});
  }

  const json& entry;
  AnySample sample;
  const PRESTypePlugin& plugin = *sample.type().plugin;
  std::vector<Encoding> readable;
};

template <class Test>
void for_vectors(Test&& test) {
  for (const json& entry : entries("vectors")) {
    SCOPED_TRACE(entry.at("id"));
    test(Vector(entry));
  }
}

TEST(WireVectorTest, EncodesEveryVector) {
  for_vectors([](const Vector& vector) {
    const auto& [entry, sample, plugin, readable] = vector;
    for (const bool little_endian : {true, false}) {
      const std::string expected = entry.at("write").at(little_endian ? "le" : "be");
      const auto encoding = encoding_of(sample, little_endian);
      ASSERT_TRUE(encoding);
      EXPECT_EQ(to_hex(*encoding), expected);
      EXPECT_EQ(plugin.get_serialized_sample_size(nullptr, RTI_TRUE, 0, 0, sample.get()), expected.size() / 2);
      if (little_endian != host_is_little_endian) continue;
      Octets buffer(plugin.encoded_size(sample.get()));
      EXPECT_TRUE(plugin.encode(sample.get(), buffer.data(), buffer.size()));
      EXPECT_EQ(to_hex(buffer), expected);
    }
  });
}

TEST(WireVectorTest, DecodesEveryDialectAndComputesItsKeyHash) {
  for_vectors([](const Vector& vector) {
    const auto& [entry, sample, plugin, readable] = vector;
    EXPECT_EQ(entry.contains("key_hash"), sample.type().keyed);
    const std::string expected = entry.value("key_hash", std::string(32, '0'));
    EXPECT_EQ(hash_of(sample), expected);
    AnyOctets reader(sample.type());
    for (const auto& [name, octets] : readable) {
      SCOPED_TRACE(name);
      const AnySample read(sample.type());
      ASSERT_TRUE(decode(read, octets));
      EXPECT_TRUE(same(read, sample)) << read.text();
      EXPECT_STREQ(reader.broken_rule(octets.data(), octets.size()), nullptr);
      DDS_KeyHash_t hash;
      EXPECT_TRUE(plugin.check(octets.data(), octets.size(), &hash));
      EXPECT_EQ(to_hex(hash), expected);
    }
  });
}

TEST(WireVectorTest, AcceptsOrRefusesMalformedVectorsAsListed) {
  for (const json& entry : entries("malformed")) {
    SCOPED_TRACE(entry.at("id"));
    const bool accepted = entry.at("verdict") == "accept";
    const Octets octets = from_hex(entry.at("hex"));
    const AnySample sample(entry.at("type").get<std::string>());
    DDS_KeyHash_t hash;
    EXPECT_EQ(decode(sample, octets), accepted) << entry.at("note");
    EXPECT_EQ(sample.type().plugin->check(octets.data(), octets.size(), &hash), accepted) << entry.at("note");
  }
}

}  // namespace
}  // namespace types_test
