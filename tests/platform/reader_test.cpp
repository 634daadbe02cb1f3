// SPDX-License-Identifier: Apache-2.0

// Tests read and take, and the information that a reader has about its instances.
#include "support/bus.h"

#include <atomic>
#include <future>
#include <memory>
#include <stdexcept>

namespace platform_test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::UnorderedElementsAreArray;

/// Reader and writer in one participant: a sample has arrived when the write returns.
class ReaderTest : public testing::Test {
 protected:
  LogRecorder log;
  Side side;
  CommandDataWriter* writer = side.writer();
  CommandDataReader* reader = side.reader();
  std::vector<Received> received;
};

TEST_F(ReaderTest, LendsSamplesUntilTheyAreReturned) {
  write(writer, 1);
  write(writer, 2);
  DDS_SampleBufferI lent[2];
  DDS_SampleInfoSeq infos[2];
  for (const int i : {0, 1}) {
    ASSERT_EQ(reader->read_or_take_untypedI(lent[i], infos[i], taking(1)), DDS_RETCODE_OK);
    ASSERT_EQ(infos[i].length(), 1);
    EXPECT_EQ(infos[i][0].view_state, DDS_NEW_VIEW_STATE);
  }
  DDS_SampleBufferI again;
  EXPECT_EQ(reader->read_or_take_untypedI(again, infos[0], taking()), DDS_RETCODE_PRECONDITION_NOT_MET);
  EXPECT_EQ(side.participant->delete_datareader(reader), DDS_RETCODE_PRECONDITION_NOT_MET);
  const auto give_back = [&](CommandDataReader* to) {
    return to->return_loan_untypedI(lent[0].lent_samples, lent[0].lent_maximum, infos[0]);
  };
  EXPECT_EQ(give_back(side.reader()), DDS_RETCODE_PRECONDITION_NOT_MET) << "another reader's";
  EXPECT_EQ(give_back(reader), DDS_RETCODE_OK);
  EXPECT_EQ(give_back(reader), DDS_RETCODE_PRECONDITION_NOT_MET) << "twice";
  EXPECT_EQ(side.participant->delete_contained_entities(), DDS_RETCODE_OK) << "loans or not";
  infos[1].unloan();
}

TEST_F(ReaderTest, VisitsEachInstanceOnceWhileTheyComeAndGo) {
  for (const DDS_UnsignedLong first : {10u, 20u}) {
    const DDS_UnsignedLong all[] = {first + 7, first + 3, first + 5};
    for (const DDS_UnsignedLong number : all) write(writer, number);
    for (const bool ended : {false, true}) {
      for (const DDS_UnsignedLong number : all)
        if (ended) dispose(writer, number);
      DDS_ReadSelectionI selection;
      selection.sample_states = DDS_NOT_READ_SAMPLE_STATE;
      selection.instances = DDS_ReadSelectionI::next;
      std::vector<DDS_UnsignedLong> order;
      for (; access(reader, selection, received) == DDS_RETCODE_OK;
           selection.instance = received.front().info.instance_handle)
        order.push_back(received.front().number);
      EXPECT_THAT(order, UnorderedElementsAreArray(all)) << ended;
    }
  }
}

TEST_F(ReaderTest, KnowsAnEndedInstanceUntilItsLastSampleIsTaken) {
  const auto known = [&] { return reader->lookup_instance(command(9)).isValid != DDS_BOOLEAN_FALSE; };
  for (int twice = 0; twice < 2; ++twice) write(writer, 9);
  dispose(writer, 9);
  access(reader, taking(1), received);
  EXPECT_TRUE(known());
  while (access(reader, taking(1), received) == DDS_RETCODE_OK) continue;
  EXPECT_FALSE(known());
}

/// The type of the commands, with an encoder that damages the value 13 and a decoder that refuses 14.
struct CarefulType : PRESTypePlugin {
  CarefulType() : PRESTypePlugin(original) {
    static CommandSupport support;
    type_support = &support;
    encode = [](const void* sample, std::uint8_t* buffer, std::size_t size) {
      const bool encoded = original.encode(sample, buffer, size);
      if (value_of(sample) == 13) buffer[4] = 0xff;  // the length of a string
      return encoded;
    };
    check = [](const std::uint8_t* buffer, std::size_t size, DDS_KeyHash_t* hash) {
      Command sample;
      const bool good = original.decode(&sample, buffer, size) && value_of(&sample) != 14;
      Tessivar::Command_finalize(&sample);
      return good && original.check(buffer, size, hash);
    };
    decode_lean = [](void* sample, const std::uint8_t* buffer, std::size_t size, std::size_t* octets) {
      return original.decode_lean(sample, buffer, size, octets) && value_of(sample) != 14;
    };
  }
  static DDS_Long value_of(const void* sample) { return static_cast<const Command*>(sample)->value._u.intValue; }
  inline static const PRESTypePlugin original = *std::unique_ptr<PRESTypePlugin>(Tessivar::CommandPlugin_new());
};

TEST_F(ReaderTest, DropsMalformedSamplesWithOneLogLine) {
  const std::string topic = own_topic(".Careful");
  const CarefulType type;
  side.participant->register_type("Careful", type);
  side.topic = side.participant->create_topic(topic.c_str(), "Careful", reliable<DDS_TopicQos>(), nullptr, 0);
  writer = side.writer();
  reader = side.reader();
  Side peer;
  CommandSupport::register_type(peer.participant, "Careful");
  peer.topic = peer.participant->create_topic(topic.c_str(), "Careful", reliable<DDS_TopicQos>(), nullptr, 0);
  CommandDataReader* remote = peer.reader();
  ASSERT_TRUE(matched(writer, 2));
  for (const DDS_Long value : {1, 13, 2}) write(writer, 5, value);
  EXPECT_EQ(take(remote, 2).size(), 2u);
  EXPECT_THAT(log.lines(), ElementsAre(testing::AllOf(HasSubstr(topic), HasSubstr("Careful"))));
  take(reader);
  log.lines();
  for (const DDS_Long value : {1, 14, 2}) write(writer, 6, value);
  EXPECT_EQ(take(reader).size(), 2u);
  EXPECT_THAT(log.lines(), ElementsAre(HasSubstr("could not be decoded")));
}

struct Acting : DDSDataReaderListener {
  explicit Acting(std::function<void(DDSDataReader*)> what) : body(std::move(what)) {}
  void on_data_available(DDSDataReader* from) override {
    ++begun;
    body(from);
    ++ended;
  }
  const std::function<void(DDSDataReader*)> body;
  std::atomic<int> begun = 0, ended = 0;
};

TEST_F(ReaderTest, ReportsEarlierSamplesToItsListener) {
  Acting listener([](DDSDataReader* from) {
    from->set_listener(nullptr, DDS_STATUS_MASK_NONE);
    throw std::runtime_error("a fault of the test");
  });
  write(writer, 1);
  side.reader(DDS_DATAREADER_QOS_USE_TOPIC_QOS, &listener);
  EXPECT_TRUE(eventually([&] { return listener.begun == 1; }));
  EXPECT_THAT(log.lines(), ElementsAre(HasSubstr("a fault of the test")));
  write(writer, 2);
  EXPECT_EQ(listener.begun, 1);
}

TEST_F(ReaderTest, WaitsForTheCallbackOfARemovedListener) {
  std::promise<void> leave;
  Acting listener([&](DDSDataReader*) { leave.get_future().wait(); });
  reader->set_listener(&listener, DDS_DATA_AVAILABLE_STATUS);
  auto writing = std::async(std::launch::async, [&] { write(writer, 1); });
  EXPECT_TRUE(eventually([&] { return listener.begun == 1; }));
  auto removal = std::async(std::launch::async, [&] {
    reader->set_listener(nullptr, DDS_STATUS_MASK_NONE);
    return listener.ended == 1;
  });
  EXPECT_EQ(removal.wait_for(20ms), std::future_status::timeout);
  leave.set_value();
  EXPECT_TRUE(removal.get());
}

}  // namespace
}  // namespace platform_test
