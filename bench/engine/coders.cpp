// SPDX-License-Identifier: Apache-2.0

// bench_coders_engine: the engine's own coder, with types of its IDL compiler.
#include "bench/coders/measure.h"
#include "bench/coders/samples.h"
#include "types.h"

#include <cstdio>
#include <cstring>
#include <memory>

#include <dds/dds.h>
#include <dds/ddsi/ddsi_cdrstream.h>
#include <dds/ddsi/ddsi_serdata_default.h>

namespace tessivar::bench {
namespace {

/// Encodes and decodes without the first four octets, which name the encoding.
template <class T>
class Coder {
 public:
  explicit Coder(const dds_topic_descriptor_t& descriptor)
      : version_(dds_stream_minimum_xcdr_version(descriptor.m_ops)) {
    type_.type.size = descriptor.m_size;
    type_.type.align = descriptor.m_align;
    type_.type.flagset = descriptor.m_flagset;
    type_.type.ops.ops = const_cast<std::uint32_t*>(descriptor.m_ops);
    type_.type.ops.nops = dds_stream_countops(descriptor.m_ops, descriptor.m_nkeys, descriptor.m_keys);
    type_.opt_size_xcdr1 = dds_stream_check_optimize(&type_.type, CDR_ENC_VERSION_1);
    type_.opt_size_xcdr2 = dds_stream_check_optimize(&type_.type, CDR_ENC_VERSION_2);
  }

  T& sample() { return *sample_; }
  unsigned encode(char* buffer, unsigned room) { return encode(*sample_, buffer, room); }
  unsigned encode_decoded(char* buffer, unsigned room) { return encode(*decoded_, buffer, room); }
  bool decode(const char* encoding, unsigned length) {
    std::uint32_t size = 0;
    if (!dds_stream_normalize(const_cast<char*>(encoding), length, false, version_, &type_, false, &size)) return false;
    dds_istream_t stream;
    dds_istream_init(&stream, size, encoding, version_);
    dds_stream_read_sample(&stream, decoded_.get(), &type_);
    dds_istream_fini(&stream);
    return true;
  }

 private:
  unsigned encode(const T& sample, char* buffer, unsigned room) {
    // The engine's stream writes into memory that it may enlarge; this memory is large enough.
    dds_ostream_t stream = {reinterpret_cast<unsigned char*>(buffer), room, 0, version_};
    return dds_stream_write_sample(&stream, &sample, &type_) ? stream.m_index : 0;
  }

  const std::uint32_t version_;
  ddsi_sertype_default type_ = {};
  const std::unique_ptr<T> sample_ = std::make_unique<T>();
  const std::unique_ptr<T> decoded_ = std::make_unique<T>();
};

template <std::size_t Size>
void set(char (&to)[Size], const std::string& text) {
  std::snprintf(to, Size, "%s", text.c_str());
}

/// Gives a sequence zeroed elements; they live as long as the process.
template <class Sequence>
void resize(Sequence& sequence, unsigned length) {
  sequence._length = sequence._maximum = length;
  sequence._buffer = static_cast<decltype(sequence._buffer)>(dds_alloc(length * sizeof *sequence._buffer));
  sequence._release = true;
}

template <class T>
void set_key(T& sample) {
  set(sample.unitId, unit);
  sample.commandNumber = command_number;
}

void fill(Bench_Metadata& metadata) {
  set_key(metadata);
  set(metadata.name, metadata_name);
  set(metadata.description, metadata_description);
  set(metadata.urn, metadata_urn);
  metadata.enabled = true;
  metadata.type = metadata.defaultValue._d = Bench_Int;
  metadata.defaultValue._u.intValue = int_value;
}

void fill(Bench_Router& router) {
  set(router.unitId, unit);
  set(router.name, router_name);
  resize(router.matrices, matrices);
  for (unsigned i = 0; i < matrices; ++i) {
    Bench_Matrix& matrix = router.matrices._buffer[i];
    set(matrix.name, matrix_name);
    matrix.numberOfSourceAssociations = matrix.numberOfDestAssociations = associations;
    resize(matrix.levels, levels);
    for (unsigned j = 0; j < levels; ++j) {
      Bench_Level& level = matrix.levels._buffer[j];
      level.index = static_cast<std::uint16_t>(j);
      level.numberOfSources = level.numberOfDests = level_size;
      set(level.name, numbered("level ", j));
    }
  }
}

void fill(Bench_LogMessageEx2& message) {
  set(message.address, unit);
  set(message.header, log_header);
  set(message.value, log_value);
  message.state = message.unmasked_state = log_state;
  resize(message.latched_errors, latched_errors);
  for (unsigned i = 0; i < latched_errors; ++i) {
    Bench_LatchedErrorInfo& error = message.latched_errors._buffer[i];
    set(error.timestamp, time_text);
    error.state = log_state;
    set(error.value, log_value);
    error.acked = true;
    set(error.acked_by, operator_name);
    set(error.acked_timestamp, time_text);
    error.duration = duration;
  }
  message.is_masked = true;
  resize(message.mask_info, masks);
  for (unsigned i = 0; i < masks; ++i) {
    constexpr std::uint32_t timed = 2;
    Bench_MaskInfo& mask = message.mask_info._buffer[i];
    mask.mask_type = timed;
    set(mask.tag, mask_tag);
    set(mask.masked_by, operator_name);
    set(mask.masked_on, time_text);
    set(mask.mask_expires, time_text);
  }
  set(message.title, log_title);
  set(message.path, log_path);
}

}  // namespace
}  // namespace tessivar::bench

int main(int argc, char** argv) {
  using namespace tessivar::bench;
  Coder<Bench_Command> number(Bench_Command_desc);
  set_key(number.sample());
  number.sample().value._d = Bench_Int;
  number.sample().value._u.intValue = int_value;
  measure("Command, number", number);

  Coder<Bench_Command> text(Bench_Command_desc);
  set_key(text.sample());
  text.sample().value._d = Bench_String;
  set(text.sample().value._u.stringValue, text_value);
  measure("Command, text", text);

  Coder<Bench_Metadata> small(Bench_Metadata_desc);
  fill(small.sample());
  Bench_Range range = {lowest, highest, true, true};
  small.sample().validRange = &range;
  measure("CommandMetadata, small", small);

  Coder<Bench_Metadata> large(Bench_Metadata_desc);
  fill(large.sample());
  resize(large.sample().allowedValues, options);
  for (unsigned i = 0; i < options; ++i) {
    Bench_CommandValue& value = large.sample().allowedValues._buffer[i];
    value._d = Bench_String;
    set(value._u.stringValue, numbered("option ", i));
  }
  measure("CommandMetadata, 128 options", large);

  Coder<Bench_Router> router(Bench_Router_desc);
  fill(router.sample());
  measure("Router, full", router);

  Coder<Bench_LogMessageEx2> message(Bench_LogMessageEx2_desc);
  fill(message.sample());
  measure("LogMessageEx2, full", message);
  return run_measurements(argc, argv);
}
