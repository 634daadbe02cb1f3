// The samples that the peer exchanges with a device, as their IDL says.
#pragma once

#include "cdr.h"

namespace fastdds_peer {

struct Unit {
  static constexpr const char* type_name = "Tessivar::Unit";
  static Unit decode(const Bytes& encoding);
  static KeyHash key_hash(const Bytes& encoding);

  std::string unit_id;
  std::string name;
  bool has_rc_address = false;
  std::string host;
};

/// The value of a command whose kind is Int.
struct Command {
  static constexpr const char* type_name = "Tessivar::Command";
  static Command decode(const Bytes& encoding);
  static KeyHash key_hash(const Bytes& encoding);

  std::string unit_id;
  std::uint32_t number = 0;
  std::int32_t value = 0;
};

struct Metadata {
  static constexpr const char* type_name = "Tessivar::CommandMetadata";
  static Metadata decode(const Bytes& encoding);
  static KeyHash key_hash(const Bytes& encoding);

  std::string unit_id;
  std::uint32_t number = 0;
  std::string name;
};

struct Source {
  static constexpr const char* type_name = "Tessivar_Routing::Source";
  static Source decode(const Bytes& encoding);
  static KeyHash key_hash(const Bytes& encoding);

  std::string unit_id;
  std::uint16_t matrix = 0;
  std::uint16_t level = 0;
  std::uint32_t index = 0;
  std::string name;
};

struct LogMessage {
  static constexpr const char* type_name = "Tessivar_Logging::LogMessage";
  static LogMessage decode(const Bytes& encoding);
  static KeyHash key_hash(const Bytes& encoding);

  std::string address;
  std::string header;
  std::string value;
  std::uint64_t seconds = 0;
  std::uint32_t nanoseconds = 0;
};

struct Request {
  static constexpr const char* type_name = "Tessivar::CommandChangeRequest";
  static KeyHash key_hash(const Bytes& encoding);
  Bytes encode() const;

  Bytes identity;
  std::uint16_t ticket = 0;
  Command wanted;
};

struct Reply {
  static constexpr const char* type_name = "Tessivar::CommandChangeReply";
  static Reply decode(const Bytes& encoding);
  static KeyHash key_hash(const Bytes& encoding);

  static constexpr std::uint32_t complete = 1;
  static constexpr std::uint32_t failed = 3;

  Bytes identity;
  std::uint16_t ticket = 0;
  std::uint32_t result = 0;
  std::string reason;  // empty without one
};

}  // namespace fastdds_peer
