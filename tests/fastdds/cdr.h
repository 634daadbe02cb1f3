// Just enough CDR to understand and make a few samples without the library: what another maker would write.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace fastdds_peer {

typedef std::vector<std::uint8_t> Bytes;
typedef std::array<std::uint8_t, 16> KeyHash;

/// Reads one encoding that begins with its RTPS header, in either byte order. Throws std::runtime_error at its end.
class Decoder {
 public:
  explicit Decoder(const Bytes& encoding);

  std::uint8_t octet();
  std::uint16_t u16();
  std::uint32_t u32();
  std::uint64_t u64();
  std::string string();
  Bytes octets();
  /// Length of an optional member, 0 when it is absent; its contents come next.
  std::uint32_t optional(std::uint32_t member_id);
  void skip(std::size_t count);

 private:
  std::uint64_t number(std::size_t size);
  void align(std::size_t size);
  const std::uint8_t* take(std::size_t count);

  const Bytes& encoding_;
  std::size_t position_ = 4;
  bool little_ = true;
};

/// Makes one encoding; alignment counts from the end of the header, if there is one.
class Encoder {
 public:
  /// A sample: little-endian, with a header.
  static Encoder sample() { return Encoder(true, {0, 1, 0, 0}); }
  /// The key members for a key hash: big-endian, without a header (DDSI-RTPS 2.3, 9.6.3.8).
  static Encoder key() { return Encoder(false, {}); }

  Encoder& octet(std::uint8_t value) { return number(value, 1); }
  Encoder& u16(std::uint16_t value) { return number(value, 2); }
  Encoder& u32(std::uint32_t value) { return number(value, 4); }
  Encoder& u64(std::uint64_t value) { return number(value, 8); }
  Encoder& string(const std::string& text);
  Encoder& octets(const Bytes& values);

  const Bytes& bytes() const { return bytes_; }
  /// The MD5 digest, as for every key that can be longer than 16 octets.
  KeyHash hash() const;

 private:
  Encoder(bool little, Bytes header) : bytes_(std::move(header)), origin_(bytes_.size()), little_(little) {}
  Encoder& number(std::uint64_t value, std::size_t size);

  Bytes bytes_;
  std::size_t origin_;
  bool little_;
};

}  // namespace fastdds_peer
