// SPDX-License-Identifier: Apache-2.0

// Tests readers on an engine that refuses, repeats, delays and reorders, also while they catch up with a new filter.
#include "support/bus.h"
#include "tests/support/test_engine.h"

namespace platform_test {
namespace {

using namespace tessivar::testing;
using testing::ElementsAre;
using testing::UnorderedElementsAre;

class FaultyEngineTest : public testing::Test {
 protected:
  FaultyEngineTest() {
    side_.participant->register_contentfilter("at least", &filter_);
    topic_ = side_.participant->create_contentfilteredtopic_with_filter("F", side_.topic, "value", strings({"50"}),
                                                                        "at least");
    reader_ = side_.reader(catching_up(), nullptr, topic_);
  }
  void add(Call call, Effect effect, int count = 1) {
    engine_.script.add({.call = call, .effect = effect, .count = count});
  }
  void write_all() {
    for (const DDS_UnsignedLong number : {40u, 60u, 80u}) write(writer_, number, static_cast<DDS_Long>(number));
  }
  DDS_ReturnCode_t set(const char* least) { return topic_->set_expression_parameters(strings({least})); }

  LogRecorder log_;
  AtLeast filter_;
  TestEngine engine_;
  Side side_, peer_;
  CommandDataWriter* writer_ = peer_.writer();
  DDSContentFilteredTopic* topic_ = nullptr;
  CommandDataReader* reader_ = nullptr;
};

TEST_F(FaultyEngineTest, CatchesUpAfterRefusals) {
  write_all();
  EXPECT_THAT(numbers(take(reader_, 2)), UnorderedElementsAre(60u, 80u));
  const int before = engine_.entities();
  add(Call::create_reader, Effect::refuse, 2);
  add(Call::wait_for_history, Effect::refuse, 3);
  EXPECT_EQ(set("30"), DDS_RETCODE_OK);
  EXPECT_TRUE(comes(reader_, 40, 40));
  EXPECT_TRUE(eventually([&] { return engine_.script.done(); }));
  EXPECT_EQ(reader_->wait_for_historical_data(patience), DDS_RETCODE_OK);
  EXPECT_EQ(engine_.entities(), before) << "the first engine reader is gone";
  EXPECT_EQ(matches(reader_).total_count, 1);
}

TEST_F(FaultyEngineTest, InsertsRepeatedAndReorderedHistoryOnce) {
  write_all();
  EXPECT_THAT(numbers(take(reader_, 2)), UnorderedElementsAre(60u, 80u));
  add(Call::deliver, Effect::repeat, 3);
  EXPECT_EQ(set("30"), DDS_RETCODE_OK);
  EXPECT_EQ(reader_->wait_for_historical_data(patience), DDS_RETCODE_OK);
  EXPECT_TRUE(engine_.script.done());
  EXPECT_THAT(numbers(take(reader_, 1)), testing::Contains(40u).Times(1));
}

TEST_F(FaultyEngineTest, DeliversWhatTheEngineAnnouncesLate) {
  ASSERT_TRUE(matched(reader_));
  add(Call::data_available, Effect::hold);
  add(Call::deliver, Effect::hold);
  write(writer_, 60, 60);
  ASSERT_TRUE(eventually([&] { return engine_.script.held() == 1; })) << "the announcement";
  write(writer_, 80, 80);
  EXPECT_THAT(numbers(take(reader_, 1)), ElementsAre(80u)) << "60 is held back";
  engine_.release();
  EXPECT_THAT(numbers(take(reader_, 1)), ElementsAre(60u));
}

}  // namespace
}  // namespace platform_test
