// SPDX-License-Identifier: Apache-2.0

// Tests writing: instances, refusals, batches, and the history for late joiners.
#include "support/peer.h"

#include <algorithm>
#include <atomic>
#include <csignal>

namespace platform_test {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;

class WriterTest : public testing::Test {
 protected:
  LogRecorder log;
  Side side;
  CommandDataWriter* writer = side.writer();
};

TEST_F(WriterTest, KnowsItsInstancesUntilTheyAreUnregistered) {
  CommandDataReader* reader = side.reader();
  const Command sample = command(258);
  const DDS_InstanceHandle_t handle = writer->register_instance(sample);
  EXPECT_EQ(writer->unregister_instance(sample, handle), DDS_RETCODE_OK);
  EXPECT_EQ(take(reader).size(), 0u) << "one that was never written";
  EXPECT_EQ(writer->write(sample, handle), DDS_RETCODE_OK);
  DDS_WriteParams_t params;
  params.source_timestamp = {1700000000, 5};
  EXPECT_EQ(writer->write_w_params(sample, params), DDS_RETCODE_OK);
  EXPECT_TRUE(DDS_InstanceHandle_equals(&handle, &params.handle));
  EXPECT_EQ(writer->dispose(sample, handle), DDS_RETCODE_OK);
  EXPECT_TRUE(writer->lookup_instance(sample).isValid);
  EXPECT_EQ(take(reader).at(1).info.source_timestamp.sec, 1700000000);
  EXPECT_EQ(writer->write(sample, handle), DDS_RETCODE_OK);
  EXPECT_EQ(writer->unregister_instance(sample, handle), DDS_RETCODE_OK);
  EXPECT_EQ(take(reader, 1).at(0).info.instance_state, DDS_NOT_ALIVE_DISPOSED_INSTANCE_STATE)
      << "unregistering disposes by default";
  Command key;
  EXPECT_EQ(writer->get_key_value(key, handle), DDS_RETCODE_BAD_PARAMETER);
  EXPECT_EQ(writer->unregister_instance(sample, handle), DDS_RETCODE_PRECONDITION_NOT_MET);
}

TEST_F(WriterTest, CountsSamplesOfAllThreadsAndTheTimeOfTheLast) {
  ASSERT_EQ(writer->write_w_timestamp(command(1), DDS_HANDLE_NIL, {1, 0}), DDS_RETCODE_OK);
  EXPECT_GT(writer->counters()->read().last_change, std::int64_t{1700000000} * 1000000000) << "not the sample's time";
  constexpr std::uint64_t each = 20000;
  const auto write_many = [this] {
    const Command sample = command(1);
    for (std::uint64_t i = 0; i < each; ++i) writer->write(sample, DDS_HANDLE_NIL);
  };
  std::thread another(write_many), third(write_many);
  write_many();
  another.join();
  third.join();
  EXPECT_EQ(writer->counters()->read().sent, 1 + 3 * each);
}

TEST_F(WriterTest, RefusesInvalidSamplesWithOneLogLine) {
  const Command good = command(1);
  std::string long_text(65, 'x');
  Command too_long = good;
  too_long.value = {Tessivar::String, {0, long_text.data()}};
  Command bad_key = good;
  bad_key.unitId = long_text.data();
  const auto refused = [&](DDS_ReturnCode_t result, const char* line) {
    EXPECT_EQ(result, DDS_RETCODE_BAD_PARAMETER) << line;
    EXPECT_THAT(log.lines(), ElementsAre(AllOf(HasSubstr(line), HasSubstr(side.topic->get_name()))));
  };
  const DDS_InstanceHandle_t nil = DDS_HANDLE_NIL;
  const DDS_InstanceHandle_t other = writer->register_instance(command(2));
  refused(writer->write_untypedI(nullptr, nil, DDS_TIME_INVALID), "write: topic");
  refused(writer->write(too_long, nil),
          "the sample cannot be encoded: "
          "Tessivar::Command.value.stringValue has more than 64 characters: \"xxxx");
  too_long.value._d = static_cast<Tessivar::CommandType>(9);
  refused(writer->write(too_long, nil), "Command.value._d is 9, which is no enumerator of Tessivar::CommandType");
  bad_key.value = too_long.value;  // not part of the key
  refused(writer->dispose(bad_key, nil), "the key cannot be encoded: Tessivar::Command.unitId has more than 64");
  refused(writer->write(good, other), "the handle is another instance's");
  refused(writer->write_w_timestamp(good, nil, {1, 1000000000}), "not a valid time");
  EXPECT_FALSE(writer->register_instance(bad_key).isValid);
}

TEST_F(WriterTest, ReportsTheNameItsTypeWasRegisteredWith) {
  Side peer(loopback_qos(), own_topic(".Later"));
  DDSTopic* const later = peer.topic;
  CommandSupport::register_type(peer.participant, "Other");
  peer.topic = peer.participant->create_topic(side.topic->get_name(), "Other", reliable<DDS_TopicQos>(), nullptr, 0);
  CommandDataReader* other = peer.reader();
  EXPECT_STREQ(other->get_type_name(), "Other");
  EXPECT_EQ(other->counters()->read().type, "Other");
  EXPECT_STREQ(writer->get_type_name(), "Command");
  EXPECT_EQ(writer->counters()->read().type, "Command");
  side.topic = side.participant->create_topic(later->get_name(), "Command", reliable<DDS_TopicQos>(), nullptr, 0);
  side.writer();
  ASSERT_TRUE(matched(peer.reader(DDS_DATAREADER_QOS_USE_TOPIC_QOS, nullptr, later)));
  EXPECT_EQ(matches(other).current_count, 0);
  EXPECT_EQ(CommandSupport::unregister_type(peer.participant, "Other"), DDS_RETCODE_PRECONDITION_NOT_MET);
  EXPECT_EQ(CommandSupport::unregister_type(peer.participant, "Unknown"), DDS_RETCODE_BAD_PARAMETER);
  EXPECT_THAT(log.lines(), ElementsAre(HasSubstr("TTypeSupport::unregister_type: type \"Other\" is still used"),
                                       HasSubstr("TTypeSupport::unregister_type: type \"Unknown\" is not")));
}

class BatchTest : public WriterTest {
 protected:
  CommandDataWriter* batched(DDS_Duration_t delay, DDS_Long max_bytes = any, DDS_Long max_samples = any) {
    auto qos = reliable<DDS_DataWriterQos>(false);
    qos.batch = {DDS_BOOLEAN_TRUE, max_bytes, max_samples, delay};
    return side.writer(qos);
  }
  static constexpr DDS_Long any = DDS_LENGTH_UNLIMITED;
  Side peer;
  CommandDataReader* reader = peer.reader(reliable<DDS_DataReaderQos>(false));
};

TEST_F(BatchTest, IsSentWhenFlushedFullOrAfterItsDelay) {
  CommandDataWriter* endless = batched(DDS_DURATION_INFINITE);
  CommandDataWriter* limited[] = {batched(DDS_DURATION_INFINITE, 100), batched(DDS_DURATION_INFINITE, any, 5),
                                  batched({0, 30000000})};
  ASSERT_TRUE(matched(reader, 5) && matched(writer) && matched(endless));
  // The first sample is sent at once, with a heartbeat, and a reader requests missing samples after some milliseconds.
  // On a slow machine several attempts may be necessary to see that the other samples were not sent.
  bool held_back = false;
  for (int attempt = 0; attempt < 50 && !held_back; ++attempt) {
    for (DDS_UnsignedLong i = 0; i < 10; ++i) write(endless, i);
    write(writer, 99);
    std::vector<DDS_UnsignedLong> early;
    ASSERT_TRUE(eventually([&] {
      for (const Received& one : take(reader)) early.push_back(one.number);
      return std::find(early.begin(), early.end(), 99u) != early.end();
    }));
    held_back = early.size() <= 2;
    EXPECT_EQ(attempt % 2 ? endless->flush() : endless->wait_for_acknowledgments(patience), DDS_RETCODE_OK);
    EXPECT_EQ(take(reader, 11 - early.size()).size(), 11 - early.size());
  }
  EXPECT_TRUE(held_back);
  for (CommandDataWriter* other : limited) {
    ASSERT_TRUE(matched(other));
    for (DDS_UnsignedLong i = 0; i < 7; ++i) write(other, i);
    EXPECT_GE(take(reader, 5).size(), 5u);
  }
}

TEST_F(BatchTest, DoesNotDelayWritersWithoutBatches) {
  std::atomic<bool> stop = false;
  const auto come_and_go = [&] {
    while (!stop) {
      CommandDataWriter* batching = batched({0, 500000});
      for (int n = 0; n < 20; ++n) write(batching, 0);
      EXPECT_EQ(side.participant->delete_datawriter(batching), DDS_RETCODE_OK);
    }
  };
  std::thread first(come_and_go), second(come_and_go);
  for (DDS_UnsignedLong i = 1; i <= 20; ++i) {
    CommandDataWriter* direct = side.writer();
    EXPECT_TRUE(matched(direct));
    write(direct, i);
    EXPECT_TRUE(comes(reader, i)) << i;
  }
  stop = true;
  first.join();
  second.join();
}

TEST(HistoryTest, IsCompleteWhenTheWaitSucceeds) {
  constexpr std::size_t each = 10000;
  Peer peers[] = {Peer(each), Peer(each), Peer(each)};
  Side side;
  EXPECT_EQ(write(side.writer(lively<DDS_DataWriterQos>(true)), 1), DDS_RETCODE_OK);
  const auto qos = lively<DDS_DataReaderQos>(true);
  CommandDataReader* reader = side.reader(qos);
  ASSERT_TRUE(matched(reader, 4));
  EXPECT_EQ(reader->wait_for_historical_data({-1, 0}), DDS_RETCODE_BAD_PARAMETER);
  EXPECT_EQ(reader->wait_for_historical_data(patience), DDS_RETCODE_OK);
  EXPECT_EQ(take(reader).size(), 3 * each + 1);

  peers[0].signal(SIGSTOP);
  CommandDataReader* late = side.reader(qos);
  ASSERT_TRUE(matched(late, 4)) << "it is matched, its history cannot come";
  EXPECT_EQ(late->wait_for_historical_data({0, 200000000}), DDS_RETCODE_TIMEOUT);
  peers[0].signal(SIGCONT);
  EXPECT_EQ(late->wait_for_historical_data(patience), DDS_RETCODE_OK);
  EXPECT_EQ(take(late).size(), 3 * each + 1);
}

}  // namespace
}  // namespace platform_test
