#include "samples.h"

#include <stdexcept>

namespace fastdds_peer {
namespace {

constexpr std::uint32_t int_kind = 1;

KeyHash hash_of_command_key(const Bytes& encoding) {
  Decoder decoder(encoding);
  const std::string unit_id = decoder.string();
  return Encoder::key().string(unit_id).u32(decoder.u32()).hash();
}

KeyHash hash_of_identity(const Bytes& encoding) {
  return Encoder::key().octets(Decoder(encoding).octets()).hash();
}

}  // namespace

Unit Unit::decode(const Bytes& encoding) {
  Decoder decoder(encoding);
  Unit unit;
  unit.unit_id = decoder.string();
  unit.name = decoder.string();
  decoder.string();  // type_name
  decoder.u16();     // type_id
  decoder.string();  // topologicalName
  decoder.string();  // location
  decoder.string();  // notes
  const std::uint32_t rc_address = decoder.optional(7);
  unit.has_rc_address = rc_address != 0;
  decoder.skip(rc_address);
  unit.host = decoder.string();
  return unit;
}

KeyHash Unit::key_hash(const Bytes& encoding) {
  return Encoder::key().string(Decoder(encoding).string()).hash();
}

Command Command::decode(const Bytes& encoding) {
  Decoder decoder(encoding);
  Command command;
  command.unit_id = decoder.string();
  command.number = decoder.u32();
  if (decoder.u32() != int_kind) throw std::runtime_error("a value of another kind than Int");
  command.value = static_cast<std::int32_t>(decoder.u32());
  return command;
}

KeyHash Command::key_hash(const Bytes& encoding) {
  return hash_of_command_key(encoding);
}

Metadata Metadata::decode(const Bytes& encoding) {
  Decoder decoder(encoding);
  return {decoder.string(), decoder.u32(), decoder.string()};
}

KeyHash Metadata::key_hash(const Bytes& encoding) {
  return hash_of_command_key(encoding);
}

Source Source::decode(const Bytes& encoding) {
  Decoder decoder(encoding);
  return {decoder.string(), decoder.u16(), decoder.u16(), decoder.u32(), decoder.string()};
}

KeyHash Source::key_hash(const Bytes& encoding) {
  const Source source = decode(encoding);
  return Encoder::key().string(source.unit_id).u16(source.matrix).u16(source.level).u32(source.index).hash();
}

LogMessage LogMessage::decode(const Bytes& encoding) {
  Decoder decoder(encoding);
  return {decoder.string(), decoder.string(), decoder.string(), decoder.u64(), decoder.u32()};
}

KeyHash LogMessage::key_hash(const Bytes& encoding) {
  const LogMessage message = decode(encoding);
  return Encoder::key().string(message.address).string(message.header).hash();
}

Bytes Request::encode() const {
  return Encoder::sample()
      .octets(identity)
      .u16(ticket)
      .string(wanted.unit_id)
      .u32(wanted.number)
      .u32(int_kind)
      .u32(static_cast<std::uint32_t>(wanted.value))
      .u64(0)  // executionTime: at once
      .u32(0)
      .bytes();
}

KeyHash Request::key_hash(const Bytes& encoding) {
  return hash_of_identity(encoding);
}

Reply Reply::decode(const Bytes& encoding) {
  Decoder decoder(encoding);
  Reply reply;
  reply.identity = decoder.octets();
  reply.ticket = decoder.u16();
  reply.result = decoder.u32();
  if (decoder.optional(3) != 0) reply.reason = decoder.string();
  return reply;
}

KeyHash Reply::key_hash(const Bytes& encoding) {
  return hash_of_identity(encoding);
}

}  // namespace fastdds_peer
