// SPDX-License-Identifier: Apache-2.0

// Tests that calls that would hang in a callback of the platform are refused there.
#include "support/bus.h"

#include <atomic>

namespace platform_test {
namespace {

/// Makes every call once in each callback, and expects that it is refused.
struct Trying : DDSDataReaderListener, AtLeast {
  void on_data_available(DDSDataReader* its_reader) override { attempt(data, its_reader); }
  void on_subscription_matched(DDSDataReader* its_reader, const DDS_SubscriptionMatchedStatus&) override {
    attempt(match, its_reader);
  }
  DDS_Long measure(const Command&) override {
    attempt(filter, reader);
    return 0;
  }

  struct Callback {
    const std::string name;
    std::atomic<bool> begun = false;
  };
  Callback data{"data"}, match{"match"}, filter{"filter"};

  void attempt(Callback& callback, DDSDataReader* from) {
    if (!callback.begun.exchange(true)) make_calls(callback.name, from);
  }
  void make_calls(const std::string& callback, DDSDataReader* from) {
    DDSDomainParticipant* const participant = side.load()->participant;
    const auto refused = [&](const char* operation, DDS_ReturnCode_t result) {
      EXPECT_EQ(result, DDS_RETCODE_ILLEGAL_OPERATION) << callback << ' ' << operation;
    };
    const auto not_made = [&](const char* operation, const void* made) {
      EXPECT_EQ(made, nullptr) << callback << ' ' << operation;
    };
    DDSConditionSeq active;
    refused("delete_participant", factory().delete_participant(participant));
    refused("delete_contained_entities", participant->delete_contained_entities());
    refused("delete_datareader", participant->delete_datareader(from));
    refused("delete_datawriter", participant->delete_datawriter(writer));
    refused("wait_for_acknowledgments", writer.load()->wait_for_acknowledgments(DDS_DURATION_INFINITE));
    refused("wait", wait_set.wait(active, DDS_DURATION_INFINITE));
    not_made("create_participant", factory().create_participant(own_domain(), DDS_PARTICIPANT_QOS_DEFAULT, nullptr, 0));
    not_made("create_datawriter",
             participant->create_datawriter(side.load()->topic, DDS_DATAWRITER_QOS_DEFAULT, nullptr, 0));
    not_made("create_datareader",
             participant->create_datareader(side.load()->topic, DDS_DATAREADER_QOS_DEFAULT, nullptr, 0));
    if (callback != "match") refused("write", write(writer, 2));
    if (callback == "filter") {
      Command sample;
      DDS_SampleInfo info;
      DDS_InstanceHandleSeq writers;
      refused("take_next_sample", from->read_or_take_next_sample_untypedI(&sample, info, DDS_BOOLEAN_TRUE));
      refused("get_matched_publications", from->get_matched_publications(writers));
      refused("set_listener", from->set_listener(nullptr, DDS_STATUS_MASK_NONE));
      refused("set_listener of the writer", writer.load()->set_listener(nullptr, DDS_STATUS_MASK_NONE));
      refused("set_listener of the participant", participant->set_listener(nullptr, DDS_STATUS_MASK_NONE));
      refused("flush", writer.load()->flush());
    }
    done.add(callback);
  }

  std::atomic<Side*> side{nullptr};
  std::atomic<CommandDataWriter*> writer{nullptr};
  std::atomic<DDSDataReader*> reader{nullptr};
  DDSWaitSet wait_set;
  tessivar::testing::Events done;
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
        side.participant->create_contentfilteredtopic_with_filter("F", side.topic, "", strings({"0"}), "trying");
    trying.reader = side.reader(DDS_DATAREADER_QOS_USE_TOPIC_QOS, &trying, filtered);
    ASSERT_TRUE(trying.reader && matched(trying.writer.load()));
    EXPECT_EQ(write(trying.writer, 1), DDS_RETCODE_OK);
    for (const char* callback : {"match", "filter", "data"}) EXPECT_TRUE(trying.done.happens(callback)) << callback;
  }
  EXPECT_THAT(log.lines(), testing::Each(testing::HasSubstr("within a")));
}

}  // namespace
}  // namespace platform_test
