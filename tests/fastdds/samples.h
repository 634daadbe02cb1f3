// SPDX-License-Identifier: Apache-2.0

// The samples that the participant exchanges with devices, encoded as in their IDL.
#pragma once

#include "cdr.h"

#include <tuple>
#include <utility>

namespace fastdds_peer {

/// A type whose encoding begins with `Members`. The first `Keys` members are its key.
template <std::size_t Keys, class... Members>
struct Leading {
  typedef std::tuple<Members...> Values;

  static Values read(Decoder& decoder) {
    Values values;
    std::apply([&](auto&... members) { decoder.read(members...); }, values);
    return values;
  }
  static Values decode(const Bytes& encoding) {
    Decoder decoder(encoding);
    return read(decoder);
  }
  /// Returns the key hash of an encoding, in the form that a topic type needs.
  static KeyHash key_hash(const Bytes& encoding) {
    const Values values = decode(encoding);
    return [&]<std::size_t... I>(std::index_sequence<I...>) {
      return hash_of(std::get<I>(values)...);
    }
    (std::make_index_sequence<Keys>());
  }
};

typedef std::string Text;
constexpr std::uint32_t int_kind = 1;

struct Unit : Leading<1, Text, Text> {  // address, name
  static constexpr const char* type_name = "Tessivar::Unit";
};
struct Command : Leading<2, Text, std::uint32_t, std::uint32_t, std::int32_t> {  // unit, number, int_kind, value
  static constexpr const char* type_name = "Tessivar::Command";
};
struct Metadata : Leading<2, Text, std::uint32_t, Text> {  // unit, number, name
  static constexpr const char* type_name = "Tessivar::CommandMetadata";
};
struct Source
    : Leading<4, Text, std::uint16_t, std::uint16_t, std::uint32_t, Text> {  // unit, matrix, level, index, name
  static constexpr const char* type_name = "Tessivar_Routing::Source";
};
struct LogMessage : Leading<2, Text, Text, Text> {  // address, header, value
  static constexpr const char* type_name = "Tessivar_Logging::LogMessage";
};
struct Request : Leading<1, Bytes> {  // identity
  static constexpr const char* type_name = "Tessivar::CommandChangeRequest";
  static Bytes encode(const Bytes& identity, std::uint16_t ticket, const Command::Values& wanted) {
    const auto& [unit, number, kind, value] = wanted;
    constexpr std::uint64_t at_once = 0;
    return encoded(eprosima::fastcdr::Cdr::LITTLE_ENDIANNESS, true, identity, ticket, unit, number, kind, value,
                   at_once, std::uint32_t{0});
  }
};
struct Reply : Leading<1, Bytes, std::uint16_t, std::uint32_t> {  // identity, ticket, result
  static constexpr const char* type_name = "Tessivar::CommandChangeReply";
  static constexpr std::uint32_t complete = 1, failed = 3;
  /// Returns the reason of a reply, or an empty text.
  static Text reason(const Bytes& encoding) {
    Decoder decoder(encoding);
    read(decoder);
    Text reason;
    if (decoder.optional(3) != 0) decoder.read(reason);
    return reason;
  }
};

}  // namespace fastdds_peer
