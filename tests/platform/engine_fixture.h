// A small keyed type and helpers for the tests of the engine seam.
#pragma once

#include "tessivar/platform/engine.h"

#include <chrono>
#include <condition_variable>
#include <cstring>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

#include <gtest/gtest.h>

namespace engine_test {

using namespace tessivar::platform;
using namespace std::chrono_literals;

// --- the type: { key unsigned long id; unsigned long value; sequence<octet> payload; }
// --------------------------------

inline std::uint32_t get32(const std::uint8_t* at) {
  std::uint32_t value;
  std::memcpy(&value, at, sizeof value);
  return value;
}

inline void put32(std::uint8_t* at, std::uint32_t value) {
  std::memcpy(at, &value, sizeof value);
}

inline void hash_of(std::uint32_t id, std::uint8_t (&hash)[16]) {
  for (std::uint32_t i = 0; i < 16; ++i) hash[i] = static_cast<std::uint8_t>((id >> (8 * (i % 4))) + i);
}

constexpr std::size_t header_size = 16;  // encapsulation, id, value, length of the payload

inline bool check(const std::uint8_t* bytes, std::size_t size, DDS_KeyHash_t* hash) {
  if (size < header_size || bytes[1] != 1) return false;
  const std::size_t whole = header_size + get32(bytes + 12);
  if (whole > size || size - whole > 3) return false;
  hash_of(get32(bytes + 4), hash->value);
  hash->length = 16;
  return true;
}

inline bool check_key(const std::uint8_t* bytes, std::size_t size, DDS_KeyHash_t* hash) {
  if (size < 8 || bytes[1] != 1) return false;
  for (std::size_t i = 8; i < size; ++i)
    if (bytes[i] != 0) return false;
  hash_of(get32(bytes + 4), hash->value);
  hash->length = 16;
  return true;
}

inline std::size_t encoded_to_key(const std::uint8_t* encoded, std::size_t, std::uint8_t* buffer,
                                  std::size_t capacity) {
  if (buffer && capacity >= 8) std::memcpy(buffer, encoded, 8);
  return 8;
}

inline PRESTypePlugin make_plugin(const char* name) {
  PRESTypePlugin plugin = {};
  plugin.type_name = name;
  plugin.get_key_kind = [] { return PRES_TYPEPLUGIN_USER_KEY; };
  plugin.check = check;
  plugin.check_key = check_key;
  plugin.encoded_to_key = encoded_to_key;
  return plugin;
}

inline const PRESTypePlugin counter_plugin = make_plugin("Test::Counter");

struct Counter {
  std::uint32_t id;
  std::uint32_t value;
};

inline SampleRef encode(EngineWriter& writer, Counter counter, std::uint32_t payload = 0) {
  SampleRef sample(writer.allocate(static_cast<std::uint32_t>(header_size) + payload, false));
  std::uint8_t* bytes = sample->bytes;
  put32(bytes, 0x00000100);
  put32(bytes + 4, counter.id);
  put32(bytes + 8, counter.value);
  put32(bytes + 12, payload);
  for (std::uint32_t i = 0; i < payload; ++i) bytes[header_size + i] = static_cast<std::uint8_t>(i + counter.value);
  hash_of(counter.id, sample->key_hash);
  return sample;
}

inline SampleRef encode_key(EngineWriter& writer, std::uint32_t id) {
  SampleRef sample(writer.allocate(8, true));
  put32(sample->bytes, 0x00000100);
  put32(sample->bytes + 4, id);
  hash_of(id, sample->key_hash);
  return sample;
}

inline DDS_ReturnCode_t write(EngineWriter& writer, Counter counter, std::uint32_t payload = 0) {
  return writer.write(encode(writer, counter, payload), WriteKind::data, -1);
}

inline Counter decode(const EngineSlot& slot) {
  return {get32(slot.sample->bytes + 4), slot.sample->key_only ? 0 : get32(slot.sample->bytes + 8)};
}

// --- waiting ---------------------------------------------------------------------------------------------------------

/// Until `condition` holds, 20 s at the longest.
inline bool eventually(const std::function<bool()>& condition, std::chrono::milliseconds limit = 20s) {
  const auto end = std::chrono::steady_clock::now() + limit;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(1ms);
  }
  return true;
}

// --- entities --------------------------------------------------------------------------------------------------------

inline DDS_DataWriterQos writer_qos(bool history = false, int depth = 1) {
  DDS_DataWriterQos qos;
  qos.durability.kind = history ? DDS_TRANSIENT_LOCAL_DURABILITY_QOS : DDS_VOLATILE_DURABILITY_QOS;
  if (depth > 0)
    qos.history.depth = depth;
  else
    qos.history.kind = DDS_KEEP_ALL_HISTORY_QOS;
  return qos;
}

inline DDS_DataReaderQos reader_qos(bool history = false, int depth = 1) {
  DDS_DataReaderQos qos;
  qos.reliability.kind = DDS_RELIABLE_RELIABILITY_QOS;
  qos.durability.kind = history ? DDS_TRANSIENT_LOCAL_DURABILITY_QOS : DDS_VOLATILE_DURABILITY_QOS;
  if (depth > 0)
    qos.history.depth = depth;
  else
    qos.history.kind = DDS_KEEP_ALL_HISTORY_QOS;
  return qos;
}

inline EngineParticipantConfig participant_config(DDS_DomainId_t domain) {
  EngineParticipantConfig config;
  config.domain_id = domain;
  config.interfaces = {"lo"};
  config.lease_duration = 2'800'000'000;
  config.announcement_period = 700'000'000;
  return config;
}

inline std::unique_ptr<EngineParticipant> make_participant(const EngineParticipantConfig& config,
                                                           EngineParticipantEvents* events = nullptr) {
  std::unique_ptr<EngineParticipant> participant;
  std::string error;
  EXPECT_EQ(cyclone_engine().create_participant(config, events, participant, error), DDS_RETCODE_OK) << error;
  return participant;
}

inline std::unique_ptr<EngineWriter> make_writer(EngineParticipant& participant, const std::string& topic,
                                                 const DDS_DataWriterQos& qos, EngineWriterEvents* events = nullptr,
                                                 const PRESTypePlugin& type = counter_plugin) {
  std::unique_ptr<EngineWriter> writer;
  std::string error;
  EXPECT_EQ(participant.create_writer({topic, &type, qos, false}, events, writer, error), DDS_RETCODE_OK) << error;
  return writer;
}

inline std::unique_ptr<EngineReader> make_reader(EngineParticipant& participant, const std::string& topic,
                                                 const DDS_DataReaderQos& qos, EngineReaderEvents* events = nullptr,
                                                 EngineFilter* filter = nullptr) {
  std::unique_ptr<EngineReader> reader;
  std::string error;
  EXPECT_EQ(participant.create_reader({topic, &counter_plugin, qos, false, filter}, events, reader, error),
            DDS_RETCODE_OK)
      << error;
  return reader;
}

/// Waits until the two know each other, when the writer has so many readers in all and the reader one writer.
inline bool matched(EngineWriter& writer, EngineReader& reader, DDS_Long readers = 1) {
  return eventually([&] {
    return writer.publication_matched_status().current_count >= readers &&
           reader.subscription_matched_status().current_count >= 1;
  });
}

}  // namespace engine_test
