// Writers: when they block, when they send, what they leave for late joiners.
#include "tests/platform/engine_fixture.h"
#include "tests/platform/engine_process.h"

#include <future>

#include <gtest/gtest.h>

namespace engine_test {
namespace {

constexpr DDS_DomainId_t domain = 70;
constexpr std::int64_t second = 1'000'000'000;

// A reader that can be stopped; or a writer with a history that can be stopped.
const Role stalled_reader("flow_reader", [](Channel& parent) {
  const auto participant = make_participant(participant_config(domain));
  const auto reader = make_reader(*participant, "Test.Flow", reader_qos(false, 0));
  parent.send("ready");
  parent.receive(60000);
});

const Role historian("flow_writer", [](Channel& parent) {
  const auto participant = make_participant(participant_config(domain));
  const auto writer = make_writer(*participant, "Test.History", writer_qos(true));
  const auto count = static_cast<std::uint32_t>(std::stoul(parent.receive()));
  const auto first = static_cast<std::uint32_t>(getpid()) * 1'000'000u;
  for (std::uint32_t i = 0; i < count; ++i) write(*writer, {first + i, i});
  parent.send("ready");
  parent.receive(60000);
});

TEST(EngineFlow, AWriterThatKeepsAllBlocksAndTimesOut) {
  Process process("flow_reader");
  ASSERT_EQ(process->receive(), "ready");
  const auto participant = make_participant(participant_config(domain));
  const auto keep_all = make_writer(*participant, "Test.Flow", writer_qos(false, 0));
  const auto keep_last = make_writer(*participant, "Test.Flow", writer_qos(false, 1));
  ASSERT_TRUE(eventually([&] {
    return keep_all->publication_matched_status().current_count == 1 &&
           keep_last->publication_matched_status().current_count == 1;
  }));
  write(*keep_all, {1, 0});
  ASSERT_EQ(keep_all->wait_for_acknowledgments(10 * second), DDS_RETCODE_OK);
  process.signal(SIGSTOP);
  DDS_ReturnCode_t code = DDS_RETCODE_OK;
  auto before = std::chrono::steady_clock::now();
  for (int i = 0; i < 100 && code == DDS_RETCODE_OK; ++i) {
    before = std::chrono::steady_clock::now();
    code = write(*keep_all, {1, 1}, 60'000);
  }
  EXPECT_EQ(code, DDS_RETCODE_TIMEOUT);
  EXPECT_GE(std::chrono::steady_clock::now() - before, 100ms);  // max_blocking_time
  EXPECT_EQ(keep_all->wait_for_acknowledgments(second / 20), DDS_RETCODE_TIMEOUT);
  for (int i = 0; i < 100; ++i) EXPECT_EQ(write(*keep_last, {1, 1}, 60'000), DDS_RETCODE_OK);
  process.signal(SIGCONT);
  EXPECT_EQ(keep_all->wait_for_acknowledgments(10 * second), DDS_RETCODE_OK);
  EXPECT_EQ(process.finish(), 0);
}

TEST(EngineFlow, ABatchIsSentWhenItIsFlushed) {
  const auto participant = make_participant(participant_config(domain));
  const auto other = make_participant(participant_config(domain));
  DDS_DataWriterQos qos = writer_qos(false, 0);
  qos.batch.enable = DDS_BOOLEAN_TRUE;
  const auto batching = make_writer(*participant, "Test.Batch", qos);
  const auto direct = make_writer(*participant, "Test.Direct", writer_qos(false, 0));
  const auto batch_reader = make_reader(*other, "Test.Batch", reader_qos(false, 0));
  const auto direct_reader = make_reader(*other, "Test.Direct", reader_qos(false, 0));
  ASSERT_TRUE(matched(*batching, *batch_reader));
  ASSERT_TRUE(matched(*direct, *direct_reader));
  std::vector<EngineSlot> slots;
  EngineSelection take;
  take.take = true;
  // The first sample goes at once, with a heartbeat, and a reader asks for what it misses after some milliseconds: a
  // slow machine may need several tries to see that the others were not sent.
  bool held_back = false;
  for (int attempt = 0; attempt < 50 && !held_back; ++attempt) {
    for (std::uint32_t i = 0; i < 10; ++i) write(*batching, {1, i});
    write(*direct, {1, 1});
    ASSERT_TRUE(eventually([&] { return direct_reader->access(take, -1, slots) == DDS_RETCODE_OK; }));
    batch_reader->access(take, -1, slots);
    const std::size_t early = slots.size();
    held_back = early <= 1;
    EXPECT_EQ(batching->flush(), DDS_RETCODE_OK);
    ASSERT_EQ(batching->wait_for_acknowledgments(10 * second), DDS_RETCODE_OK);
    batch_reader->access(take, -1, slots);
    EXPECT_EQ(early + slots.size(), 10u);
  }
  EXPECT_TRUE(held_back);
  write(*batching, {1, 10});
  EXPECT_EQ(batching->wait_for_acknowledgments(10 * second), DDS_RETCODE_OK);  // flushes
}

TEST(EngineFlow, AWriterMadeBesideABatchingOneStillSendsAtOnce) {
  const auto participant = make_participant(participant_config(domain));
  const auto other = make_participant(participant_config(domain));
  const auto reader = make_reader(*other, "Test.Direct", reader_qos());
  std::atomic<bool> stop{false};
  std::thread batching([&] {
    DDS_DataWriterQos qos = writer_qos();
    qos.batch.enable = DDS_BOOLEAN_TRUE;
    while (!stop) make_writer(*participant, "Test.Batch", qos);
  });
  for (std::uint32_t i = 1; i <= 20; ++i) {
    const auto writer = make_writer(*participant, "Test.Direct", writer_qos());
    ASSERT_TRUE(matched(*writer, *reader));
    write(*writer, {i, i});
    std::vector<EngineSlot> slots;
    EngineSelection take;
    take.take = true;
    EXPECT_TRUE(eventually([&] {
      reader->access(take, -1, slots);
      return std::any_of(slots.begin(), slots.end(),
                         [&](const EngineSlot& slot) { return slot.info.valid_data && decode(slot).id == i; });
    })) << i;
  }
  stop = true;
  batching.join();
}

TEST(EngineHistory, IsCompleteWhenTheWaitEnds) {
  constexpr std::uint32_t each = 30'000;
  Process processes[] = {Process("flow_writer"), Process("flow_writer"), Process("flow_writer")};
  for (Process& process : processes) process->send(std::to_string(each));
  for (Process& process : processes) ASSERT_EQ(process->receive(), "ready");
  const auto participant = make_participant(participant_config(domain));
  const auto local = make_writer(*participant, "Test.History", writer_qos(true));
  write(*local, {1, 1});
  const auto reader = make_reader(*participant, "Test.History", reader_qos(true));
  ASSERT_TRUE(eventually([&] { return reader->subscription_matched_status().current_count == 4; }));
  EXPECT_EQ(reader->wait_for_historical_data(never), DDS_RETCODE_OK);
  std::vector<EngineSlot> slots;
  EXPECT_EQ(reader->access({}, -1, slots), DDS_RETCODE_OK);
  EXPECT_EQ(slots.size(), 3 * each + 1);
}

TEST(EngineHistory, OfAStoppedWriterIsNotClaimed) {
  Process process("flow_writer");
  process->send("1000");
  ASSERT_EQ(process->receive(), "ready");
  const auto participant = make_participant(participant_config(domain));
  const auto first = make_reader(*participant, "Test.History", reader_qos(true));
  ASSERT_TRUE(eventually([&] { return first->subscription_matched_status().current_count == 1; }));
  ASSERT_EQ(first->wait_for_historical_data(10 * second), DDS_RETCODE_OK);
  process.signal(SIGSTOP);
  // It is matched at once, its history cannot come.
  const auto second_reader = make_reader(*participant, "Test.History", reader_qos(true));
  ASSERT_EQ(second_reader->subscription_matched_status().current_count, 1);
  EXPECT_EQ(second_reader->wait_for_historical_data(second / 5), DDS_RETCODE_TIMEOUT);
  process.signal(SIGCONT);
  EXPECT_EQ(second_reader->wait_for_historical_data(10 * second), DDS_RETCODE_OK);
  std::vector<EngineSlot> slots;
  second_reader->access({}, -1, slots);
  EXPECT_EQ(slots.size(), 1000u);
}

TEST(EngineHistory, IsAsDeepAsTheWritersHistory) {
  const auto participant = make_participant(participant_config(domain));
  const auto other = make_participant(participant_config(domain));
  const auto third = make_participant(participant_config(domain));
  for (const int depth : {1, 3, 0}) {
    const std::string topic = "Test.Depth" + std::to_string(depth);
    const auto writer = make_writer(*participant, topic, writer_qos(true, depth));
    for (std::uint32_t value = 0; value < 10; ++value) write(*writer, {1, value});
    const auto reader = make_reader(*other, topic, reader_qos(true, 0));
    const auto not_asked = make_reader(*third, topic, reader_qos(false, 0));
    ASSERT_TRUE(matched(*writer, *reader, 2));
    EXPECT_EQ(reader->wait_for_historical_data(10 * second), DDS_RETCODE_OK);
    std::vector<EngineSlot> slots;
    reader->access({}, -1, slots);
    EXPECT_EQ(slots.size(), depth == 0 ? 10u : static_cast<std::size_t>(depth));
    EXPECT_EQ(not_asked->wait_for_historical_data(10 * second), DDS_RETCODE_OK);
    EXPECT_EQ(not_asked->access({}, -1, slots), DDS_RETCODE_NO_DATA);
  }
}

}  // namespace
}  // namespace engine_test
