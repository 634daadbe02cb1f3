// SPDX-License-Identifier: Apache-2.0

// Tests how a reader's cache handles the samples of one source and of two sources.
#include "tessivar/platform/reader/reader_cache.h"

#include "support/bus.h"

#include <memory>

namespace platform_test {
namespace {

using namespace tessivar::platform;
using testing::ElementsAre;
using testing::UnorderedElementsAre;

/// The encoding of a command, as it is received.
struct Encoding : EncodedSample {
  Encoding(DDS_UnsignedLong number, DDS_Long value) : EncodedSample() {
    const Command sample = command(number, value);
    octets.resize(type->encoded_size(&sample));
    type->encode(&sample, octets.data(), octets.size());
    bytes = octets.data();
    size = static_cast<std::uint32_t>(octets.size());
    DDS_KeyHash_t hash = {};
    type->instance_to_keyhash(nullptr, &hash, &sample);
    std::copy(std::begin(hash.value), std::end(hash.value), key_hash);
    retain = [](EncodedSample* one) { ++static_cast<Encoding*>(one)->count; };
    release = [](EncodedSample* one) {
      if (--static_cast<Encoding*>(one)->count == 0) delete static_cast<Encoding*>(one);
    };
  }
  std::vector<std::uint8_t> octets;
  int count = 1;
  inline static const std::unique_ptr<PRESTypePlugin> type{Tessivar::CommandPlugin_new()};
};

constexpr DDS_InstanceStateKind alive = DDS_ALIVE_INSTANCE_STATE;
constexpr DDS_InstanceStateKind disposed = DDS_NOT_ALIVE_DISPOSED_INSTANCE_STATE;
constexpr DDS_InstanceStateKind no_writers = DDS_NOT_ALIVE_NO_WRITERS_INSTANCE_STATE;

class ReaderCacheTest : public testing::Test {
 protected:
  ReaderCacheTest() { cache.set_source(1); }

  static KeyHash hash(DDS_UnsignedLong number) { return key_hash_of(Encoding(number, 0).key_hash); }
  /// Inserts a sample of `writer` with the source timestamp `time`. Without `data` it has only a state. Returns true if
  /// it was new.
  bool insert(ReaderCache::Source source, DDS_UnsignedLong number, std::int64_t time,
              DDS_InstanceStateKind state = alive, bool data = true, std::uint8_t writer = 1,
              std::int64_t lifespan = never) {
    std::vector<EngineSlot> slots(1);
    slots[0].sample = SampleRef(new Encoding(number, static_cast<DDS_Long>(time)));
    slots[0].info.source_timestamp = to_time(time);
    slots[0].info.instance_state = state;
    slots[0].info.valid_data = data;
    slots[0].info.publication_handle = handle_of(KeyHash{writer});
    slots[0].lifespan = lifespan;
    return cache.insert(source, slots).news;
  }
  std::vector<EngineSlot> access(bool take, DDS_SampleStateMask samples = DDS_NOT_READ_SAMPLE_STATE,
                                 const void* loan = nullptr) {
    std::vector<EngineSlot> slots;
    const ReaderSelection selection = {take, samples};
    cache.access(selection, cache.count(selection, -1), slots, loan);
    return slots;
  }
  /// Returns the times of the unread samples.
  std::vector<std::int64_t> news() {
    std::vector<std::int64_t> times;
    for (const EngineSlot& slot : access(false)) times.push_back(to_nanoseconds(slot.info.source_timestamp));
    return times;
  }

  ReaderCache cache{*Encoding::type, {DDS_KEEP_LAST_HISTORY_QOS, 2}, true};
};

TEST_F(ReaderCacheTest, CountsGenerationsAndRemovesEndedInstances) {
  for (const std::int64_t time : {10, 20, 30}) insert(1, 7, time);
  EXPECT_THAT(news(), ElementsAre(20, 30)) << "as many as it keeps";
  EXPECT_TRUE(insert(1, 7, 40, disposed, false));
  EXPECT_FALSE(insert(1, 7, 41, disposed, false) || insert(1, 8, 50, disposed, false)) << "twice, and of nobody";
  insert(1, 7, 60);
  const auto slots = access(false, DDS_ANY_SAMPLE_STATE);
  ASSERT_EQ(slots.size(), 2u);
  EXPECT_EQ(slots[0].info.sample_rank, 1);
  EXPECT_EQ(slots[0].info.generation_rank, 1);
  EXPECT_EQ(slots[1].info.disposed_generation_count, 1);
  EXPECT_EQ(slots[1].info.view_state, DDS_NEW_VIEW_STATE);

  insert(1, 7, 70, no_writers, false);
  EXPECT_FALSE(cache.is_alive(hash(7)));
  const int loan = 0;
  EXPECT_EQ(access(false, DDS_NOT_READ_SAMPLE_STATE, &loan).size(), 1u);
  EXPECT_EQ(cache.states(), 0) << "it has left, with what was read of it";
  Command* key = CommandSupport::create_data();
  const auto has_key = [&] { return cache.copy_key(hash(7), key) == DDS_RETCODE_OK && key->commandNumber == 7; };
  news();
  EXPECT_TRUE(cache.knows(hash(7)) && has_key()) << "while it is lent";
  cache.loan_returned(&loan);
  EXPECT_TRUE(!cache.knows(hash(7)) && has_key());
  news();
  EXPECT_FALSE(has_key());
  CommandSupport::delete_data(key);
}

TEST_F(ReaderCacheTest, KeepsReplacedSamplesForEveryChange) {
  const auto changes = [&](std::size_t max = 100) {
    std::vector<EngineSlot> slots;
    ReaderSelection selection = {false, DDS_NOT_READ_SAMPLE_STATE};
    selection.every_change = true;
    cache.access(selection, max, slots, nullptr);
    std::vector<std::int64_t> times;
    for (const EngineSlot& slot : slots) times.push_back(to_nanoseconds(slot.info.source_timestamp));
    return times;
  };
  const auto insert_many = [&](std::int64_t begin, std::int64_t end) {
    for (std::int64_t time = begin; time < end; ++time) insert(1, 7, time);
  };
  cache.keep_replaced(true);
  insert_many(1, 6);
  insert(1, 8, 9);
  EXPECT_THAT(changes(3), ElementsAre(1, 2, 3));
  EXPECT_THAT(changes(), ElementsAre(4, 5, 9));
  EXPECT_EQ(access(false, DDS_ANY_SAMPLE_STATE).size(), 3u) << "what was read stays as long as HISTORY says";
  insert_many(10, 15);
  EXPECT_THAT(news(), ElementsAre(13, 14)) << "others get only what HISTORY keeps";
  EXPECT_THAT(changes(), ElementsAre()) << "and nobody gets older samples after that";
  insert_many(20, 25);
  insert(1, 7, 25, disposed, false);
  EXPECT_THAT(changes(3), ElementsAre(22, 23, 24)) << "together, as they report the end";
  EXPECT_FALSE(cache.is_alive(hash(7)) || cache.knows(hash(7)));
  constexpr auto many = static_cast<std::int64_t>(ReaderCache::max_replaced);
  insert_many(30, 40 + many);
  insert(1, 8, 50);
  insert(1, 8, 51);
  insert(1, 8, 52);
  const std::vector<std::int64_t> all = changes(2 * ReaderCache::max_replaced);
  EXPECT_EQ(all.size(), ReaderCache::max_replaced + 2 + 2) << "the oldest are dropped, of each instance";
  EXPECT_THAT(std::vector(all.end() - 3, all.end()), ElementsAre(39 + many, 51, 52));
  insert_many(100 + many, 105 + many);
  cache.keep_replaced(false);
  insert(1, 7, 110 + many);
  EXPECT_THAT(changes(), ElementsAre(104 + many, 110 + many));
}

TEST_F(ReaderCacheTest, MergesTheSamplesOfTwoSources) {
  insert(1, 1, 10);
  insert(1, 2, 10);
  insert(1, 3, 10);
  insert(1, 4, 10, alive, true, 1);
  insert(1, 4, 5, alive, true, 2);  // its clock is slow
  EXPECT_EQ(access(true).size(), 5u) << "taken or not, it was told";
  insert(1, 6, 10);
  insert(1, 6, 20);
  news();
  cache.begin_catch_up(2);
  EXPECT_FALSE(insert(2, 1, 10) || insert(2, 2, 9) || insert(2, 4, 10, alive, true, 1) || insert(2, 6, 10));
  EXPECT_TRUE(insert(2, 5, 10)) << "which the old filter rejected";
  EXPECT_TRUE(insert(1, 5, 11) && insert(2, 2, 12));
  EXPECT_FALSE(insert(2, 5, 11) || insert(1, 2, 12));
  EXPECT_FALSE(insert(2, 1, 11, no_writers, false)) << "the first one may know another writer";
  EXPECT_THAT(news(), UnorderedElementsAre(10, 11, 12));
  EXPECT_TRUE(cache.end_catch_up(true));
  EXPECT_FALSE(insert(1, 2, 99)) << "it has been replaced";
  EXPECT_TRUE(insert(2, 2, 1)) << "nothing is compared any more";
  const auto slots = access(false);
  ASSERT_EQ(slots.size(), 2u);
  EXPECT_TRUE(slots[0].info.instance_state == no_writers && key_hash_of(slots[1].sample->key_hash) == hash(2));
  EXPECT_TRUE(!cache.knows(hash(3)) && cache.is_alive(hash(6))) << "not known any more, and in the history";

  insert(2, 7, 10);
  news();
  cache.begin_catch_up(3);
  EXPECT_TRUE(cache.end_catch_up(true)) << "the history does not contain it any more";
  EXPECT_FALSE(cache.is_alive(hash(7)));
}

TEST_F(ReaderCacheTest, KeepsASampleOnceThatTheReplacementDeliversLate) {
  cache.begin_catch_up(2);
  EXPECT_TRUE(insert(1, 1, 10) && insert(1, 2, 10));
  EXPECT_FALSE(insert(2, 2, 10));
  EXPECT_FALSE(cache.end_catch_up(true)) << "no instance ended";
  EXPECT_TRUE(cache.is_alive(hash(1)));
  EXPECT_FALSE(insert(2, 1, 10)) << "the replaced source delivered it";
  EXPECT_TRUE(insert(2, 1, 10) && insert(2, 2, 10)) << "nothing is compared any more";
}

TEST_F(ReaderCacheTest, DropsExpiredSamples) {
  const std::int64_t now = std::chrono::system_clock::now().time_since_epoch() / 1ns;
  insert(1, 1, now - 1000, alive, true, 1, 500);
  insert(1, 2, now, alive, true, 2, 3600000000000);
  insert(1, 2, now, alive, true, 1, 500);
  insert(1, 3, now - 1000, alive, true, 1, 500);
  insert(1, 3, now, disposed, false);
  const auto slots = access(false);
  ASSERT_EQ(slots.size(), 2u);
  EXPECT_EQ(key_hash_of(slots[0].sample->key_hash), hash(2));
  EXPECT_TRUE(slots[0].info.valid_data);
  EXPECT_EQ(slots[1].info.instance_state, disposed) << "its end is told";
  EXPECT_FALSE(slots[1].info.valid_data);
  EXPECT_TRUE(cache.is_alive(hash(1)));
}

TEST_F(ReaderCacheTest, CountsAndReadsTheSameNewInstances) {
  const std::int64_t now = std::chrono::system_clock::now().time_since_epoch() / 1ns;
  insert(1, 1, now - 3000);
  access(false);
  insert(1, 1, now - 2000, disposed, false);
  insert(1, 1, now - 1000, alive, true, 2, 500);  // alive again, so new; expires at once
  ReaderSelection fresh;
  fresh.view_states = DDS_NEW_VIEW_STATE;
  std::vector<EngineSlot> slots;
  EXPECT_EQ(cache.count(fresh, -1), 1u) << "the sample from before";
  ASSERT_TRUE(cache.access(fresh, 10, slots, nullptr));
  EXPECT_EQ(slots.size(), 1u);
}

}  // namespace
}  // namespace platform_test
