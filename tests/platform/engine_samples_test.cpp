// Samples through the engine: what goes in comes out, what is malformed does not, and whose key it is.
#include "tessivar/platform/cyclone/internals.h"
#include "tessivar/platform/cyclone/sample.h"
#include "tessivar/platform/log.h"
#include "tests/platform/engine_fixture.h"

#include <algorithm>
#include <array>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace engine_test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

constexpr DDS_DomainId_t domain = 65;

/// A writer and a reader of two participants, so that everything crosses the network.
class EngineSamples : public testing::Test {
 protected:
  void SetUp() override {
    writing_ = make_participant(participant_config(domain));
    reading_ = make_participant(participant_config(domain));
  }

  void connect(const DDS_DataWriterQos& writer_qos, const DDS_DataReaderQos& reader_qos, EngineFilter* filter = nullptr,
               const PRESTypePlugin& writer_type = counter_plugin) {
    writer_ = make_writer(*writing_, "Test.Samples", writer_qos, nullptr, writer_type);
    reader_ = make_reader(*reading_, "Test.Samples", reader_qos, nullptr, filter);
    ASSERT_TRUE(matched(*writer_, *reader_));
  }

  /// Until all that was written has arrived.
  void settle() { ASSERT_EQ(writer_->wait_for_acknowledgments(10'000'000'000), DDS_RETCODE_OK); }

  std::vector<EngineSlot> access(const EngineSelection& selection, DDS_Long max = -1) {
    std::vector<EngineSlot> slots;
    last_ = reader_->access(selection, max, slots);
    return slots;
  }
  std::vector<EngineSlot> take() {
    EngineSelection selection;
    selection.take = true;
    return access(selection);
  }
  static std::vector<std::uint32_t> values(const std::vector<EngineSlot>& slots) {
    std::vector<std::uint32_t> result;
    for (const EngineSlot& slot : slots) result.push_back(slot.info.valid_data ? decode(slot).value : 0);
    return result;
  }

  std::unique_ptr<EngineParticipant> writing_;
  std::unique_ptr<EngineParticipant> reading_;
  std::unique_ptr<EngineWriter> writer_;
  std::unique_ptr<EngineReader> reader_;
  DDS_ReturnCode_t last_ = DDS_RETCODE_OK;
};

TEST_F(EngineSamples, ArriveWithTheirOctetsTimesAndOrigin) {
  connect(writer_qos(false, 0), reader_qos(false, 0));
  const std::uint32_t sizes[] = {0, 1, 2, 3, 4, 1300, 70'000, 1'000'000};
  for (const std::uint32_t size : sizes)
    ASSERT_EQ(writer_->write(encode(*writer_, {7, size}, size), WriteKind::data, 1'500'000'000'123'456'789),
              DDS_RETCODE_OK);
  settle();
  const std::vector<EngineSlot> slots = take();
  ASSERT_EQ(slots.size(), std::size(sizes));
  for (std::size_t i = 0; i < slots.size(); ++i) {
    const EncodedSample& sample = *slots[i].sample.get();
    EXPECT_EQ(decode(slots[i]).value, sizes[i]);
    ASSERT_GE(sample.size, header_size + sizes[i]);
    for (std::uint32_t octet = 0; octet < sizes[i]; ++octet)
      ASSERT_EQ(sample.bytes[header_size + octet], static_cast<std::uint8_t>(octet + sizes[i]));
    const DDS_SampleInfo& info = slots[i].info;
    EXPECT_EQ(info.source_timestamp.sec, 1'500'000'000);
    EXPECT_EQ(info.source_timestamp.nanosec, 123'456'789u);
    EXPECT_GT(info.reception_timestamp.sec, 1'600'000'000);
    const DDS_InstanceHandle_t writer = writer_->guid();
    EXPECT_TRUE(DDS_InstanceHandle_equals(&info.publication_handle, &writer));
    std::uint8_t hash[16];
    hash_of(7, hash);
    EXPECT_TRUE(std::equal(std::begin(hash), std::end(hash), info.instance_handle.keyHash.value));
    EXPECT_EQ(info.instance_handle.keyHash.length, 16u);
  }
}

TEST_F(EngineSamples, OfTheSameParticipantAreTheSameObject) {
  writer_ = make_writer(*writing_, "Test.Local", writer_qos());
  reader_ = make_reader(*writing_, "Test.Local", reader_qos());
  const SampleRef sample = encode(*writer_, {1, 2});
  ASSERT_EQ(writer_->write(sample, WriteKind::data, -1), DDS_RETCODE_OK);
  const std::vector<EngineSlot> slots = take();
  ASSERT_EQ(slots.size(), 1u);
  EXPECT_EQ(slots[0].sample.get(), sample.get());
  EXPECT_EQ(to_nanoseconds(slots[0].info.reception_timestamp), to_nanoseconds(slots[0].info.source_timestamp));
}

TEST_F(EngineSamples, OfTheSameParticipantAreLeftOutWhenAsked) {
  EngineWriterConfig config = {"Test.Local", &counter_plugin, writer_qos(), true};
  std::string error;
  ASSERT_EQ(writing_->create_writer(config, nullptr, writer_, error), DDS_RETCODE_OK) << error;
  const auto local = make_reader(*writing_, "Test.Local", reader_qos());
  reader_ = make_reader(*reading_, "Test.Local", reader_qos());
  ASSERT_TRUE(matched(*writer_, *reader_));
  EXPECT_EQ(local->subscription_matched_status().current_count, 0);
}

TEST_F(EngineSamples, MalformedOnesAreDroppedWithOneLine) {
  static const PRESTypePlugin careless = make_plugin("Test::Counter");  // the same name, no checks of its own
  struct Lines {
    std::mutex lock;
    std::vector<std::string> all;
  } log;
  set_log_sink(
      [](LogLevel, std::string_view line, void* context) {
        auto& to = *static_cast<Lines*>(context);
        const std::lock_guard guard(to.lock);
        to.all.emplace_back(line);
      },
      &log);
  connect(writer_qos(false, 0), reader_qos(false, 0), nullptr, careless);
  SampleRef sample = encode(*writer_, {1, 1}, 8);
  put32(sample->bytes + 12, 0x7fffffff);
  EXPECT_EQ(writer_->write(std::move(sample), WriteKind::data, -1), DDS_RETCODE_OK);
  EXPECT_EQ(write(*writer_, {1, 2}), DDS_RETCODE_OK);
  settle();
  EXPECT_THAT(values(take()), ElementsAre(2u));
  set_log_sink(nullptr, nullptr);
  const std::lock_guard guard(log.lock);
  EXPECT_THAT(log.all, ElementsAre(testing::AllOf(HasSubstr("Test.Samples"), HasSubstr("Test::Counter"))));
}

TEST_F(EngineSamples, TellTheEndOfAnInstance) {
  struct Case {
    const char* name;
    WriteKind kind;
    bool autodispose;
    DDS_InstanceStateKind state;
  };
  const Case cases[] = {
      {"dispose", WriteKind::dispose, true, DDS_NOT_ALIVE_DISPOSED_INSTANCE_STATE},
      {"unregister", WriteKind::unregister, true, DDS_NOT_ALIVE_DISPOSED_INSTANCE_STATE},
      {"unregister without dispose", WriteKind::unregister, false, DDS_NOT_ALIVE_NO_WRITERS_INSTANCE_STATE}};
  for (const Case& one : cases) {
    SCOPED_TRACE(one.name);
    DDS_DataWriterQos qos = writer_qos();
    qos.writer_data_lifecycle.autodispose_unregistered_instances = one.autodispose;
    connect(qos, reader_qos());
    write(*writer_, {0x01020304, 1});
    settle();
    EXPECT_THAT(values(take()), ElementsAre(1u));
    EXPECT_EQ(writer_->write(encode_key(*writer_, 0x01020304), one.kind, -1), DDS_RETCODE_OK);
    settle();
    const std::vector<EngineSlot> slots = take();
    ASSERT_EQ(slots.size(), 1u);
    EXPECT_FALSE(slots[0].info.valid_data);
    EXPECT_EQ(slots[0].info.instance_state, one.state);
    EXPECT_TRUE(slots[0].sample->key_only);
    EXPECT_EQ(decode(slots[0]).id, 0x01020304u);
    reader_.reset();
    writer_.reset();
  }
}

TEST_F(EngineSamples, ADisposeOfSomethingUnknownCarriesItsPaddedKey) {
  connect(writer_qos(), reader_qos());
  EXPECT_EQ(writer_->write(encode_key(*writer_, 9), WriteKind::dispose, -1), DDS_RETCODE_OK);
  settle();
  const std::vector<EngineSlot> slots = take();
  ASSERT_EQ(slots.size(), 1u);
  EXPECT_EQ(slots[0].info.instance_state, DDS_NOT_ALIVE_DISPOSED_INSTANCE_STATE);
  EXPECT_EQ(decode(slots[0]).id, 9u);
  EXPECT_GE(slots[0].sample->size, 20u);  // on the wire at least the length of a key hash behind the header
  DDS_KeyHash_t hash;
  EXPECT_TRUE(check_key(slots[0].sample->bytes, slots[0].sample->size, &hash));
}

TEST_F(EngineSamples, AreSelectedByStateAndInstance) {
  connect(writer_qos(false, 0), reader_qos(false, 0));
  for (std::uint32_t value = 1; value <= 3; ++value) write(*writer_, {value % 2, value});
  settle();

  EngineSelection unread;
  unread.sample_states = DDS_NOT_READ_SAMPLE_STATE;
  const std::vector<EngineSlot> first = access(unread, 1);
  EXPECT_THAT(values(first), ElementsAre(1u));
  EXPECT_EQ(first[0].info.view_state, DDS_NEW_VIEW_STATE);
  EXPECT_EQ(first[0].info.sample_state, DDS_NOT_READ_SAMPLE_STATE);
  EXPECT_THAT(values(access(unread)), ElementsAre(3u, 2u));  // in groups of one instance
  access(unread);
  EXPECT_EQ(last_, DDS_RETCODE_NO_DATA);

  EngineSelection instance;
  instance.instance = first[0].instance;
  EXPECT_THAT(values(access(instance)), ElementsAre(1u, 3u));
  instance.take = true;
  EXPECT_THAT(values(access(instance, 1)), ElementsAre(1u));
  instance.instance = 12345;
  access(instance);
  EXPECT_EQ(last_, DDS_RETCODE_PRECONDITION_NOT_MET);

  EngineSelection none;
  none.view_states = 0;
  EXPECT_TRUE(access(none).empty());
  EngineSelection disposed;
  disposed.instance_states = DDS_NOT_ALIVE_DISPOSED_INSTANCE_STATE;
  EXPECT_TRUE(access(disposed).empty());
  EXPECT_THAT(values(take()), ElementsAre(3u, 2u));
}

TEST_F(EngineSamples, OfOneInstanceAllAreReadHoweverMany) {
  connect(writer_qos(false, 0), reader_qos(false, 0));
  for (std::uint32_t value = 0; value < 300; ++value) write(*writer_, {1, value});
  settle();
  EngineSelection instance;
  instance.instance = access({}, 1).at(0).instance;
  EXPECT_EQ(access(instance).size(), 300u);
  instance.take = true;
  EXPECT_EQ(access(instance).size(), 300u);
}

TEST_F(EngineSamples, OutliveTheirReaderAndParticipant) {
  connect(writer_qos(), reader_qos());
  write(*writer_, {4, 5}, 100);
  settle();
  const std::vector<EngineSlot> slots = take();
  reader_.reset();
  writer_.reset();
  reading_.reset();
  writing_.reset();
  ASSERT_EQ(slots.size(), 1u);
  EXPECT_EQ(decode(slots[0]).value, 5u);
}

TEST_F(EngineSamples, OfATypeWithoutKeyAreOneInstance) {
  static const PRESTypePlugin keyless = [] {
    PRESTypePlugin plugin = make_plugin("Test::Event");
    plugin.get_key_kind = [] { return PRES_TYPEPLUGIN_NO_KEY; };
    plugin.check = [](const std::uint8_t* bytes, std::size_t size, DDS_KeyHash_t* hash) {
      const bool good = check(bytes, size, hash);
      std::fill(std::begin(hash->value), std::end(hash->value), DDS_Octet{0});
      return good;
    };
    return plugin;
  }();
  writer_ = make_writer(*writing_, "Test.Keyless", writer_qos(false, 0), nullptr, keyless);
  std::string error;
  ASSERT_EQ(reading_->create_reader({"Test.Keyless", &keyless, reader_qos(false, 0), false, nullptr}, nullptr, reader_,
                                    error),
            DDS_RETCODE_OK)
      << error;
  ASSERT_TRUE(matched(*writer_, *reader_));
  for (std::uint32_t value = 1; value <= 3; ++value) {
    SampleRef sample = encode(*writer_, {value, value});
    std::fill(std::begin(sample->key_hash), std::end(sample->key_hash), std::uint8_t{0});
    EXPECT_EQ(writer_->write(std::move(sample), WriteKind::data, -1), DDS_RETCODE_OK);
  }
  settle();
  const std::vector<EngineSlot> slots = take();
  EXPECT_THAT(values(slots), ElementsAre(1u, 2u, 3u));
  for (const EngineSlot& slot : slots) EXPECT_EQ(slot.instance, slots[0].instance);
  writer_.reset();  // the end of the instance has a key without content
  ASSERT_TRUE(eventually([&] { return !take().empty() || last_ != DDS_RETCODE_NO_DATA; }));
}

class EvenValues final : public EngineFilter {
 public:
  bool accepts(const EncodedSample& sample, EngineHandle instance, const DDS_FilterSampleInfo& info) override {
    EXPECT_NE(instance, 0u);
    EXPECT_EQ(info.source_timestamp.sec, 1000);
    return get32(sample.bytes + 8) % 2 == 0;
  }
};

TEST_F(EngineSamples, AreFilteredBeforeTheyEnterTheCache) {
  EvenValues filter;
  connect(writer_qos(), reader_qos(), &filter);
  const auto unfiltered = make_reader(*reading_, "Test.Samples", reader_qos());
  ASSERT_TRUE(matched(*writer_, *unfiltered, 2));
  for (std::uint32_t value = 1; value <= 4; ++value)
    writer_->write(encode(*writer_, {value, value}), WriteKind::data, 1'000'000'000'000);
  settle();
  EXPECT_THAT(values(take()), ElementsAre(2u, 4u));
  std::vector<EngineSlot> slots;
  EXPECT_EQ(unfiltered->access({}, -1, slots), DDS_RETCODE_OK);
  EXPECT_EQ(slots.size(), 4u);
  reader_.reset();  // before the filter
}

TEST_F(EngineSamples, AreRefusedWhenTheyAreNotWhatTheWriterGaveOut) {
  writer_ = make_writer(*writing_, "Test.Samples", writer_qos());
  EXPECT_EQ(writer_->allocate(3, false), nullptr);
  EXPECT_EQ(writer_->write(SampleRef(), WriteKind::data, -1), DDS_RETCODE_BAD_PARAMETER);
  EXPECT_EQ(writer_->write(encode_key(*writer_, 1), WriteKind::data, -1), DDS_RETCODE_BAD_PARAMETER);
  EXPECT_EQ(writer_->write(encode(*writer_, {1, 1}), WriteKind::dispose, -1), DDS_RETCODE_BAD_PARAMETER);
  const auto other = make_writer(*reading_, "Test.Samples", writer_qos());
  EXPECT_EQ(writer_->write(encode(*other, {1, 1}), WriteKind::data, -1), DDS_RETCODE_BAD_PARAMETER);
}

TEST_F(EngineSamples, TopicsHaveTheNamesThatWereAskedFor) {
  for (const char* name : {"Plain", "With.Dots", "..", "a/b_c.d"}) {
    SCOPED_TRACE(name);
    const auto writer = make_writer(*writing_, name, writer_qos());
    const auto reader = make_reader(*reading_, name, reader_qos());
    EXPECT_TRUE(matched(*writer, *reader));
  }
  const auto dotted = make_writer(*writing_, "One.Name", writer_qos());
  const auto underlined = make_reader(*writing_, "One_Name", reader_qos());
  EXPECT_EQ(underlined->subscription_matched_status().current_count, 0);
  for (const std::string& name : {std::string(), std::string("with space"), std::string(300, 'x')}) {
    EngineWriterConfig config = {name, &counter_plugin, writer_qos(), false};
    std::string error;
    EXPECT_NE(writing_->create_writer(config, nullptr, writer_, error), DDS_RETCODE_OK);
    EXPECT_THAT(error, HasSubstr("topic \"" + name + "\""));
  }
}

TEST_F(EngineSamples, WhatTheEngineRefusesIsExplained) {
  DDS_DataWriterQos qos = writer_qos(false, 10);
  qos.resource_limits.max_samples_per_instance = 2;
  EngineWriterConfig config = {"Test.Refused", &counter_plugin, qos, false};
  std::string error;
  EXPECT_NE(writing_->create_writer(config, nullptr, writer_, error), DDS_RETCODE_OK);
  EXPECT_THAT(error, testing::AllOf(HasSubstr("Test.Refused"), HasSubstr("Inconsistent Policy")));
}

// Some peers send nothing but a key hash with a dispose. Here the engine's operations are called as the engine does.
TEST(EngineKeys, LearnTheirOctetsFromASample) {
  using namespace cyclone;
  SampleType type = {};
  type.engine.serdata_ops = &sample_ops;
  type.plugin = &counter_plugin;
  ddsi_keyhash hash;
  std::uint8_t octets[16];
  hash_of(5, octets);
  std::copy(std::begin(octets), std::end(octets), hash.value);
  ddsi_serdata* poor = sample_ops.from_keyhash(&type.engine, &hash);
  ASSERT_NE(poor, nullptr);

  const std::array<std::uint8_t, 16> encoded = {0, 1, 0, 0, 5, 0, 0, 0, 9};
  const ddsrt_iovec_t vector = {const_cast<std::uint8_t*>(encoded.data()), encoded.size()};
  ddsi_serdata* rich = sample_ops.from_ser_iov(&type.engine, SDK_DATA, 1, &vector, encoded.size());
  ASSERT_NE(rich, nullptr);
  EXPECT_EQ(poor->hash, rich->hash);

  const auto key_of = [](ddsi_serdata* data) {
    SampleSlot slot = nullptr;
    EXPECT_TRUE(sample_ops.untyped_to_sample(nullptr, data, &slot, nullptr, nullptr));
    return SampleRef(slot);
  };
  EXPECT_EQ(key_of(poor)->bytes, nullptr);
  EXPECT_TRUE(sample_ops.eqkey(poor, rich));
  const SampleRef key = key_of(poor);
  ASSERT_NE(key->bytes, nullptr);
  EXPECT_EQ(get32(key->bytes + 4), 5u);
  EXPECT_TRUE(key->key_only);

  // A key that comes from outside counts by its octets, and another type's is another key.
  static const PRESTypePlugin other_plugin = make_plugin("Test::Other");
  SampleType other = type;
  other.plugin = &other_plugin;
  ddsi_serdata* foreign = sample_ops.from_keyhash(&other.engine, &hash);
  EXPECT_FALSE(sample_ops.eqkey(poor, foreign));
  for (ddsi_serdata* data : {poor, rich, foreign}) ddsi_serdata_unref(data);
}

}  // namespace
}  // namespace engine_test
