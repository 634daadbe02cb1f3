// SPDX-License-Identifier: Apache-2.0

// Encodes and decodes CDR with Fast CDR.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <fastcdr/Cdr.h>
#include <stdexcept>
#include <string>
#include <vector>

#include <fastrtps/utils/md5.h>

namespace fastdds_peer {

typedef std::vector<std::uint8_t> Bytes;
typedef std::array<std::uint8_t, 16> KeyHash;

/// Decodes one encoding with its RTPS header, in both octet orders. Throws at its end.
class Decoder {
 public:
  explicit Decoder(const Bytes& encoding)
      : buffer_(const_cast<char*>(reinterpret_cast<const char*>(encoding.data())), encoding.size()) {
    cdr_.read_encapsulation();
  }
  template <class... Members>
  Decoder& read(Members&... members) {
    ((cdr_ >> members), ...);
    return *this;
  }
  /// Returns the length of an optional member, or 0 if it is absent. Its content follows.
  std::uint16_t optional(std::uint16_t member_id) {
    cdr_.jump((4 - cdr_.getSerializedDataLength() % 4) % 4);
    std::uint16_t id = 0;
    std::uint16_t length = 0;
    read(id, length);
    if ((id & 0x3fff) != member_id) throw std::runtime_error("another member than the optional one that was due");
    return length;
  }

 private:
  eprosima::fastcdr::FastBuffer buffer_;
  eprosima::fastcdr::Cdr cdr_{buffer_, eprosima::fastcdr::Cdr::DEFAULT_ENDIAN, eprosima::fastcdr::Cdr::DDS_CDR};
};

template <class... Members>
Bytes encoded(eprosima::fastcdr::Cdr::Endianness order, bool with_header, const Members&... members) {
  char octets[1024] = {};  // padding octets stay zero
  eprosima::fastcdr::FastBuffer buffer(octets, sizeof octets);
  eprosima::fastcdr::Cdr cdr(buffer, order, eprosima::fastcdr::Cdr::DDS_CDR);
  if (with_header) cdr.serialize_encapsulation();
  ((cdr << members), ...);
  return Bytes(octets, octets + cdr.getSerializedDataLength());
}

/// Returns the hash of these key members (DDSI-RTPS 2.3, 9.6.3.8): MD5, as for every key that can exceed 16 octets.
template <class... Members>
KeyHash hash_of(const Members&... members) {
  const Bytes key = encoded(eprosima::fastcdr::Cdr::BIG_ENDIANNESS, false, members...);
  MD5 md5;
  md5.init();
  md5.update(key.data(), static_cast<MD5::size_type>(key.size()));
  md5.finalize();
  return std::to_array(md5.digest);
}

}  // namespace fastdds_peer
