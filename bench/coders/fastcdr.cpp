// SPDX-License-Identifier: Apache-2.0

// bench_coders_fastcdr: Fast CDR with structures that have the same encodings as this library's types.
#include "bench/coders/measure.h"
#include "bench/coders/samples.h"

#include <fastcdr/Cdr.h>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace tessivar::bench {
namespace {

using eprosima::fastcdr::Cdr;
using eprosima::fastcdr::FastBuffer;

// Each structure has one function for both directions: `cdr & member` reads or writes.

class Writer {
 public:
  explicit Writer(Cdr& cdr) : cdr_(cdr) {}

  template <class T>
  Writer& operator&(T& member) {
    if constexpr (requires { member.walk(*this); })
      member.walk(*this);
    else if constexpr (std::is_enum_v<T>)
      cdr_ << static_cast<std::uint32_t>(member);
    else
      cdr_ << member;
    return *this;
  }
  template <class T>
  Writer& operator&(std::vector<T>& members) {
    cdr_ << static_cast<std::uint32_t>(members.size());
    for (T& member : members) *this& member;
    return *this;
  }
  void align() {
    const std::size_t over = cdr_.getSerializedDataLength() % 4;
    for (std::size_t i = over; i % 4 != 0; ++i) cdr_ << std::uint8_t{0};
  }
  /// Writes a member with the header of a parameter, whose length is padded.
  template <class T>
  void parameter(std::uint16_t id, T& member) {
    align();
    cdr_ << id;
    Cdr::state before = cdr_.getState();
    cdr_ << std::uint16_t{0};
    const std::size_t first = cdr_.getSerializedDataLength();
    *this& member;
    align();
    Cdr::state after = cdr_.getState();
    const auto length = static_cast<std::uint16_t>(cdr_.getSerializedDataLength() - first);
    cdr_.setState(before);
    cdr_ << length;
    cdr_.setState(after);
  }
  template <class T>
  void optional(std::uint16_t id, std::optional<T>& member) {
    align();
    if (member)
      parameter(id, *member);
    else
      cdr_ << id << std::uint16_t{0};
  }
  void end() { cdr_ << end_of_list << std::uint16_t{0}; }

  static constexpr std::uint16_t end_of_list = 0x7f02;

 private:
  Cdr& cdr_;
};

class Reader {
 public:
  explicit Reader(Cdr& cdr) : cdr_(cdr) {}

  template <class T>
  Reader& operator&(T& member) {
    if constexpr (requires { member.walk(*this); }) {
      member.walk(*this);
    } else if constexpr (std::is_enum_v<T>) {
      std::uint32_t value = 0;
      cdr_ >> value;
      member = static_cast<T>(value);
    } else {
      cdr_ >> member;
    }
    return *this;
  }
  template <class T>
  Reader& operator&(std::vector<T>& members) {
    std::uint32_t size = 0;
    cdr_ >> size;
    if (size > 1024) throw std::runtime_error("too many elements");
    members.resize(size);
    for (T& member : members) *this& member;
    return *this;
  }
  void align() { cdr_.jump((4 - cdr_.getSerializedDataLength() % 4) % 4); }
  template <class T>
  void parameter(std::uint16_t id, T& member) {
    if (header(id) == 0) throw std::runtime_error("a parameter is empty");
    *this& member;
  }
  template <class T>
  void optional(std::uint16_t id, std::optional<T>& member) {
    if (header(id) == 0) {
      member.reset();
    } else {
      if (!member) member.emplace();
      *this&* member;
    }
  }
  void end() { header(Writer::end_of_list); }

 private:
  std::uint16_t header(std::uint16_t wanted) {
    align();
    std::uint16_t id = 0;
    std::uint16_t length = 0;
    cdr_ >> id >> length;
    if (id != wanted) throw std::runtime_error("another parameter is expected");
    return length;
  }

  Cdr& cdr_;
};

enum class Kind : std::uint32_t { text, number, boolean, real, event, preset, ipv4 };

struct Value {
  Kind kind = Kind::text;
  std::int32_t number = 0;
  std::string text;
  bool boolean = false;
  float real = 0;
  std::uint8_t unused = 0;

  template <class Stream>
  void walk(Stream& cdr) {
    cdr& kind;
    switch (kind) {
      case Kind::text:
        cdr& text;
        break;
      case Kind::number:
      case Kind::ipv4:
        cdr& number;
        break;
      case Kind::boolean:
        cdr& boolean;
        break;
      case Kind::real:
        cdr& real;
        break;
      case Kind::event:
      case Kind::preset:
        cdr& unused;
    }
  }
};

struct Command {
  std::string unit_id;
  std::uint32_t number = 0;
  Value value;

  template <class Stream>
  void walk(Stream& cdr) {
    cdr& unit_id& number& value;
  }
};

struct Range {
  std::int32_t min = 0;
  std::int32_t max = 0;
  bool min_inclusive = false;
  bool max_inclusive = false;

  template <class Stream>
  void walk(Stream& cdr) {
    cdr& min& max& min_inclusive& max_inclusive;
  }
};

struct Metadata {
  std::string unit_id;
  std::uint32_t number = 0;
  std::string name;
  std::string description;
  std::string urn;
  bool enabled = false;
  Kind type = Kind::text;
  std::optional<Range> range;
  std::vector<Value> allowed;
  Value initial;

  template <class Stream>
  void walk(Stream& cdr) {
    cdr& unit_id& number& name& description& urn& enabled& type;
    cdr.optional(7, range);
    cdr& allowed& initial;
  }
};

struct Level {
  std::uint16_t index = 0;
  std::uint16_t sources = 0;
  std::uint16_t destinations = 0;
  std::string name;

  template <class Stream>
  void walk(Stream& cdr) {
    cdr& index& sources& destinations& name;
  }
};

struct Matrix {
  std::vector<Level> levels;
  std::uint32_t source_associations = 0;
  std::uint32_t destination_associations = 0;
  std::string name;

  template <class Stream>
  void walk(Stream& cdr) {
    cdr& levels& source_associations& destination_associations& name;
  }
};

struct Router {
  std::string unit_id;
  std::string name;
  std::vector<Matrix> matrices;

  template <class Stream>
  void walk(Stream& cdr) {
    cdr& unit_id& name& matrices;
  }
};

struct LatchedError {
  std::string timestamp;
  std::int16_t state = 0;
  std::string value;
  bool acked = false;
  std::string acked_by;
  std::string acked_timestamp;
  std::uint32_t duration = 0;

  template <class Stream>
  void walk(Stream& cdr) {
    cdr& timestamp& state& value& acked& acked_by& acked_timestamp& duration;
  }
};

struct Mask {
  std::uint32_t type = 0;
  std::string tag;
  std::string masked_by;
  std::string masked_on;
  std::string expires;

  template <class Stream>
  void walk(Stream& cdr) {
    cdr& type& tag& masked_by& masked_on& expires;
  }
};

struct LogMessage {
  std::string address;
  std::string header;
  std::string value;
  std::int16_t state = 0;
  std::int16_t unmasked_state = 0;
  std::vector<LatchedError> errors;
  bool masked = false;
  std::vector<Mask> mask_infos;
  std::string title;
  std::string path;

  template <class Stream>
  void walk(Stream& cdr) {
    cdr.parameter(1, address);
    cdr.parameter(2, header);
    cdr.parameter(3, value);
    cdr.parameter(4, state);
    cdr.parameter(5, unmasked_state);
    cdr.parameter(6, errors);
    cdr.parameter(7, masked);
    cdr.parameter(8, mask_infos);
    cdr.parameter(9, title);
    cdr.parameter(10, path);
    cdr.end();
  }
};

template <class T>
class Coder {
 public:
  T& sample() { return sample_; }
  unsigned encode(char* buffer, unsigned room) { return encode(sample_, buffer, room); }
  unsigned encode_decoded(char* buffer, unsigned room) { return encode(decoded_, buffer, room); }
  bool decode(const char* encoding, unsigned length) {
    FastBuffer memory(const_cast<char*>(encoding), length);
    Cdr cdr(memory, Cdr::DEFAULT_ENDIAN, Cdr::DDS_CDR);
    cdr.read_encapsulation();
    Reader reader(cdr);
    decoded_.walk(reader);
    return true;
  }

 private:
  static unsigned encode(T& sample, char* buffer, unsigned room) {
    FastBuffer memory(buffer, room);
    Cdr cdr(memory, Cdr::DEFAULT_ENDIAN, Cdr::DDS_CDR);
    if constexpr (std::is_same_v<T, LogMessage>) cdr.setDDSCdrPlFlag(Cdr::DDS_CDR_WITH_PL);
    cdr.serialize_encapsulation();
    Writer writer(cdr);
    sample.walk(writer);
    return static_cast<unsigned>(cdr.getSerializedDataLength());
  }

  T sample_;
  T decoded_;
};

Value value(std::int32_t number) {
  Value result;
  result.kind = Kind::number;
  result.number = number;
  return result;
}

Value value(const std::string& text) {
  Value result;
  result.text = text;
  return result;
}

Metadata metadata() {
  Metadata result;
  result.unit_id = unit;
  result.number = command_number;
  result.name = metadata_name;
  result.description = metadata_description;
  result.urn = metadata_urn;
  result.enabled = true;
  result.type = Kind::number;
  result.initial = value(int_value);
  return result;
}

Router router() {
  Router result{unit, router_name, std::vector<Matrix>(matrices)};
  for (Matrix& matrix : result.matrices) {
    for (unsigned i = 0; i < levels; ++i)
      matrix.levels.push_back({static_cast<std::uint16_t>(i), level_size, level_size, numbered("level ", i)});
    matrix.source_associations = matrix.destination_associations = associations;
    matrix.name = matrix_name;
  }
  return result;
}

LogMessage log_message() {
  const LatchedError error{time_text, log_state, log_value, true, operator_name, time_text, duration};
  constexpr std::uint32_t timed = 2;
  const Mask mask{timed, mask_tag, operator_name, time_text, time_text};
  return {unit,      log_header,
          log_value, log_state,
          log_state, std::vector<LatchedError>(latched_errors, error),
          true,      std::vector<Mask>(masks, mask),
          log_title, log_path};
}

}  // namespace
}  // namespace tessivar::bench

int main(int argc, char** argv) {
  using namespace tessivar::bench;
  Coder<Command> number;
  number.sample() = {unit, command_number, value(int_value)};
  measure("Command, number", number);

  Coder<Command> text;
  text.sample() = {unit, command_number, value(text_value)};
  measure("Command, text", text);

  Coder<Metadata> small;
  small.sample() = metadata();
  small.sample().range = Range{lowest, highest, true, true};
  measure("CommandMetadata, small", small);

  Coder<Metadata> large;
  large.sample() = metadata();
  for (unsigned i = 0; i < options; ++i) large.sample().allowed.push_back(value(numbered("option ", i)));
  measure("CommandMetadata, 128 options", large);

  Coder<Router> full_router;
  full_router.sample() = router();
  measure("Router, full", full_router);

  Coder<LogMessage> message;
  message.sample() = log_message();
  measure("LogMessageEx2, full", message);
  return run_measurements(argc, argv);
}
