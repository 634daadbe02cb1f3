#include "cdr.h"

#include <stdexcept>

#include <fastrtps/utils/md5.h>

namespace fastdds_peer {

Decoder::Decoder(const Bytes& encoding) : encoding_(encoding) {
  if (encoding.size() < 4 || encoding[0] != 0 || encoding[1] > 1) throw std::runtime_error("not a CDR sample");
  little_ = encoding[1] == 1;
}

const std::uint8_t* Decoder::take(std::size_t count) {
  if (encoding_.size() - position_ < count) throw std::runtime_error("the encoding ends too early");
  const std::uint8_t* const start = encoding_.data() + position_;
  position_ += count;
  return start;
}

void Decoder::skip(std::size_t count) {
  take(count);
}

void Decoder::align(std::size_t size) {
  skip((size - (position_ - 4) % size) % size);
}

std::uint64_t Decoder::number(std::size_t size) {
  align(size);
  const std::uint8_t* const start = take(size);
  std::uint64_t value = 0;
  for (std::size_t i = 0; i < size; ++i) value = value << 8 | start[little_ ? size - 1 - i : i];
  return value;
}

std::uint8_t Decoder::octet() {
  return static_cast<std::uint8_t>(number(1));
}
std::uint16_t Decoder::u16() {
  return static_cast<std::uint16_t>(number(2));
}
std::uint32_t Decoder::u32() {
  return static_cast<std::uint32_t>(number(4));
}
std::uint64_t Decoder::u64() {
  return number(8);
}

std::string Decoder::string() {
  const Bytes text = octets();
  if (text.empty() || text.back() != 0) throw std::runtime_error("a string without its terminator");
  return std::string(text.begin(), text.end() - 1);
}

Bytes Decoder::octets() {
  const std::uint32_t count = u32();
  const std::uint8_t* const start = take(count);
  return Bytes(start, start + count);
}

std::uint32_t Decoder::optional(std::uint32_t member_id) {
  align(4);
  const std::uint16_t id = u16();
  const std::uint16_t length = u16();
  if ((id & 0x3fff) != member_id) throw std::runtime_error("another member than the optional one that was due");
  return length;
}

Encoder& Encoder::number(std::uint64_t value, std::size_t size) {
  while ((bytes_.size() - origin_) % size != 0) bytes_.push_back(0);
  for (std::size_t i = 0; i < size; ++i)
    bytes_.push_back(static_cast<std::uint8_t>(value >> 8 * (little_ ? i : size - 1 - i)));
  return *this;
}

Encoder& Encoder::string(const std::string& text) {
  Bytes terminated(text.begin(), text.end());
  terminated.push_back(0);
  return octets(terminated);
}

Encoder& Encoder::octets(const Bytes& values) {
  u32(static_cast<std::uint32_t>(values.size()));
  bytes_.insert(bytes_.end(), values.begin(), values.end());
  return *this;
}

KeyHash Encoder::hash() const {
  MD5 md5;
  md5.init();
  md5.update(bytes_.data(), static_cast<MD5::size_type>(bytes_.size()));
  md5.finalize();
  return std::to_array(md5.digest);
}

}  // namespace fastdds_peer
