// SPDX-License-Identifier: Apache-2.0

// Tests that calls that would hang in a callback of the platform are refused there.
#include "support/bus.h"

#include <atomic>
#include <map>
#include <mutex>

namespace platform_test {
namespace {

/// Makes every call once in each callback.
struct Trying : DDSDataReaderListener, DDSContentFilter {
  typedef std::map<std::string, DDS_ReturnCode_t> Results;

  void on_data_available(DDSDataReader* its_reader) override { attempt("data", its_reader); }
  void on_subscription_matched(DDSDataReader* its_reader, const DDS_SubscriptionMatchedStatus&) override {
    attempt("match", its_reader);
  }
  DDS_ReturnCode_t compile(void**, const char*, const DDS_StringSeq&, const DDS_TypeCode*, const char*,
                           void*) override {
    return DDS_RETCODE_OK;
  }
  DDS_Boolean evaluate(void*, const void*, const DDS_FilterSampleInfo*) override {
    attempt("filter", reader);
    return DDS_BOOLEAN_TRUE;
  }
  void finalize(void*) override {}

  void attempt(const std::string& callback, DDSDataReader* from) {
    DDSDomainParticipant* const participant = side.load()->participant;
    DDSConditionSeq active;
    Results results = {{"delete_participant", factory().delete_participant(participant)},
                       {"delete_contained_entities", participant->delete_contained_entities()},
                       {"delete_datareader", participant->delete_datareader(from)},
                       {"delete_datawriter", participant->delete_datawriter(writer)},
                       {"wait_for_acknowledgments", writer.load()->wait_for_acknowledgments(DDS_DURATION_INFINITE)},
                       {"wait", wait_set.wait(active, DDS_DURATION_INFINITE)}};
    const auto refused = [](const void* made) { return made ? DDS_RETCODE_OK : DDS_RETCODE_ILLEGAL_OPERATION; };
    results["create_participant"] =
        refused(factory().create_participant(own_domain(), DDS_PARTICIPANT_QOS_DEFAULT, nullptr, 0));
    results["create_datawriter"] =
        refused(participant->create_datawriter(side.load()->topic, DDS_DATAWRITER_QOS_DEFAULT, nullptr, 0));
    results["create_datareader"] =
        refused(participant->create_datareader(side.load()->topic, DDS_DATAREADER_QOS_DEFAULT, nullptr, 0));
    if (callback != "match") results["write"] = write(writer, 2);
    if (callback == "filter") {
      Command sample;
      DDS_SampleInfo info;
      DDS_InstanceHandleSeq writers;
      results["take_next_sample"] = from->read_or_take_next_sample_untypedI(&sample, info, DDS_BOOLEAN_TRUE);
      results["get_matched_publications"] = from->get_matched_publications(writers);
      results["set_listener"] = from->set_listener(nullptr, DDS_STATUS_MASK_NONE);
      results["set_listener of the writer"] = writer.load()->set_listener(nullptr, DDS_STATUS_MASK_NONE);
      results["set_listener of the participant"] = participant->set_listener(nullptr, DDS_STATUS_MASK_NONE);
      results["flush"] = writer.load()->flush();
    }
    const std::lock_guard lock(mutex);
    all.try_emplace(callback, results);
  }
  Results of(const std::string& callback) {
    Results results;
    EXPECT_TRUE(eventually([&] {
      const std::lock_guard lock(mutex);
      results = all[callback];
      return !results.empty() || (all.erase(callback), false);
    })) << callback;
    return results;
  }

  std::atomic<Side*> side{nullptr};
  std::atomic<CommandDataWriter*> writer{nullptr};
  std::atomic<DDSDataReader*> reader{nullptr};
  DDSWaitSet wait_set;
  std::mutex mutex;
  std::map<std::string, Results> all;
};

TEST(CallbackTest, RefusesCallsThatWouldHang) {
  LogRecorder log;
  Trying trying;
  {
    Side side;  // its reader and writer match each other
    trying.side = &side;
    trying.writer = side.writer();
    ASSERT_EQ(side.participant->register_contentfilter("trying", &trying), DDS_RETCODE_OK);
    auto* const filtered =
        side.participant->create_contentfilteredtopic_with_filter("F", side.topic, "", DDS_StringSeq(), "trying");
    trying.reader = side.reader(DDS_DATAREADER_QOS_USE_TOPIC_QOS, &trying, filtered);
    ASSERT_TRUE(trying.reader && matched(trying.writer.load()));
    EXPECT_EQ(write(trying.writer, 1), DDS_RETCODE_OK);
    for (const char* callback : {"match", "filter", "data"}) {
      for (const auto& [operation, result] : trying.of(callback)) {
        EXPECT_EQ(result, DDS_RETCODE_ILLEGAL_OPERATION) << callback << ' ' << operation;
      }
    }
  }
  EXPECT_THAT(log.lines(), testing::Each(testing::HasSubstr("within a")));
}

}  // namespace
}  // namespace platform_test
