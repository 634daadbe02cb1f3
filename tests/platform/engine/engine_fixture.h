// SPDX-License-Identifier: Apache-2.0

// Participants, readers and writers of an engine, without the DDS layer above it. The samples are commands.
//
// The tests in this folder name the obligations of tessivar/platform/engine/engine.h that they check. Other tests check
// P6 (tests/integration/networks_test.cpp), P7 and the leases of P2 (discovery_test.cpp), W7 and the TIMEOUT of R6
// (writer_test.cpp), E2 (writer_test.cpp, and threads_test.cpp of control and routing, through the layers above), E4 as
// far as calls are refused above the engine (callback_test.cpp), and E7 (tests/control/lifetime_test.cpp). No test
// checks E8, P1 as a whole, and W5, which shows only on a network that loses packets.
#pragma once

#include "support/bus.h"
#include "tessivar/platform/engine/engine.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <memory>
#include <optional>
#include <set>
#include <vector>

namespace platform_test {

using namespace tessivar::platform;

constexpr std::int64_t wait_limit = 20'000'000'000;  // nanoseconds

/// The type of the commands under a registered name.
inline PRESTypePlugin command_type(const char* registered = "Command") {
  PRESTypePlugin type = *std::unique_ptr<PRESTypePlugin>(Tessivar::CommandPlugin_new());
  type.registered_name = registered;
  type.malformed = std::make_shared<Count>();
  return type;
}
inline const PRESTypePlugin& command_type_of_tests() {
  static const PRESTypePlugin type = command_type();
  return type;
}

/// Counts the callbacks of one reader or writer, and those that overlap.
class Callbacks final : public EngineReaderEvents, public EngineWriterEvents {
 public:
  std::function<void()> on_data = [] {};
  std::function<void()> on_match = [] {};
  std::atomic<int> data = 0, matched = 0, alive = 0, not_alive = 0, incompatible = 0, overlaps = 0, after_end = 0;
  std::atomic<bool> ended = false;

 private:
  void called(const std::function<void()>& body) {
    if (++inside_ > 1) ++overlaps;
    if (ended) ++after_end;
    body();
    --inside_;
  }
  void data_available() override {
    called([&] {
      ++data;
      on_data();
    });
  }
  void subscription_matched(const DDS_SubscriptionMatchedStatus& status) override { match(status.current_count); }
  void publication_matched(const DDS_PublicationMatchedStatus& status) override { match(status.current_count); }
  void match(int count) {
    called([&] {
      matched = count;
      on_match();
    });
  }
  void liveliness_changed(const DDS_LivelinessChangedStatus& status) override {
    called([&] {
      alive = status.alive_count;
      not_alive = status.not_alive_count;
    });
  }
  void requested_incompatible_qos(const DDS_RequestedIncompatibleQosStatus& status) override {
    called([&] { incompatible = status.total_count; });
  }
  void offered_incompatible_qos(const DDS_OfferedIncompatibleQosStatus& status) override {
    called([&] { incompatible = status.total_count; });
  }
  void requested_deadline_missed(const DDS_RequestedDeadlineMissedStatus&) override {}
  void offered_deadline_missed(const DDS_OfferedDeadlineMissedStatus&) override {}
  void liveliness_lost(const DDS_LivelinessLostStatus&) override {}
  void sample_lost(const DDS_SampleLostStatus&) override {}
  void sample_rejected(const DDS_SampleRejectedStatus&) override {}

  std::atomic<int> inside_ = 0;
};

struct TestWriter {
  Callbacks callbacks;
  std::unique_ptr<EngineWriter> it;

  DDS_ReturnCode_t write(DDS_UnsignedLong number, DDS_Long value = 0, WriteKind kind = WriteKind::data,
                         std::int64_t time = 1) const {
    const PRESTypePlugin& type = command_type_of_tests();
    const Command sample = command(number, value);
    const bool data = kind == WriteKind::data;
    const std::size_t size = data ? type.encoded_size(&sample) : type.encode_key(&sample, nullptr, 0);
    EncodedSample* const encoded = it->allocate(static_cast<std::uint32_t>(size), !data);
    if (!encoded) return DDS_RETCODE_OUT_OF_RESOURCES;
    if (data) {
      EXPECT_TRUE(type.encode(&sample, encoded->bytes, size));
    } else {
      EXPECT_EQ(type.encode_key(&sample, encoded->bytes, size), size);
    }
    DDS_KeyHash_t hash;
    EXPECT_TRUE((data ? type.check : type.check_key)(encoded->bytes, size, &hash));
    std::memcpy(encoded->key_hash, hash.value, sizeof encoded->key_hash);
    return it->write(SampleRef(encoded), kind, time);
  }
};

struct Taken {
  DDS_UnsignedLong number;
  DDS_Long value;
  EngineSlot slot;
};

struct TestReader {
  Callbacks callbacks;
  std::unique_ptr<EngineReader> it;
  std::size_t portion = 8;

  /// Takes what is there, in portions. A sample without data has the number of its key.
  std::vector<Taken> take() const {
    std::vector<Taken> all;
    std::vector<EngineSlot> slots;
    slots.reserve(portion);
    while (it->take(slots) == DDS_RETCODE_OK) {
      EXPECT_LE(slots.size(), portion);
      for (const EngineSlot& slot : slots) all.push_back(decoded(slot));
    }
    EXPECT_TRUE(slots.empty());
    return all;
  }
  /// Takes until `count` samples have come.
  std::vector<Taken> take(std::size_t count) const {
    std::vector<Taken> all;
    EXPECT_TRUE(eventually([&] {
      for (Taken& one : take()) all.push_back(std::move(one));
      return all.size() >= count;
    })) << all.size();
    return all;
  }
  std::vector<DDS_UnsignedLong> take_numbers(std::size_t count = 0) const {
    std::vector<DDS_UnsignedLong> numbers;
    for (const Taken& one : take(count)) numbers.push_back(one.number);
    return numbers;
  }

 private:
  static Taken decoded(const EngineSlot& slot) {
    const PRESTypePlugin& type = command_type_of_tests();
    Command sample;
    EXPECT_EQ(slot.sample->key_only, !slot.info.valid_data);
    EXPECT_TRUE((slot.info.valid_data ? type.decode : type.decode_key)(&sample, slot.sample->bytes, slot.sample->size));
    DDS_KeyHash_t hash;
    EXPECT_TRUE(type.instance_to_keyhash(nullptr, &hash, &sample));
    EXPECT_EQ(std::memcmp(hash.value, slot.sample->key_hash, sizeof slot.sample->key_hash), 0);
    EXPECT_EQ(std::memcmp(hash.value, slot.info.instance_handle.keyHash.value, sizeof slot.sample->key_hash), 0);
    const Taken result = {sample.commandNumber, sample.value._u.intValue, slot};
    Tessivar::Command_finalize(&sample);
    return result;
  }
};

typedef std::function<void(EngineWriterConfig&)> WriterSetting;
typedef std::function<void(EngineReaderConfig&)> ReaderSetting;

/// A participant. Its readers and writers are reliable, volatile and KEEP_ALL unless a setting changes that.
class Member {
 public:
  explicit Member(Engine& engine, EngineParticipantEvents* events = nullptr,
                  const std::function<void(EngineParticipantConfig&)>& change = {}) {
    EngineParticipantConfig config = usual();
    if (change) change(config);
    std::string error;
    EXPECT_EQ(engine.create_participant(config, events, it, error), DDS_RETCODE_OK) << error;
  }
  static EngineParticipantConfig usual() {
    EngineParticipantConfig config;
    config.domain_id = own_domain();
    config.interfaces = {"lo"};
    config.lease_duration = config.announcement_period = 2'800'000'000;
    return config;
  }
  DDS_ReturnCode_t open(TestWriter& writer, std::string& error, const WriterSetting& change = {}) const {
    EngineWriterConfig config = {own_topic(), &command_type_of_tests(), reliable<DDS_DataWriterQos>(false)};
    if (change) change(config);
    return it->create_writer(config, &writer.callbacks, writer.it, error);
  }
  DDS_ReturnCode_t open(TestReader& reader, std::string& error, const ReaderSetting& change = {}) const {
    EngineReaderConfig config = {own_topic(), &command_type_of_tests(), reliable<DDS_DataReaderQos>(false)};
    if (change) change(config);
    return it->create_reader(config, &reader.callbacks, reader.it, error);
  }
  template <class Endpoint, class Setting = std::nullptr_t>
  std::unique_ptr<Endpoint> make(Setting change = {}) const {
    auto endpoint = std::make_unique<Endpoint>();
    std::string error;
    EXPECT_EQ(open(*endpoint, error, change), DDS_RETCODE_OK) << error;
    return endpoint;
  }
  std::unique_ptr<TestWriter> writer(const WriterSetting& change = {}) const { return make<TestWriter>(change); }
  std::unique_ptr<TestReader> reader(const ReaderSetting& change = {}) const { return make<TestReader>(change); }

  std::unique_ptr<EngineParticipant> it;
};

template <class... Endpoints>
bool all_matched(int count, const Endpoints&... endpoints) {
  return (eventually([&] { return endpoints->callbacks.matched == count; }) && ...);
}

MATCHER_P(Is, handle, "the same handle") {
  return std::memcmp(arg.keyHash.value, handle.keyHash.value, sizeof handle.keyHash.value) == 0 && arg.isValid;
}

class EngineTest : public testing::Test {
 protected:
  Engine& engine_ = default_engine();
};

}  // namespace platform_test
