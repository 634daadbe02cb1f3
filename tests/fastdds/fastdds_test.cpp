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

/// Tests that the key hash on the wire is the one that Fast DDS computes from the sample.
template <class Sample>
void expect_own_hash(const Arrival& arrival, const Reader& reader) {
  EXPECT_EQ(arrival.key_hash, Sample::key_hash(arrival.encoding));
  EXPECT_EQ(reader.hashes_missing(), 0);
}

/// Returns the first sample of a late joiner.
template <class Sample>
typename Sample::Values arrives(FastDdsParticipant& participant, const std::string& topic) {
  Reader reader = participant.reader<Sample>(topic, true);
  const auto arrival = reader.await(has_sample);
  if (!arrival) throw std::runtime_error("nothing arrives on " + topic);
  expect_own_hash<Sample>(*arrival, reader);
  return Sample::decode(arrival->encoding);
}

TEST_F(FastDdsTest, LateJoinerReceivesSamplesOfAllTopics) {
  tessivar::testing::BusPeer router("router");
  tessivar::testing::ChildProcess publisher = tessivar::testing::example("log_publisher", "0001:04:00");
  ASSERT_TRUE(
      device_.does({"unit " + unit_id + " Mixer", "value " + unit_id + " 7 -40", "metadata " + unit_id + " 7 Gain"}));
  ASSERT_TRUE(router.does("port 0001:03:00 31 Camera"));
  ASSERT_TRUE(publisher.send("fan 2 stopped"));
  EXPECT_EQ(arrives<Unit>(participant_, "Orvel.Tessivar.Units"), Unit::Values(unit_id, "Mixer"));
  EXPECT_EQ(arrives<Command>(participant_, "Orvel.Tessivar.Commands"), Command::Values(unit_id, 7, int_kind, -40));
  EXPECT_EQ(arrives<Metadata>(participant_, "Orvel.Tessivar.Metadata"), Metadata::Values(unit_id, 7, "Gain"));
  EXPECT_EQ(arrives<Source>(participant_, "Orvel.Routing.Sources"), Source::Values("0001:03:00", 0, 0, 31, "Camera"));
  EXPECT_EQ(arrives<LogMessage>(participant_, "Orvel.Tessivar.Logging"),
            LogMessage::Values("0001:04:00", "fan", "stopped"));
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

TEST_F(FastDdsTest, RequestChangesValueOrGetsReason) {
  const Bytes identity = {0xfa, 0x57, 0xdd, 0x50, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};
  Reader replies = participant_.reader<Reply>("Orvel.Tessivar.Commands.Reply", true);
  Reader values = participant_.reader<Command>("Orvel.Tessivar.Commands", true);
  Writer requests = participant_.writer<Request>("Orvel.Tessivar.Commands.Requests");
  const Command::Values wanted(unit_id, 7, int_kind, 12);
  // Returns the result and the reason.
  const auto ask = [&](std::uint16_t ticket) -> std::pair<std::uint32_t, std::string> {
    // The device may match the writer of requests later than the writer matches the device, and requests are volatile.
    for (int tries = 0; tries < 20 && requests.write(Request::encode(identity, ticket, wanted)); ++tries) {
      const auto arrival = replies.await(
          [&](const Arrival& reply) {
            if (!has_sample(reply)) return false;
            const auto& [to, number, result] = Reply::decode(reply.encoding);
            return to == identity && number == ticket;
          },
          std::chrono::seconds(1));
      if (!arrival) continue;
      expect_own_hash<Reply>(*arrival, replies);
      return {std::get<2>(Reply::decode(arrival->encoding)), Reply::reason(arrival->encoding)};
    }
    return {};
  };
  ASSERT_TRUE(device_.does("filter " + unit_id));
  ASSERT_TRUE(requests.await_match());
  EXPECT_EQ(ask(1), std::pair(Reply::complete, std::string()));
  EXPECT_TRUE(device_.sees("request " + unit_id + " 7 12"));
  const auto value = values.await(has_sample);
  ASSERT_TRUE(value);
  EXPECT_EQ(Command::decode(value->encoding), wanted);
  ASSERT_TRUE(device_.does("answer refuse locked"));
  EXPECT_EQ(ask(65534), std::pair(Reply::failed, std::string("locked")));
}

}  // namespace
