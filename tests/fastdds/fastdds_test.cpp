// SPDX-License-Identifier: Apache-2.0

// Tests our device with a participant from another vendor. The participant knows only the device's IDL and topics.
#include "participant.h"
#include "samples.h"
#include "support/bus_peer.h"

#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

namespace {

using namespace fastdds_peer;

const std::string unit_id = "0001:02:00";

class FastDdsTest : public ::testing::Test {
 protected:
  void TearDown() override { EXPECT_TRUE(device_.quits()); }

  tessivar::testing::BusPeer device_{"device"};
  FastDdsParticipant participant_{tessivar::testing::own_domain()};
};

bool has_sample(const Arrival& arrival) {
  return !arrival.encoding.empty();
}

/// Tests that the key hash on the wire is the one that the peer computes from the sample.
template <class Sample>
void expect_own_hash(const Arrival& arrival, const Reader& reader) {
  EXPECT_EQ(arrival.key_hash, key_hash_of<Sample>(arrival.encoding));
  EXPECT_EQ(reader.hashes_missing(), 0);
}

/// Returns the first sample of a late joiner.
template <class Sample>
Sample arrives(FastDdsParticipant& peer, const std::string& topic) {
  Reader reader = peer.reader<Sample>(topic, true);
  const auto arrival = reader.await(has_sample);
  if (!arrival) throw std::runtime_error("nothing arrives on " + topic);
  expect_own_hash<Sample>(*arrival, reader);
  return Sample::decode(arrival->encoding);
}

TEST_F(FastDdsTest, LateJoinerReceivesUnit) {
  ASSERT_TRUE(device_.does("unit " + unit_id + " Mixer"));
  const auto unit = arrives<Unit>(participant_, "Orvel.Tessivar.Units");
  EXPECT_EQ(unit.unit_id, unit_id);
  EXPECT_EQ(unit.name, "Mixer");
  EXPECT_FALSE(unit.has_rc_address);
  EXPECT_EQ(unit.host, "");
}

TEST_F(FastDdsTest, ReceivesDisposeOfUnit) {
  ASSERT_TRUE(device_.does("unit " + unit_id + " Mixer"));
  Reader units = participant_.reader<Unit>("Orvel.Tessivar.Units", true);
  const auto there = units.await(has_sample);
  ASSERT_TRUE(there);

  ASSERT_TRUE(device_.does("remove " + unit_id));
  const auto gone = units.await([](const Arrival& arrival) { return arrival.state != State::alive; });
  ASSERT_TRUE(gone);
  EXPECT_EQ(gone->state, State::disposed);
  EXPECT_EQ(gone->key_hash, there->key_hash);
}

TEST_F(FastDdsTest, ReceivesValuesAndMetadata) {
  ASSERT_TRUE(device_.does("value " + unit_id + " 7 -40"));
  ASSERT_TRUE(device_.does("metadata " + unit_id + " 7 Gain"));
  const auto command = arrives<Command>(participant_, "Orvel.Tessivar.Commands");
  EXPECT_EQ(command.unit_id, unit_id);
  EXPECT_EQ(command.number, 7U);
  EXPECT_EQ(command.value, -40);
  const auto metadata = arrives<Metadata>(participant_, "Orvel.Tessivar.Metadata");
  EXPECT_EQ(metadata.unit_id, unit_id);
  EXPECT_EQ(metadata.number, 7U);
  EXPECT_EQ(metadata.name, "Gain");
}

TEST_F(FastDdsTest, ReceivesSourceOfRouter) {
  tessivar::testing::BusPeer router("router");
  ASSERT_TRUE(router.does("port 0001:03:00 31 Camera"));
  const auto source = arrives<Source>(participant_, "Orvel.Routing.Sources");
  EXPECT_EQ(source.unit_id, "0001:03:00");
  EXPECT_EQ(source.matrix, 0U);
  EXPECT_EQ(source.level, 0U);
  EXPECT_EQ(source.index, 31U);
  EXPECT_EQ(source.name, "Camera");
}

TEST_F(FastDdsTest, ReceivesLogMessage) {
  tessivar::testing::ChildProcess publisher = tessivar::testing::example("log_publisher", "0001:04:00");
  ASSERT_TRUE(publisher.send("fan 2 stopped"));
  const auto message = arrives<LogMessage>(participant_, "Orvel.Tessivar.Logging");
  EXPECT_EQ(message.address, "0001:04:00");
  EXPECT_EQ(message.header, "fan");
  EXPECT_EQ(message.value, "stopped");
  EXPECT_GT(message.seconds, 1'700'000'000U);
}

class FastDdsRequestTest : public FastDdsTest {
 protected:
  void SetUp() override {
    ASSERT_TRUE(device_.does("filter " + unit_id));
    ASSERT_TRUE(requests_.await_match());
  }

  std::optional<Reply> ask(std::uint16_t ticket, std::int32_t value) {
    Request request;
    request.identity = identity_;
    request.ticket = ticket;
    request.wanted = {unit_id, 7, value};
    const auto is_wanted = [&](const Arrival& reply) {
      return has_sample(reply) && Reply::decode(reply.encoding).identity == identity_ &&
             Reply::decode(reply.encoding).ticket == ticket;
    };
    // The device may match the writer of requests later than the writer matches the device, and requests are volatile.
    for (int tries = 0; tries < 20 && requests_.write(request.encode()); ++tries) {
      const auto arrival = replies_.await(is_wanted, std::chrono::seconds(1));
      if (!arrival) continue;
      expect_own_hash<Reply>(*arrival, replies_);
      return Reply::decode(arrival->encoding);
    }
    return std::nullopt;
  }

  const Bytes identity_ = {0xfa, 0x57, 0xdd, 0x50, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};
  Reader replies_ = participant_.reader<Reply>("Orvel.Tessivar.Commands.Reply", true);
  Writer requests_ = participant_.writer<Request>("Orvel.Tessivar.Commands.Requests");
};

TEST_F(FastDdsRequestTest, RequestChangesValue) {
  Reader values = participant_.reader<Command>("Orvel.Tessivar.Commands", true);
  const auto reply = ask(1, 12);
  ASSERT_TRUE(reply);
  EXPECT_EQ(reply->result, Reply::complete);
  EXPECT_TRUE(device_.sees("request " + unit_id + " 7 12"));

  const auto value = values.await(has_sample);
  ASSERT_TRUE(value);
  EXPECT_EQ(Command::decode(value->encoding).value, 12);
}

TEST_F(FastDdsRequestTest, RefusedRequestGetsReason) {
  ASSERT_TRUE(device_.does("answer refuse locked"));
  const auto reply = ask(65534, 12);
  ASSERT_TRUE(reply);
  EXPECT_EQ(reply->result, Reply::failed);
  EXPECT_EQ(reply->reason, "locked");
}

}  // namespace
