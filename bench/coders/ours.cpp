// SPDX-License-Identifier: Apache-2.0

// bench_coders_ours: the coders of this library.
#include "bench/coders/measure.h"
#include "bench/coders/samples.h"
#include "bench/common/program.h"
#include "tessivar/tessivar.h"

#include <cstdlib>

namespace tessivar::bench {
namespace {

const bool slower = std::getenv("TESSIVAR_BENCH_SLOW_DOWN") != nullptr;

template <class T, auto Serialize, auto Deserialize>
class Coder {
 public:
  T& sample() { return sample_; }
  unsigned encode(char* buffer, unsigned room) { return encode(sample_, buffer, room); }
  unsigned encode_decoded(char* buffer, unsigned room) { return encode(decoded_, buffer, room); }
  bool decode(const char* encoding, unsigned length) {
    if (slower) slow_down();
    return Deserialize(&decoded_, encoding, length) != 0;
  }

 private:
  static unsigned encode(const T& sample, char* buffer, unsigned room) {
    if (slower) slow_down();
    return Serialize(buffer, &room, &sample) != 0 ? room : 0;
  }

  T& sample_ = *T::TypeSupport::create_data();
  T& decoded_ = *T::TypeSupport::create_data();
};

template <class T>
void set_key(T& sample) {
  DDS_String_replace(&sample.unitId, unit);
  sample.commandNumber = command_number;
}

void fill(Tessivar::CommandMetadata& metadata) {
  set_key(metadata);
  DDS_String_replace(&metadata.name, metadata_name);
  DDS_String_replace(&metadata.description, metadata_description);
  DDS_String_replace(&metadata.urn, metadata_urn);
  metadata.enabled = DDS_BOOLEAN_TRUE;
  metadata.type = metadata.defaultValue._d = Tessivar::Int;
  metadata.defaultValue._u.intValue = int_value;
}

void fill(Tessivar_Routing::Router& router) {
  DDS_String_replace(&router.unitId, unit);
  DDS_String_replace(&router.name, router_name);
  router.matrices.ensure_length(matrices, matrices);
  for (unsigned i = 0; i < matrices; ++i) {
    Tessivar_Routing::Matrix& matrix = router.matrices[static_cast<DDS_Long>(i)];
    DDS_String_replace(&matrix.name, matrix_name);
    matrix.numberOfSourceAssociations = matrix.numberOfDestAssociations = associations;
    matrix.levels.ensure_length(levels, levels);
    for (unsigned j = 0; j < levels; ++j) {
      Tessivar_Routing::Level& level = matrix.levels[static_cast<DDS_Long>(j)];
      level.index = static_cast<DDS_UnsignedShort>(j);
      level.numberOfSources = level.numberOfDests = level_size;
      DDS_String_replace(&level.name, numbered("level ", j).c_str());
    }
  }
}

void fill(Tessivar_Logging::LogMessageEx2& message) {
  DDS_String_replace(&message.address, unit);
  DDS_String_replace(&message.header, log_header);
  DDS_String_replace(&message.value, log_value);
  message.state = message.unmasked_state = log_state;
  message.latched_errors.ensure_length(latched_errors, latched_errors);
  for (unsigned i = 0; i < latched_errors; ++i) {
    Tessivar_Logging::LatchedErrorInfo& error = message.latched_errors[static_cast<DDS_Long>(i)];
    DDS_String_replace(&error.timestamp, time_text);
    error.state = log_state;
    DDS_String_replace(&error.value, log_value);
    error.acked = DDS_BOOLEAN_TRUE;
    DDS_String_replace(&error.acked_by, operator_name);
    DDS_String_replace(&error.acked_timestamp, time_text);
    error.duration = duration;
  }
  message.is_masked = DDS_BOOLEAN_TRUE;
  message.mask_info.ensure_length(masks, masks);
  for (unsigned i = 0; i < masks; ++i) {
    Tessivar_Logging::MaskInfo& mask = message.mask_info[static_cast<DDS_Long>(i)];
    mask.mask_type = Tessivar_Logging::Timed;
    DDS_String_replace(&mask.tag, mask_tag);
    DDS_String_replace(&mask.masked_by, operator_name);
    DDS_String_replace(&mask.masked_on, time_text);
    DDS_String_replace(&mask.mask_expires, time_text);
  }
  DDS_String_replace(&message.title, log_title);
  DDS_String_replace(&message.path, log_path);
}

}  // namespace
}  // namespace tessivar::bench

int main(int argc, char** argv) {
  using namespace tessivar::bench;
  TessivarDDS::ReadableLogger::install();  // the default logger writes to standard output, where the results are
  typedef Coder<Tessivar::Command, Tessivar::CommandPlugin_serialize_to_cdr_buffer,
                Tessivar::CommandPlugin_deserialize_from_cdr_buffer>
      CommandCoder;
  typedef Coder<Tessivar::CommandMetadata, Tessivar::CommandMetadataPlugin_serialize_to_cdr_buffer,
                Tessivar::CommandMetadataPlugin_deserialize_from_cdr_buffer>
      MetadataCoder;

  CommandCoder number;
  set_key(number.sample());
  number.sample().value._d = Tessivar::Int;
  number.sample().value._u.intValue = int_value;
  measure("Command, number", number);

  CommandCoder text;
  set_key(text.sample());
  DDS_String_replace(&text.sample().value._u.stringValue, text_value);
  measure("Command, text", text);

  MetadataCoder small;
  fill(small.sample());
  Tessivar::Range*& range = small.sample().validRange;
  range = Tessivar::RangePluginSupport_create_data();
  *range = {lowest, highest, DDS_BOOLEAN_TRUE, DDS_BOOLEAN_TRUE};
  measure("CommandMetadata, small", small);

  MetadataCoder large;
  fill(large.sample());
  large.sample().allowedValues.ensure_length(options, options);
  for (unsigned i = 0; i < options; ++i) {
    Tessivar::CommandValue& value = large.sample().allowedValues[static_cast<DDS_Long>(i)];
    value._d = Tessivar::String;
    DDS_String_replace(&value._u.stringValue, numbered("option ", i).c_str());
  }
  measure("CommandMetadata, 128 options", large);

  Coder<Tessivar_Routing::Router, Tessivar_Routing::RouterPlugin_serialize_to_cdr_buffer,
        Tessivar_Routing::RouterPlugin_deserialize_from_cdr_buffer>
      router;
  fill(router.sample());
  measure("Router, full", router);

  Coder<Tessivar_Logging::LogMessageEx2, Tessivar_Logging::LogMessageEx2Plugin_serialize_to_cdr_buffer,
        Tessivar_Logging::LogMessageEx2Plugin_deserialize_from_cdr_buffer>
      message;
  fill(message.sample());
  measure("LogMessageEx2, full", message);

  return run_measurements(argc, argv);
}
