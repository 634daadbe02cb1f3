// SPDX-License-Identifier: Apache-2.0

// The samples that the peer exchanges with a device, encoded as in their IDL.
#pragma once

#include "cdr.h"

namespace fastdds_peer {

struct Unit {
  static constexpr const char* type_name = "Tessivar::Unit";
  static Unit decode(const Bytes& encoding) {
    Unit unit;
    Decoder decoder(encoding);
    decoder.read(unit.unit_id, unit.name);
    decoder.skip<std::string>().skip<std::uint16_t>();                    // type_name, type_id
    decoder.skip<std::string>().skip<std::string>().skip<std::string>();  // topologicalName, location, notes
    const std::uint16_t rc_address = decoder.optional(7);
    unit.has_rc_address = rc_address != 0;
    decoder.jump(rc_address);
    decoder.read(unit.host);
    return unit;
  }
  KeyHash key_hash() const { return hash_of(unit_id); }

  std::string unit_id, name, host;
  bool has_rc_address = false;
};

/// The value of a command of the kind Int.
struct Command {
  static constexpr const char* type_name = "Tessivar::Command";
  static constexpr std::uint32_t int_kind = 1;
  static Command decode(const Bytes& encoding) {
    Command command;
    std::uint32_t kind = 0;
    Decoder(encoding).read(command.unit_id, command.number, kind, command.value);
    if (kind != int_kind) throw std::runtime_error("a value of another kind than Int");
    return command;
  }
  KeyHash key_hash() const { return hash_of(unit_id, number); }

  std::string unit_id;
  std::uint32_t number = 0;
  std::int32_t value = 0;
};

struct Metadata {
  static constexpr const char* type_name = "Tessivar::CommandMetadata";
  static Metadata decode(const Bytes& encoding) {
    Metadata metadata;
    Decoder(encoding).read(metadata.unit_id, metadata.number, metadata.name);
    return metadata;
  }
  KeyHash key_hash() const { return hash_of(unit_id, number); }

  std::string unit_id, name;
  std::uint32_t number = 0;
};

struct Source {
  static constexpr const char* type_name = "Tessivar_Routing::Source";
  static Source decode(const Bytes& encoding) {
    Source source;
    Decoder(encoding).read(source.unit_id, source.matrix, source.level, source.index, source.name);
    return source;
  }
  KeyHash key_hash() const { return hash_of(unit_id, matrix, level, index); }

  std::string unit_id, name;
  std::uint16_t matrix = 0, level = 0;
  std::uint32_t index = 0;
};

struct LogMessage {
  static constexpr const char* type_name = "Tessivar_Logging::LogMessage";
  static LogMessage decode(const Bytes& encoding) {
    LogMessage message;
    Decoder(encoding).read(message.address, message.header, message.value, message.seconds, message.nanoseconds);
    return message;
  }
  KeyHash key_hash() const { return hash_of(address, header); }

  std::string address, header, value;
  std::uint64_t seconds = 0;
  std::uint32_t nanoseconds = 0;
};

struct Request {
  static constexpr const char* type_name = "Tessivar::CommandChangeRequest";
  static Request decode(const Bytes& encoding) {
    Request request;
    Decoder(encoding).read(request.identity);
    return request;
  }
  Bytes encode() const {
    constexpr std::uint64_t at_once = 0;
    return encoded(eprosima::fastcdr::Cdr::LITTLE_ENDIANNESS, true, identity, ticket, wanted.unit_id, wanted.number,
                   Command::int_kind, wanted.value, at_once, std::uint32_t{0});
  }
  KeyHash key_hash() const { return hash_of(identity); }

  Bytes identity;
  std::uint16_t ticket = 0;
  Command wanted;
};

struct Reply {
  static constexpr const char* type_name = "Tessivar::CommandChangeReply";
  static constexpr std::uint32_t complete = 1, failed = 3;
  static Reply decode(const Bytes& encoding) {
    Reply reply;
    Decoder decoder(encoding);
    decoder.read(reply.identity, reply.ticket, reply.result);
    if (decoder.optional(3) != 0) decoder.read(reply.reason);
    return reply;
  }
  KeyHash key_hash() const { return hash_of(identity); }

  Bytes identity;
  std::uint16_t ticket = 0;
  std::uint32_t result = 0;
  std::string reason;  // empty if there is no reason
};

/// Returns the key hash of an encoding, in the form that a topic type needs.
template <class Sample>
KeyHash key_hash_of(const Bytes& encoding) {
  return Sample::decode(encoding).key_hash();
}

}  // namespace fastdds_peer
