// SPDX-License-Identifier: Apache-2.0

// Tests what an engine does with samples. Each test names the obligations of tessivar/platform/engine/engine.h.
#include "engine/engine_fixture.h"
#include "support/peer.h"

#include <csignal>
#include <future>

namespace platform_test {
namespace {

using testing::ElementsAre;
using testing::SizeIs;

class EngineDataTest : public EngineTest {
 protected:
  Member one_{engine_}, other_{engine_};
};

/// Accepts the values from `least` on.
struct ValuesFrom final : EngineFilter {
  explicit ValuesFrom(DDS_Long limit) : least(limit) {}
  bool accepts(const EncodedSample& sample, EngineHandle, const DDS_FilterSampleInfo& info) override {
    if (++inside > 1) ++overlaps;
    ++calls;
    Command decoded;
    EXPECT_TRUE(command_type_of_tests().decode(&decoded, sample.bytes, sample.size));
    const DDS_Long value = decoded.value._u.intValue;
    EXPECT_EQ(to_nanoseconds(info.source_timestamp), 1'000'000'000 + value);
    Tessivar::Command_finalize(&decoded);
    --inside;
    return value >= least;
  }
  const DDS_Long least;
  std::atomic<int> calls = 0, inside = 0, overlaps = 0;
};

TEST_F(EngineDataTest, DeliversThroughFiltersWithinAParticipant) {  // F1 F2 R5 W1 W2
  ValuesFrom some(5), none(100);
  const auto all = one_.reader(), own = one_.reader([](auto&config) { config.ignore_own_participant = true; });
  const auto filtered = one_.reader([&](auto& config) { config.filter = &some; });
  const auto empty = one_.reader([&](auto& config) { config.filter = &none; });
  const auto writer = one_.writer([](auto& config) { config.qos.lifespan.duration = {7, 0}; });
  for (const DDS_Long value : {4, 5, 6})
    EXPECT_EQ(writer->write(1, value, WriteKind::data, 1'000'000'000 + value), DDS_RETCODE_OK);
  EXPECT_EQ(writer->write(1, 0, WriteKind::dispose), DDS_RETCODE_OK);
  EXPECT_EQ(own->callbacks.matched + own->callbacks.data, 0);
  for (const Taken& one : empty->take()) EXPECT_FALSE(one.slot.info.valid_data) << "only the end may be known";
  const std::vector<Taken> taken = all->take(), accepted = filtered->take();
  ASSERT_THAT(taken, SizeIs(3));
  ASSERT_THAT(accepted, SizeIs(2));
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(taken[i].value, static_cast<DDS_Long>(i + 4));
    EXPECT_EQ(to_nanoseconds(taken[i].slot.info.source_timestamp), 1'000'000'000 + taken[i].value);
    EXPECT_EQ(taken[i].slot.lifespan, 7'000'000'000);
    EXPECT_THAT(taken[i].slot.info.publication_handle, Is(writer->it->guid()));
    EXPECT_EQ(taken[i].slot.info.instance_state, DDS_NOT_ALIVE_DISPOSED_INSTANCE_STATE);
  }
  EXPECT_EQ(some.calls, 3) << "none for the dispose";
}

TEST_F(EngineDataTest, ReturnsSamplesInPortionsByInstance) {  // R1
  const auto reader = other_.reader([](auto& config) {
    config.qos.resource_limits = {.max_samples = 2, .max_instances = 1, .max_samples_per_instance = 1};
  });
  const auto writer = one_.writer();
  ASSERT_TRUE(all_matched(1, reader, writer));
  for (const DDS_UnsignedLong number : {1u, 2u, 3u, 1u, 2u, 3u}) writer->write(number);
  ASSERT_EQ(writer->it->wait_for_acknowledgments(wait_limit), DDS_RETCODE_OK);
  std::vector<EngineSlot> slots;
  EXPECT_EQ(reader->it->take(slots), DDS_RETCODE_OUT_OF_RESOURCES);
  reader->portion = 4;
  const std::vector<DDS_UnsignedLong> numbers = reader->take_numbers(6);
  ASSERT_THAT(numbers, SizeIs(6));
  for (const std::size_t i : {0u, 2u, 4u}) EXPECT_EQ(numbers[i], numbers[i + 1]) << i;
  EXPECT_THAT(std::set(numbers.begin(), numbers.end()), ElementsAre(1u, 2u, 3u));
}

struct End {
  const char* name;
  WriteKind kind;
  bool autodispose;
  bool delete_writer;
  DDS_InstanceStateKind state;
};

TEST_F(EngineDataTest, DeliversEndsOfInstancesWithTheirKey) {  // R3 R4 W3
  const End ends[] = {
      {"dispose", WriteKind::dispose, false, false, DDS_NOT_ALIVE_DISPOSED_INSTANCE_STATE},
      {"unregister", WriteKind::unregister, false, false, DDS_NOT_ALIVE_NO_WRITERS_INSTANCE_STATE},
      {"unregister and dispose", WriteKind::unregister, true, false, DDS_NOT_ALIVE_DISPOSED_INSTANCE_STATE},
      {"writer is gone", WriteKind::data, false, true, DDS_NOT_ALIVE_NO_WRITERS_INSTANCE_STATE},
      {"writer is gone and disposes", WriteKind::data, true, true, DDS_NOT_ALIVE_DISPOSED_INSTANCE_STATE},
  };
  const auto local = one_.reader(), remote = other_.reader();
  for (const End& end : ends) {
    auto writer = one_.writer(
        [&](auto& config) { config.qos.writer_data_lifecycle.autodispose_unregistered_instances = end.autodispose; });
    ASSERT_TRUE(all_matched(2, writer) && all_matched(1, local, remote)) << end.name;
    writer->write(1);
    for (const auto* reader : {local.get(), remote.get()}) EXPECT_THAT(reader->take_numbers(1), ElementsAre(1u));
    if (end.delete_writer)
      writer.reset();
    else
      writer->write(1, 0, end.kind);
    for (const auto* reader : {local.get(), remote.get()}) {
      const std::vector<Taken> taken = reader->take(1);
      ASSERT_THAT(taken, SizeIs(1)) << end.name;
      EXPECT_EQ(taken[0].number, 1u) << end.name;
      EXPECT_FALSE(taken[0].slot.info.valid_data) << end.name;
      EXPECT_EQ(taken[0].slot.info.instance_state, end.state) << end.name;
    }
  }
}

TEST_F(EngineDataTest, DropsMalformedSamplesAndContinues) {  // R2
  const PRESTypePlugin type = command_type();
  const auto reader = other_.reader([&](auto& config) { config.type = &type; });
  const auto writer = one_.writer();
  ASSERT_TRUE(all_matched(1, reader, writer));
  EncodedSample* const nonsense = writer->it->allocate(64, false);
  std::memset(nonsense->bytes, 0xff, 64);
  std::memcpy(nonsense->bytes, "\0\1\0", 4);
  std::memset(nonsense->key_hash, 1, 16);
  EXPECT_EQ(writer->it->write(SampleRef(nonsense), WriteKind::data, 1), DDS_RETCODE_OK);
  writer->write(2);
  EXPECT_THAT(reader->take_numbers(1), ElementsAre(2u));
  EXPECT_EQ(type.malformed->get(), 1u);
  EXPECT_EQ(writer->it->write(SampleRef(writer->it->allocate(8, true)), WriteKind::data, 1), DDS_RETCODE_BAD_PARAMETER);
}

TEST_F(EngineDataTest, AllowsTakingAndWritingInCallbacks) {  // E3 E4 V1 V2
  const auto reply = other_.writer([](auto& config) { config.topic += ".Reply"; });
  const auto replies = one_.reader([](auto& config) { config.topic += ".Reply"; });
  const auto echo = other_.writer([](auto& config) { config.topic += ".Echo"; });
  TestReader echoes, reader;
  std::atomic<DDS_ReturnCode_t> refused = DDS_RETCODE_OK;
  std::atomic<bool> created = false;
  std::atomic<int> unmatched = 0;
  echoes.callbacks.on_data = [&] { refused = echo->write(1); };
  reader.callbacks.on_data = [&] {
    unmatched += reader.callbacks.matched == 0;
    if (!created) return;
    reader.it->matched_publications();
    for (const Taken& one : reader.take()) reply->write(one.number);
  };
  LogRecorder log;
  std::string error;
  ASSERT_EQ(other_.open(echoes, error, [](auto& config) { config.topic += ".Echo"; }), DDS_RETCODE_OK) << error;
  ASSERT_EQ(other_.open(reader, error), DDS_RETCODE_OK) << error;
  const auto first = one_.writer(), second = one_.writer();
  ASSERT_TRUE(all_matched(1, first, second, reply, replies, echo) && all_matched(2, &reader));
  first->write(0);
  ASSERT_TRUE(eventually([&] { return reader.callbacks.data >= 1; }));
  first->write(1);
  ASSERT_TRUE(eventually([&] { return reader.callbacks.data >= 2; })) << "although nobody has taken the first";
  created = true;
  const auto write_many = [](const TestWriter& writer) {
    for (DDS_UnsignedLong i = 2; i < 102; ++i) writer.write(i);
  };
  std::thread another([&] { write_many(*second); });
  write_many(*first);
  another.join();
  EXPECT_THAT(replies->take_numbers(202), SizeIs(202));
  EXPECT_EQ(reader.callbacks.overlaps + unmatched, 0);
  echo->write(0);
  EXPECT_EQ(refused, DDS_RETCODE_ILLEGAL_OPERATION);
  EXPECT_THAT(log.lines(), SizeIs(1));
}

TEST_F(EngineDataTest, CallsNothingAfterTheEndOfAReader) {  // E5
  const auto keep_last = [](auto& config) { config.qos.history = {DDS_KEEP_LAST_HISTORY_QOS, 1}; };
  const auto near = one_.writer(keep_last), far = other_.writer(keep_last);
  std::atomic<bool> stop = false;
  std::thread writing([&] {
    for (DDS_Long i = 0; !stop; ++i)
      for (const auto* writer : {near.get(), far.get()}) writer->write(1, 1000 + i, WriteKind::data, 1'000'001'000 + i);
  });
  for (int round = 0; round < 20; ++round) {
    ValuesFrom filter(0);
    const auto reader = one_.reader([&](auto& config) { config.filter = &filter; });
    EXPECT_TRUE(eventually([&] { return reader->callbacks.matched == 2 && reader->callbacks.data > 20; }));
    reader->it.reset();
    reader->callbacks.ended = true;
    const int calls = filter.calls;
    std::this_thread::yield();
    EXPECT_EQ(filter.calls, calls);
    EXPECT_EQ(filter.overlaps + reader->callbacks.overlaps + reader->callbacks.after_end, 0);
  }
  stop = true;
  writing.join();
}

struct Kept {
  DDS_HistoryQosPolicy history;
  DDS_Long service_depth;
  std::size_t expected;
};

TEST_F(EngineDataTest, DeliversHistoryToLateJoiners) {  // R6 W6
  const Kept cases[] = {{{DDS_KEEP_LAST_HISTORY_QOS, 1}, 0, 1},
                        {{DDS_KEEP_LAST_HISTORY_QOS, 3}, 0, 3},
                        {{DDS_KEEP_ALL_HISTORY_QOS, 1}, 0, 5},
                        {{DDS_KEEP_ALL_HISTORY_QOS, 1}, 2, 2}};
  for (const Kept& kept : cases) {
    const std::string topic = own_topic(std::to_string(&kept - cases));
    const auto writer = one_.writer([&](auto& config) {
      config.topic = topic;
      config.qos.durability.kind = DDS_TRANSIENT_LOCAL_DURABILITY_QOS;
      config.qos.history = kept.history;
      config.qos.durability_service.history_depth = kept.service_depth;
    });
    for (DDS_Long value = 0; value < 5; ++value) writer->write(1, value);
    const auto transient = [&](auto& config) {
      config.topic = topic;
      config.qos.durability.kind = DDS_TRANSIENT_LOCAL_DURABILITY_QOS;
    };
    const auto local = one_.reader(transient), remote = other_.reader(transient);
    ASSERT_TRUE(all_matched(1, local, remote));
    for (const auto* reader : {local.get(), remote.get()}) {
      EXPECT_EQ(reader->it->wait_for_historical_data(-1), DDS_RETCODE_BAD_PARAMETER);
      EXPECT_EQ(reader->it->wait_for_historical_data(wait_limit), DDS_RETCODE_OK);
      EXPECT_THAT(reader->take_numbers(), SizeIs(kept.expected));
    }
  }
}

TEST_F(EngineDataTest, BlocksOneWriterForALimitedTime) {  // W4
  Peer peer;
  const auto lease = [](auto& config) { config.qos.liveliness.lease_duration = {3, 0}; };
  const auto writer = one_.writer(lease), aside = one_.writer([](auto&config) { config.topic += ".Aside"; });
  const auto keep_last = one_.writer([&](auto& config) {
    lease(config);
    config.qos.history = {DDS_KEEP_LAST_HISTORY_QOS, 1};
  });
  const auto reader = other_.reader([](auto& config) { config.topic += ".Aside"; });
  ASSERT_TRUE(all_matched(1, writer, keep_last, aside, reader));
  writer->write(1);
  ASSERT_EQ(writer->it->wait_for_acknowledgments(wait_limit), DDS_RETCODE_OK);
  EXPECT_EQ(writer->it->wait_for_acknowledgments(-1), DDS_RETCODE_BAD_PARAMETER);
  peer.signal(SIGSTOP);
  std::chrono::steady_clock::time_point begin;
  DDS_ReturnCode_t code = DDS_RETCODE_OK;
  for (int i = 0; i < 100000 && code == DDS_RETCODE_OK; ++i) {
    begin = std::chrono::steady_clock::now();
    code = writer->write(1);
  }
  EXPECT_EQ(code, DDS_RETCODE_TIMEOUT);
  EXPECT_GE(std::chrono::steady_clock::now() - begin, 100ms) << "max_blocking_time";
  EXPECT_EQ(writer->it->wait_for_acknowledgments(20'000'000), DDS_RETCODE_TIMEOUT);
  auto blocked = std::async(std::launch::async, [&] { return writer->write(1); });
  for (DDS_UnsignedLong i = 0; i < 20; ++i) {
    EXPECT_EQ(keep_last->write(1), DDS_RETCODE_OK);
    EXPECT_EQ(aside->write(i), DDS_RETCODE_OK);
    EXPECT_THAT(reader->take_numbers(1), ElementsAre(i));
  }
  blocked.get();
  peer.signal(SIGCONT);
  EXPECT_EQ(writer->it->wait_for_acknowledgments(wait_limit), DDS_RETCODE_OK);
}

}  // namespace
}  // namespace platform_test
