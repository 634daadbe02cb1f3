#include "tessivar/framework/nodes/instances.h"
#include "tessivar/framework/waitset/instances.h"
#include "tessivar/framework/waitset/wait_set_thread.h"
#include "tests/control/support/log_recorder.h"
#include "tests/framework/support/bus.h"
#include "tests/framework/support/samples.h"

#include <future>
#include <stdexcept>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace TessivarDDS;
using namespace tessivar::testing;
using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::Not;

constexpr int domain_id = 67;
typedef DDSNode<Tessivar::Command> Node;
typedef WaitSetThreadRunner<Tessivar::Command> Runner;

constexpr const char* attach_signature =
    "8 bool __cdecl TessivarDDS::WaitSetThread::attachRunner(class TessivarDDS::WaitSetThreadRunnerBase *,bool)";
constexpr const char* run_signature = "1 void __cdecl TessivarDDS::WaitSetThread::run(void)";

/// Notes what it is given, as texts.
class Recorder : public Runner {
 public:
  Recorder(const Node& node, Events& events, const RunnerSettings& settings = {})
      : Runner(node.dataReader(), settings), events_(events) {}
  ~Recorder() override { events_.add("deleted"); }

  using Runner::processSample;
  void processSample(const Tessivar::Command& sample) override {
    events_.add(text(sample));
    if (during) during(sample);
  }
  void processInvalidSample(const DDS_SampleInfo& info) override {
    EXPECT_FALSE(info.valid_data);
    EXPECT_NE(info.instance_state, DDS_ALIVE_INSTANCE_STATE);
    events_.add("gone");
  }
  void processData() override {
    ++cycles;
    Runner::processData();
  }

  std::function<void(const Tessivar::Command&)> during;
  std::atomic<int> cycles{0};

 private:
  Events& events_;
};

DDS_TopicQos stateQos() {
  DDS_TopicQos qos;
  qos.reliability.kind = DDS_RELIABLE_RELIABILITY_QOS;
  qos.durability.kind = DDS_TRANSIENT_LOCAL_DURABILITY_QOS;
  return qos;
}

class WaitSet : public testing::Test {
 protected:
  void SetUp() override {
    writer.reset(Node::create(&here, "WaitSet.Test", stateQos(), false));
    reader.reset(Node::create(&there, "WaitSet.Test", stateQos(), true));
    ASSERT_TRUE(writer && reader);
    ASSERT_TRUE(eventually([&] { return matched(*writer) && matched(*reader); }));
    log.lines();
  }
  static bool matched(const Node& node) {
    DDS_PublicationMatchedStatus readers = {};
    DDS_SubscriptionMatchedStatus writers = {};
    if (node.dataWriter()) node.dataWriter()->get_publication_matched_status(readers);
    if (node.dataReader()) node.dataReader()->get_subscription_matched_status(writers);
    return readers.current_count + writers.current_count == 1;
  }
  void write(const char* unit, unsigned number, int value = 0) {
    ASSERT_TRUE(writer->writeSample(command(unit, number, value)));
  }
  void dispose(const char* unit, unsigned number) {
    const DDSPtr<Tessivar::Command> key = command(unit, number);
    ASSERT_EQ(writer->dataWriter()->dispose(*key, DDS_HANDLE_NIL), DDS_RETCODE_OK);
  }

  LogRecorder log{LogDebug};
  Events events;
  LoopbackDomain here{domain_id};
  LoopbackDomain there{domain_id};
  std::unique_ptr<Node> writer, reader;
  WaitSetThread thread{"WaitSetTest"};
};

TEST(WaitSetAlone, reports_what_it_cannot_do) {
  LogRecorder log(LogDebug);
  Events events;
  Node none;
  Recorder runner(none, events);
  WaitSetThread thread;
  EXPECT_FALSE(thread.attachRunner(nullptr, true));
  EXPECT_THAT(log.lines(), IsEmpty());
  EXPECT_FALSE(thread.attachRunner(&runner, false));
  EXPECT_THAT(log.lines(), ElementsAre(attach_signature + std::string("No reader attached to the runner.")));
  thread.start();
  EXPECT_THAT(log.lines(), ElementsAre("8 void __cdecl TessivarDDS::WaitSetThread::start(void)"
                                       "WaitSetThread::create() not called before calling start. Thread will not be "
                                       "started."));
  thread.run();
  EXPECT_THAT(log.lines(), ElementsAre("8 void __cdecl TessivarDDS::WaitSetThread::run(void)"
                                       "WaitSetThread::create() not called."));
  EXPECT_FALSE(thread.detachRunner(nullptr));
  thread.stop();
  EXPECT_TRUE(thread.create());
  EXPECT_TRUE(thread.create());
  thread.stop();
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(WaitSet, needs_to_be_created_before_runners_are_attached) {
  Recorder runner(*reader, events);
  EXPECT_FALSE(thread.attachRunner(&runner, false));
  EXPECT_THAT(log.lines(), ElementsAre(attach_signature + std::string("WaitSetThread::create() not called")));
}

TEST_F(WaitSet, hands_samples_to_the_runner_and_says_how_it_ends) {
  ASSERT_TRUE(thread.create());
  ASSERT_TRUE(thread.attachRunner(new Recorder(*reader, events), true));
  thread.start();
  thread.start();
  write("u", 1, 10);
  EXPECT_THAT(events.take(1), ElementsAre("u/1=10"));
  write("u", 1, 11);
  EXPECT_THAT(events.take(1), ElementsAre("u/1=11"));
  log.lines();
  thread.stop();
  EXPECT_THAT(events.take(1), ElementsAre("deleted"));
  EXPECT_THAT(log.lines(), ElementsAre(run_signature + std::string("Quit condition was triggered!"),
                                       run_signature + std::string("WaitSetThread::run() terminated")));
}

TEST_F(WaitSet, tells_of_instances_that_go) {
  ASSERT_TRUE(thread.create());
  ASSERT_TRUE(thread.attachRunner(new Recorder(*reader, events, {.take = false}), true));
  thread.start();
  write("u", 1);
  EXPECT_THAT(events.take(1), ElementsAre("u/1=0"));
  dispose("u", 1);
  EXPECT_THAT(events.take(1), ElementsAre("gone"));
}

TEST_F(WaitSet, tells_of_instances_that_go_with_their_last_sample_unread) {
  write("u", 1);
  // A dispose takes its sample's place in what the writer keeps, so the sample has to arrive first.
  ASSERT_EQ(writer->dataWriter()->wait_for_acknowledgments({20, 0}), DDS_RETCODE_OK);
  dispose("u", 1);
  write("v", 2);
  ASSERT_EQ(writer->dataWriter()->wait_for_acknowledgments({20, 0}), DDS_RETCODE_OK);
  ASSERT_TRUE(thread.create());
  ASSERT_TRUE(thread.attachRunner(new Recorder(*reader, events, {.take = false}), true));
  thread.start();
  EXPECT_THAT(events.take(3), testing::UnorderedElementsAre("u/1=0", "gone", "v/2=0"));
}

TEST_F(WaitSet, keeps_or_takes_the_samples_as_it_is_told) {
  for (const bool take : {false, true}) {
    ASSERT_TRUE(thread.create());
    ASSERT_TRUE(thread.attachRunner(new Recorder(*reader, events, {.take = take}), true));
    thread.start();
    write("u", take);
    EXPECT_TRUE(events.happens("u/" + std::to_string(take) + "=0"));
    thread.stop();
    Tessivar::CommandSeq samples;
    DDS_SampleInfoSeq infos;
    EXPECT_EQ(reader->dataReader()->read(samples, infos, DDS_LENGTH_UNLIMITED, DDS_ANY_SAMPLE_STATE, DDS_ANY_VIEW_STATE,
                                         DDS_ANY_INSTANCE_STATE),
              DDS_RETCODE_OK);
    EXPECT_EQ(samples.length(), 1);  // the first round's stays for the second
    reader->dataReader()->return_loan(samples, infos);
  }
}

TEST_F(WaitSet, serves_chunks_until_nothing_is_left) {
  for (unsigned i = 0; i < 10; ++i) write("u", i);
  ASSERT_EQ(writer->dataWriter()->wait_for_acknowledgments({20, 0}), DDS_RETCODE_OK);
  Recorder runner(*reader, events, {.maxSamples = 3});
  ASSERT_TRUE(thread.create());
  ASSERT_TRUE(thread.attachRunner(&runner, false));
  thread.start();
  EXPECT_EQ(events.take(10).size(), 10u);
  EXPECT_EQ(runner.cycles, 4);
  thread.stop();
}

TEST_F(WaitSet, serves_one_runner_a_cycle) {
  Node other;
  other.attachDomain(&here);
  ASSERT_TRUE(other.createTopic("WaitSet.Other", stateQos()) && other.createDataReader());
  const std::unique_ptr<Node> remote(Node::create(&there, "WaitSet.Other", stateQos(), false));
  ASSERT_TRUE(remote);
  write("first", 1);
  ASSERT_TRUE(remote->writeSample(command("second", 1)));
  ASSERT_EQ(writer->dataWriter()->wait_for_acknowledgments({20, 0}), DDS_RETCODE_OK);
  ASSERT_TRUE(eventually([&] { return matched(*remote); }));
  ASSERT_EQ(remote->dataWriter()->wait_for_acknowledgments({20, 0}), DDS_RETCODE_OK);

  Recorder one(*reader, events), two(other, events);
  ASSERT_TRUE(thread.create());
  ASSERT_TRUE(thread.attachRunner(&one, false));
  ASSERT_TRUE(thread.attachRunner(&two, false));
  thread.start();
  EXPECT_THAT(events.take(2), ElementsAre("first/1=0", "second/1=0"));
  EXPECT_EQ(one.cycles, 1);
  EXPECT_EQ(two.cycles, 1);
  thread.stop();
}

TEST_F(WaitSet, attaches_and_detaches_runners_while_it_runs) {
  ASSERT_TRUE(thread.create());
  thread.start();
  for (int round = 0; round < 20; ++round) {
    ASSERT_TRUE(thread.attachRunner(new Recorder(*reader, events), true));
    write("u", 1, round);
    EXPECT_THAT(events.take(1), ElementsAre("u/1=" + std::to_string(round)));
    EXPECT_TRUE(thread.detachRunner(reader->dataReader()));
    EXPECT_THAT(events.take(1), ElementsAre("deleted"));
    EXPECT_FALSE(thread.detachRunner(reader->dataReader()));
    // Nothing of the runner is left on the reader.
    ASSERT_TRUE(reader->cleanUpDataReader() && reader->createDataReader());
    EXPECT_EQ(reader->dataReader()->wait_for_historical_data({20, 0}), DDS_RETCODE_OK);
    Tessivar::CommandSeq samples;
    DDS_SampleInfoSeq infos;
    reader->dataReader()->take(samples, infos, DDS_LENGTH_UNLIMITED, DDS_ANY_SAMPLE_STATE, DDS_ANY_VIEW_STATE,
                               DDS_ANY_INSTANCE_STATE);
    reader->dataReader()->return_loan(samples, infos);
  }
}

TEST_F(WaitSet, detaches_no_runner_that_is_at_work) {
  auto* const runner = new Recorder(*reader, events);
  std::promise<void> entered, go;
  runner->during = [&](const auto&) {
    EXPECT_TRUE(thread.isCurrent());
    entered.set_value();
    go.get_future().wait();
  };
  ASSERT_TRUE(thread.create());
  ASSERT_TRUE(thread.attachRunner(runner, true));
  thread.start();
  EXPECT_FALSE(thread.isCurrent());
  write("u", 1);
  entered.get_future().wait();
  auto detached = std::async(std::launch::async, [&] { return thread.detachRunner(reader->dataReader()); });
  EXPECT_EQ(detached.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
  go.set_value();
  EXPECT_TRUE(detached.get());
  EXPECT_THAT(events.take(2), ElementsAre("u/1=0", "deleted"));
}

TEST_F(WaitSet, survives_handlers_that_throw) {
  auto* const runner = new Recorder(*reader, events);
  runner->during = [](const Tessivar::Command& sample) {
    if (sample.commandNumber == 1) throw std::runtime_error("first");
    if (sample.commandNumber == 2) throw 2;
  };
  write("u", 1);
  write("u", 2);
  write("u", 3);
  ASSERT_EQ(writer->dataWriter()->wait_for_acknowledgments({20, 0}), DDS_RETCODE_OK);
  ASSERT_TRUE(thread.create());
  ASSERT_TRUE(thread.attachRunner(runner, true));
  thread.start();
  EXPECT_EQ(events.take(3).size(), 3u);
  thread.stop();
  events.take(1);
  const std::vector<std::string> lines = log.lines();
  EXPECT_THAT(lines,
              Contains("8 void __cdecl TessivarDDS::WaitSetThreadRunner<class Tessivar::Command>::processSamples("
                       "class Seq &,struct DDS_SampleInfoSeq &) Exception in the application's code: first"));
  EXPECT_THAT(lines, Contains(EndsWith(" Exception in the application's code.")));
  EXPECT_THAT(lines, Not(Contains(EndsWith("Return loan error"))));
  EXPECT_TRUE(reader->cleanUpDataReader());  // no loan is left either
}

TEST_F(WaitSet, starts_again_after_it_has_been_stopped) {
  for (int round = 0; round < 3; ++round) {
    ASSERT_TRUE(thread.create());
    ASSERT_TRUE(thread.attachRunner(new Recorder(*reader, events), true));
    thread.start();
    write("u", 1, round);
    EXPECT_THAT(events.take(1), ElementsAre("u/1=" + std::to_string(round)));
    thread.stop();
    thread.stop();
    EXPECT_THAT(events.take(1), ElementsAre("deleted"));
  }
}

TEST_F(WaitSet, releases_runners_of_a_thread_that_was_never_started) {
  ASSERT_TRUE(thread.create());
  ASSERT_TRUE(thread.attachRunner(new Recorder(*reader, events), true));
  thread.stop();
  EXPECT_THAT(events.take(1), ElementsAre("deleted"));
  EXPECT_TRUE(reader->cleanUpDataReader());
}

TEST_F(WaitSet, may_be_stopped_by_a_handler_of_its_own) {
  auto* const runner = new Recorder(*reader, events);
  runner->during = [&](const auto&) { thread.stop(); };
  ASSERT_TRUE(thread.create());
  ASSERT_TRUE(thread.attachRunner(runner, true));
  thread.start();
  write("u", 1);
  EXPECT_THAT(events.take(1), ElementsAre("u/1=0"));
  thread.stop();
  EXPECT_THAT(events.take(1), ElementsAre("deleted"));
}

TEST_F(WaitSet, tells_a_verbose_runner_that_there_is_nothing) {
  Recorder runner(*reader, events, {.verbose = true});
  runner.Runner::processData();
  EXPECT_THAT(log.lines(), ElementsAre("2 void __cdecl TessivarDDS::WaitSetThreadRunner<class Tessivar::Command>::"
                                       "processData(void)No data"));
  Recorder quiet(*reader, events, {.maxSamples = 0});
  quiet.Runner::processData();
  EXPECT_THAT(log.lines(), ElementsAre("8 void __cdecl TessivarDDS::WaitSetThreadRunner<class Tessivar::Command>::"
                                       "processData(void) Error returned whilst reading from data reader. Code: 3"));
}

}  // namespace
