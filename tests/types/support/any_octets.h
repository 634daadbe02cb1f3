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
  explicit AnyOctets(const AnyType& type)
      : type_(type), plugin_(*type.plugin), into_(type), second_(type), key_(type) {}

  /// Returns the first broken rule, or null if all rules hold.
  const char* broken_rule(const std::uint8_t* octets, std::size_t size) {
    DDS_KeyHash_t hash;
    const bool accepted = plugin_.check(octets, size, &hash);
    if (const char* broken = broken_by_key(octets, size)) return broken;
    const std::string expected = accepted ? to_hex(hash) : "";
    if (const char* broken = broken_by_streams({octets, octets + size}, accepted, expected)) return broken;
    if (plugin_.decode(into_.get(), octets, size) != accepted) return "what is checked well is decoded";
    Octets key(520);  // with space for padding
    const std::size_t key_size = plugin_.encoded_to_key(octets, size, key.data(), 512);
    if (!accepted) return nullptr;
    if (hash_of(into_) != expected) return "the decoded sample has the hash of its encoding";
    const std::size_t padded = key_size + size % 9;  // peers pad the key of a dispose
    if (!plugin_.check_key(key.data(), padded, &hash)) return "the key of a sample is a key";
    if (to_hex(hash) != expected) return "the key of a sample has its hash";
    key.resize(key_size);
    if (const char* broken = type_.keyed ? broken_by_key_of_sample(key, expected) : nullptr) return broken;

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

  /// `key` is the key of the decoded sample.
  const char* broken_by_key_of_sample(const Octets& key, const std::string& expected) {
    if (key.size() > type_.max_key_size(nullptr, RTI_TRUE, 0, 0)) return "a key is within its bounds";
    Octets own(plugin_.encode_key(into_.get(), nullptr, 0));
    if (plugin_.encode_key(into_.get(), own.data(), own.size()) != own.size() || own != key)
      return "the key of a sample is that of its encoding";
    for (AnySample* each : {&second_, &key_}) each->reset();
    const bool good = plugin_.decode_key(key_.get(), key.data(), key.size()) &&
                      plugin_.key_to_instance(nullptr, second_.get(), key_.get()) && hash_of(second_) == expected;
    return good ? nullptr : "an instance that is made from the key has its hash";
  }

  /// The functions on streams do not read the padding after a sample; their caller does.
  const char* broken_by_streams(const Octets& octets, bool accepted, const std::string& expected) {
    Stream stream(octets), skipped(octets), hashed(octets), keyed(octets);
    void* into = second_.get();
    DDS_KeyHash_t hash;
    key_.reset();
    const RTIBool good = plugin_.deserialize(nullptr, &into, nullptr, stream.get(), RTI_TRUE, RTI_TRUE, nullptr);
    if ((good && octets.size() - stream.position() <= 3) != accepted) return "a stream holds what a buffer holds";
    if (type_.skip(nullptr, skipped.get(), RTI_TRUE, RTI_TRUE, nullptr) != good ||
        plugin_.serialized_sample_to_keyhash(nullptr, hashed.get(), &hash, RTI_TRUE, nullptr) != good ||
        type_.stream_to_key(key_.get(), keyed.get()) != good)
      return "what is decoded is skipped";
    if (accepted && (to_hex(hash) != expected || hash_of(key_) != expected)) return "a stream gives the same key";
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
      Octets tight(again->size() - 1);
      Stream tight_stream(tight);
      if (plugin_.encode(into_.get(), tight.data(), tight.size()) ||
          plugin_.serialize(nullptr, into_.get(), tight_stream.get(), RTI_TRUE, 1, RTI_TRUE, nullptr))
        return "a buffer that is too short is refused";
    }
    for (unsigned int alignment = 0; alignment < 16; alignment += 3) {
      const unsigned int size = plugin_.get_serialized_sample_size(nullptr, RTI_FALSE, 0, alignment, into_.get());
      if (size > plugin_.get_serialized_sample_max_size(nullptr, RTI_FALSE, 0, alignment) ||
          size < type_.min_size(nullptr, RTI_FALSE, 0, alignment))
        return "its size is within the bounds at any place";
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
  AnySample key_;
};

}  // namespace types_test
