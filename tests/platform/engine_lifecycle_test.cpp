// Coming and going: callbacks end, nothing is left behind.
#include "tests/platform/engine_fixture.h"

#include <atomic>
#include <filesystem>
#include <fstream>
#include <unistd.h>

#include <gtest/gtest.h>

namespace engine_test {
namespace {

constexpr DDS_DomainId_t domain = 72;

struct Usage {
  std::size_t threads;
  std::size_t files;
  std::size_t octets;
};

Usage usage() {
  namespace fs = std::filesystem;
  const auto count = [](const char* path) {
    return static_cast<std::size_t>(std::distance(fs::directory_iterator(path), fs::directory_iterator()));
  };
  std::size_t total = 0;
  std::size_t resident = 0;
  std::ifstream("/proc/self/statm") >> total >> resident;
  return {count("/proc/self/task"), count("/proc/self/fd"), resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE))};
}

void come_and_go() {
  const auto participant = make_participant(participant_config(domain));
  const auto other = make_participant(participant_config(domain));
  const auto writer = make_writer(*participant, "Test.Life", writer_qos(true));
  const auto reader = make_reader(*other, "Test.Life", reader_qos(true));
  const auto wait_set = cyclone_engine().create_wait_set();
  const auto condition = reader->create_condition(DDS_ANY_SAMPLE_STATE, DDS_ANY_VIEW_STATE, DDS_ANY_INSTANCE_STATE);
  wait_set->attach(*condition, nullptr);
  ASSERT_TRUE(matched(*writer, *reader));
  for (std::uint32_t id = 0; id < 20; ++id) write(*writer, {id, id}, 500);
  ASSERT_EQ(writer->wait_for_acknowledgments(10'000'000'000), DDS_RETCODE_OK);
}

TEST(EngineLifecycle, NothingGrowsOverManyRounds) {
  for (int i = 0; i < 20; ++i) come_and_go();
  const Usage before = usage();
  for (int i = 0; i < 200; ++i) come_and_go();
  const Usage after = usage();
  EXPECT_EQ(after.threads, before.threads);
  EXPECT_EQ(after.files, before.files);
#ifndef TESSIVAR_SANITIZED  // they keep what was freed
  EXPECT_LT(after.octets, before.octets + (4u << 20));
#endif
}

/// Counts calls, and notices one that comes after its time.
class Counting final : public EngineReaderEvents, public EngineFilter {
 public:
  bool accepts(const EncodedSample&, EngineHandle, const DDS_FilterSampleInfo&) override { return called(); }
  void data_available() override { called(); }
  void subscription_matched(const DDS_SubscriptionMatchedStatus& status) override {
    called();
    matched_count = status.current_count;
  }
  void liveliness_changed(const DDS_LivelinessChangedStatus& status) override {
    called();
    alive_count = status.alive_count;
  }
  void requested_deadline_missed(const DDS_RequestedDeadlineMissedStatus& status) override {
    called();
    missed_instance = status.last_instance_handle;
    ++deadlines_missed;
  }
  void requested_incompatible_qos(const DDS_RequestedIncompatibleQosStatus& status) override {
    called();
    incompatible_policy = status.last_policy_id;
  }
  void sample_lost(const DDS_SampleLostStatus&) override { called(); }
  void sample_rejected(const DDS_SampleRejectedStatus&) override { called(); }

  bool called() {
    EXPECT_FALSE(over);
    ++calls;
    return true;
  }

  std::atomic<bool> over{false};
  std::atomic<int> calls{0};
  std::atomic<DDS_Long> matched_count{0};
  std::atomic<DDS_Long> alive_count{0};
  std::atomic<DDS_Long> deadlines_missed{0};
  std::atomic<DDS_Long> incompatible_policy{0};
  DDS_InstanceHandle_t missed_instance = DDS_HANDLE_NIL;
};

TEST(EngineLifecycle, AReadersCallsEndWithIt) {
  const auto participant = make_participant(participant_config(domain));
  const auto other = make_participant(participant_config(domain));
  const auto local = make_writer(*participant, "Test.Calls", writer_qos());
  const auto remote = make_writer(*other, "Test.Calls", writer_qos());
  std::atomic<bool> stop{false};
  std::thread writing([&] {
    for (std::uint32_t i = 0; !stop; ++i) {
      write(*local, {1, i});
      write(*remote, {2, i});
    }
  });
  for (int round = 0; round < 20; ++round) {
    Counting calls;
    auto reader = make_reader(*participant, "Test.Calls", reader_qos(), &calls, &calls);
    EXPECT_TRUE(eventually([&] { return calls.matched_count == 2 && calls.alive_count == 2 && calls.calls > 50; }));
    reader.reset();
    calls.over = true;
  }
  stop = true;
  writing.join();
}

TEST(EngineLifecycle, EventsThatCameEarlyAreToldToo) {
  const auto participant = make_participant(participant_config(domain));
  const auto writer = make_writer(*participant, "Test.Early", writer_qos(true));
  write(*writer, {1, 1});
  Counting calls;
  const auto reader = make_reader(*participant, "Test.Early", reader_qos(true), &calls);
  EXPECT_EQ(calls.matched_count, 1);
  EXPECT_GE(calls.calls, 2);  // that, and its data
  EXPECT_EQ(reader->subscription_matched_status().current_count, 1);
  const DDS_InstanceHandle_t guid = writer->guid();
  const std::vector<DDS_InstanceHandle_t> writers = reader->matched_publications();
  ASSERT_EQ(writers.size(), 1u);
  EXPECT_TRUE(DDS_InstanceHandle_equals(&writers[0], &guid));
  EXPECT_EQ(writer->matched_subscriptions().size(), 1u);
}

TEST(EngineLifecycle, WhatDoesNotFitAndWhatIsLateIsTold) {
  const auto participant = make_participant(participant_config(domain));
  Counting calls;
  const auto unfit = make_reader(*participant, "Test.Events", reader_qos(true), &calls);
  const auto writer = make_writer(*participant, "Test.Events", writer_qos(false));
  EXPECT_TRUE(eventually([&] { return calls.incompatible_policy == 2; }));  // durability

  Counting late;
  DDS_DataReaderQos hurried = reader_qos();
  hurried.deadline.period = {0, 20'000'000};
  DDS_DataWriterQos offering = writer_qos();
  offering.deadline.period = {0, 20'000'000};
  const auto reader = make_reader(*participant, "Test.Late", hurried, &late);
  const auto offered = make_writer(*participant, "Test.Late", offering);
  write(*offered, {3, 1});
  EXPECT_TRUE(eventually([&] { return late.deadlines_missed > 0; }));
  std::uint8_t hash[16];
  hash_of(3, hash);
  EXPECT_TRUE(std::equal(std::begin(hash), std::end(hash), late.missed_instance.keyHash.value));
}

}  // namespace
}  // namespace engine_test
