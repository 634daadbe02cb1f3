// SPDX-License-Identifier: Apache-2.0

// The rules that hold for any received octets as a sample or a key of a type.
#pragma once

#include "tests/types/support/encoding.h"

namespace types_test {

inline std::string hash_of(const AnySample& sample) {
  DDS_KeyHash_t hash;
  return sample.type().plugin->instance_to_keyhash(nullptr, &hash, sample.get()) ? to_hex(hash) : "none";
}

/// Decodes octets with all decoders. Its samples keep the content of earlier octets, as the samples of readers do.
class AnyOctets {
 public:
  explicit AnyOctets(const AnyType& type) : type_(type), plugin_(*type.plugin), into_(type), second_(type) {}

  /// Returns the first broken rule, or null if all rules hold.
  const char* broken_rule(const std::uint8_t* octets, std::size_t size) {
    DDS_KeyHash_t hash;
    const bool accepted = plugin_.check(octets, size, &hash);
    if (const char* broken = broken_by_key(octets, size)) return broken;
    if (const char* broken = broken_by_streams({octets, octets + size}, accepted)) return broken;
    if (plugin_.decode(into_.get(), octets, size) != accepted) return "what is checked well is decoded";
    std::uint8_t key[512];
    const std::size_t key_size = plugin_.encoded_to_key(octets, size, key, sizeof key);
    if (!accepted) return nullptr;

    DDS_KeyHash_t hash_of_key;
    if (!plugin_.check_key(key, key_size, &hash_of_key)) return "the key of a sample is a key";
    if (to_hex(hash_of_key) != to_hex(hash)) return "the key of a sample has its hash";
    if (hash_of(into_) != to_hex(hash)) return "the decoded sample has the hash of its encoding";

    second_.reset();
    if (!plugin_.decode(second_.get(), octets, size) || second_.text() != into_.text())
      return "what was in a sample does not matter";
    return broken_by_value();
  }

 private:
  const char* broken_by_key(const std::uint8_t* octets, std::size_t size) {
    DDS_KeyHash_t hash;
    if (!plugin_.check_key(octets, size, &hash)) return nullptr;
    if (!plugin_.decode_key(second_.get(), octets, size)) return "a key that is checked well is decoded";
    return hash_of(second_) == to_hex(hash) ? nullptr : "a decoded key has the hash of its encoding";
  }

  /// The functions on streams do not read the padding after a sample; their caller does.
  const char* broken_by_streams(const Octets& octets, bool accepted) {
    Stream stream(octets), skipped(octets), hashed(octets), keyed(octets);
    void* into = second_.get();
    DDS_KeyHash_t hash;
    const RTIBool good = plugin_.deserialize(nullptr, &into, nullptr, stream.get(), RTI_TRUE, RTI_TRUE, nullptr);
    if ((good && octets.size() - stream.position() <= 3) != accepted) return "a stream holds what a buffer holds";
    if (type_.skip(nullptr, skipped.get(), RTI_TRUE, RTI_TRUE, nullptr) != good ||
        plugin_.serialized_sample_to_keyhash(nullptr, hashed.get(), &hash, RTI_TRUE, nullptr) != good ||
        type_.stream_to_key(second_.get(), keyed.get()) != good)
      return "what is decoded is skipped";
    return skipped.position() == stream.position() && hashed.position() == stream.position() &&
                   keyed.position() == stream.position()
               ? nullptr
               : "all end at the same octet";
  }

  /// A decoded value follows the same rules as every other value.
  const char* broken_by_value() {
    const std::string text = into_.text();
    for (const bool little_endian : {true, false}) {
      const auto again = encoding_of(into_, little_endian);  // a buffer for the largest encoding
      if (!again || again->size() < type_.min_size(nullptr, RTI_TRUE, 0, 0)) return "it encodes within the bounds";
      if (!decode(second_, *again) || second_.text() != text) return "it decodes to the same value";
      if (encoding_of(second_, little_endian) != again) return "it encodes the same again";
      if (plugin_.encoded_size(into_.get()) != again->size()) return "its size is known";
    }
    second_.reset();
    if (!plugin_.copy_sample(nullptr, second_.get(), into_.get()) || second_.text() != text)
      return "it is copied whole";
    return nullptr;
  }

  const AnyType& type_;
  const PRESTypePlugin& plugin_;
  AnySample into_;
  AnySample second_;
};

}  // namespace types_test
