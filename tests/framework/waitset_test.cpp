// SPDX-License-Identifier: Apache-2.0

#include "tessivar/framework/nodes/detail/instances.h"
#include "tessivar/framework/waitset/detail/instances.h"
#include "tessivar/framework/waitset/handle_sum_order.h"
#include "tessivar/framework/waitset/wait_set_thread.h"
#include "tests/framework/support/samples.h"
#include "tests/support/log_recorder.h"
#include "tests/support/loopback.h"

#include <algorithm>
#include <future>

namespace {

using namespace TessivarDDS;
using namespace tessivar::testing;
using namespace testing;

constexpr int domain_id = 67;
typedef DDSNode<Tessivar::Command> Node;

/// Records its samples as texts.
class Recorder : public WaitSetThreadRunner<Tessivar::Command> {
 public:
  Recorder(const Node& node, Events& events, const RunnerSettings& settings = {})
      : WaitSetThreadRunner(node.dataReader(), settings), events_(events) {}
  ~Recorder() override { events_.add("deleted"); }

  using WaitSetThreadRunner::processSample;
  void processSample(const Tessivar::Command& sample) override {
    events_.add(text(sample));
    if (during) during(sample);
  }
  void processInvalidSample(const DDS_SampleInfo& info) override { events_.add(info.valid_data ? "alive" : "gone"); }

  std::function<void(const Tessivar::Command&)> during;

 private:
  Events& events_;
};

class WaitSetThreadTest : public Test {
 protected:
  WaitSetThreadTest() {
    DDS_TopicQos qos;
    qos.reliability.kind = DDS_RELIABLE_RELIABILITY_QOS;
    qos.durability.kind = DDS_TRANSIENT_LOCAL_DURABILITY_QOS;
    writer.reset(Node::create(&here, "WaitSet.Test", qos, false));
    reader.reset(Node::create(&there, "WaitSet.Test", qos, true));
    EXPECT_TRUE(eventually([&] {
      DDS_PublicationMatchedStatus readers;
      return writer->dataWriter()->get_publication_matched_status(readers), readers.current_count == 1;
    }));
  }
  /// Writes, and waits until the reader has the sample.
  void write(const char* unit, unsigned number, int value = 0) {
    ASSERT_TRUE(writer->writeSample(command(unit, number, value)));
    ASSERT_EQ(writer->dataWriter()->wait_for_acknowledgments({20, 0}), DDS_RETCODE_OK);
  }
  void begin(const RunnerSettings& settings = {}, std::function<void(const Tessivar::Command&)> during = {}) {
    auto* const runner = new Recorder(*reader, events, settings);
    runner->during = std::move(during);
    EXPECT_TRUE(thread.create() && thread.attachRunner(runner, true));
    thread.start();
  }

  LogRecorder log;
  Events events;
  LoopbackDomain here{domain_id}, there{domain_id};
  std::unique_ptr<Node> writer, reader;
  WaitSetThread thread{"WaitSetTest"};
};

TEST_F(WaitSetThreadTest, ReportsNewAndEndedInstances) {
  write("u", 1, 10);
  ASSERT_EQ(writer->dataWriter()->dispose(*command("u", 1), DDS_HANDLE_NIL), DDS_RETCODE_OK);
  write("v", 2);
  begin({.maxSamples = 1, .take = false});
  EXPECT_THAT(events.take(3), UnorderedElementsAre("u/1=10", "gone", "v/2=0"));
  write("v", 2, 11);
  EXPECT_THAT(events.take(1), ElementsAre("v/2=11"));
}

TEST_F(WaitSetThreadTest, AttachesAndDetachesRunnersWhileItRuns) {
  ASSERT_TRUE(thread.create());
  thread.start();
  for (int round = 0; round < 20; ++round) {
    ASSERT_TRUE(thread.attachRunner(new Recorder(*reader, events), true));
    write("u", 1, round);
    EXPECT_TRUE(events.happens("u/1=" + std::to_string(round)));
    EXPECT_TRUE(thread.detachRunner(reader->dataReader()));
    EXPECT_TRUE(events.happens("deleted"));
    EXPECT_FALSE(thread.detachRunner(reader->dataReader()));
    ASSERT_TRUE(reader->cleanUpDataReader() && reader->createDataReader()) << "nothing of the runner is left on it";
  }
}

TEST_F(WaitSetThreadTest, ServesReadyRunnersInTurn) {
  // Does not read, so that its reader stays ready.
  struct Busy : WaitSetThreadRunnerBase {
    Busy(std::string its_name, DDSDataReader* its_reader, Events& its_events)
        : WaitSetThreadRunnerBase(RunnerSettings{}), name(std::move(its_name)), from(its_reader), events(its_events) {}
    DDSDataReader* reader() override { return from; }
    void processData() override { events.add(name); }
    void cleanUpReader() override { deleteConditions(from, name); }
    const std::string name;
    DDSDataReader* const from;
    Events& events;
  };
  ASSERT_TRUE(thread.create());
  std::vector<std::unique_ptr<Node>> others;  // they share the topic
  for (const char* name : {"a", "b", "c"}) {
    others.emplace_back(Node::create(&there, "WaitSet.Test", DDS_TOPIC_QOS_DEFAULT, true));
    ASSERT_TRUE(others.back() &&
                thread.attachRunner(std::make_unique<Busy>(name, others.back()->dataReader(), events)));
  }
  write("u", 1);
  for (const auto& other : others) {
    ASSERT_TRUE(eventually([&] { return other->dataReader()->lookup_instance(*command("u", 1)).isValid; }));
  }
  thread.start();
  std::vector<std::string> served = events.take(30);
  thread.stop();
  served.resize(30);
  EXPECT_THAT(std::vector(served.begin(), served.begin() + 6), ElementsAre("a", "b", "c", "a", "b", "c"));
}

TEST_F(WaitSetThreadTest, StopsIfRunThrowsOrLoops) {
  struct Overriding : WaitSetThread {
    explicit Overriding(bool throws) : failing(throws) {}
    ~Overriding() override { stop(); }
    void run() override {
      if (failing) throw std::runtime_error("no run");
      while (!stopRequested()) TessivarThread::sleep(1);
    }
    const bool failing;
  };
  for (const bool failing : {true, false}) {
    Overriding other(failing);
    ASSERT_TRUE(other.create());
    other.start();
  }
  EXPECT_THAT(log.lines(), ElementsAre(EndsWith(" Exception in the thread: no run")));
}

TEST_F(WaitSetThreadTest, DetachWaitsForTheRunner) {
  std::promise<void> entered, go;
  begin({}, [&](const auto&) {
    EXPECT_TRUE(thread.isCurrent());
    Events unused;
    Recorder other(*reader, unused);
    EXPECT_FALSE(thread.detachRunner(reader->dataReader()) || thread.attachRunner(&other, false));
    EXPECT_THAT(log.lines(), AllOf(SizeIs(2), Each(HasSubstr("Not possible within a runner of this thread"))));
    entered.set_value();
    go.get_future().wait();
  });
  write("u", 1);
  entered.get_future().wait();
  auto detached = std::async(std::launch::async, [&] { return thread.detachRunner(reader->dataReader()); });
  EXPECT_EQ(detached.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
  go.set_value();
  EXPECT_TRUE(detached.get());
  EXPECT_THAT(events.take(2), ElementsAre("u/1=0", "deleted"));
}

TEST_F(WaitSetThreadTest, SkipsReplacedSamplesThatWaitedTooLong) {
  std::promise<void> entered, go;
  begin({.everyChange = true}, [&](const Tessivar::Command& sample) {
    if (sample.value._u.intValue != 1) return;
    entered.set_value();
    go.get_future().wait();
  });
  write("u", 1, 1);
  entered.get_future().wait();
  for (const int value : {2, 3, 4}) write("u", 1, value);
  write("v", 1, 5);
  TessivarThread::sleep(100);
  go.set_value();
  EXPECT_THAT(events.take(3), ElementsAre("u/1=1", "u/1=4", "v/1=5"));
}

TEST_F(WaitSetThreadTest, ContinuesAfterAnExceptionOfARunner) {
  for (unsigned number = 1; number <= 3; ++number) write("u", number);
  begin({}, [&](const Tessivar::Command& sample) {
    if (sample.commandNumber == 1) throw std::runtime_error("first");
    if (sample.commandNumber == 2) throw 2;
    thread.stop();  // also from its own thread
  });
  EXPECT_EQ(events.take(3).size(), 3u);
  thread.stop();
  EXPECT_THAT(log.lines(), UnorderedElementsAre(EndsWith(" Exception in the application's code: first"),
                                                EndsWith(" Exception in the application's code.")));
  EXPECT_TRUE(reader->cleanUpDataReader()) << "no loan is left";
}

TEST(HandleSumOrderTest, AddsTheOctetsOfTheKeyHash) {
  const auto sum = [](const DDS_Octet(&octets)[16], DDS_UnsignedLong length = 16) {
    DDS_InstanceHandle_t handle = {{{0}, length}, DDS_BOOLEAN_TRUE};
    std::copy_n(octets, 16, handle.keyHash.value);
    return HandleSumOrder::sum(handle);
  };
  EXPECT_EQ(sum({255, 255, 1}), 511u);
  EXPECT_EQ(sum({255, 255, 255}, 2), 510u) << "only as many as the hash is long";
  EXPECT_EQ(sum({255}, 99), 255u) << "and no further than there are";
}

}  // namespace
