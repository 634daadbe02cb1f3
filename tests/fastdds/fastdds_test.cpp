// A device of ours and a participant of another make, which knows of the device only what its IDL and topics say.
#include "peer.h"
#include "samples.h"
#include "support/peer.h"

#include <string>

#include <gtest/gtest.h>

namespace {

using namespace fastdds_peer;

const std::string unit_id = "0001:02:00";

class FastDdsPeer : public ::testing::Test {
 protected:
  void TearDown() override { EXPECT_TRUE(device_.quits()); }

  tessivar::testing::Peer device_{"device"};
  Peer peer_{tessivar::testing::own_domain()};
};

bool has_sample(const Arrival& arrival) {
  return !arrival.encoding.empty();
}

/// The key hash on the wire is the one that the peer computes of the sample.
template <class Sample>
void expect_own_hash(const Arrival& arrival, const Reader& reader) {
  EXPECT_EQ(arrival.key_hash, Sample::key_hash(arrival.encoding));
  EXPECT_EQ(reader.hashes_missing(), 0);
}

TEST_F(FastDdsPeer, FindsTheUnitThatWasThereBefore) {
  ASSERT_TRUE(device_.does("unit " + unit_id + " Mixer"));
  Reader units = peer_.reader<Unit>("Orvel.Tessivar.Units", true);

  const auto arrival = units.await(has_sample);
  ASSERT_TRUE(arrival);
  const Unit unit = Unit::decode(arrival->encoding);
  EXPECT_EQ(unit.unit_id, unit_id);
  EXPECT_EQ(unit.name, "Mixer");
  EXPECT_FALSE(unit.has_rc_address);
  EXPECT_EQ(unit.host, "");
  expect_own_hash<Unit>(*arrival, units);
}

TEST_F(FastDdsPeer, SeesTheUnitGo) {
  ASSERT_TRUE(device_.does("unit " + unit_id + " Mixer"));
  Reader units = peer_.reader<Unit>("Orvel.Tessivar.Units", true);
  const auto there = units.await(has_sample);
  ASSERT_TRUE(there);

  ASSERT_TRUE(device_.does("remove " + unit_id));
  const auto gone = units.await([](const Arrival& arrival) { return arrival.state != State::alive; });
  ASSERT_TRUE(gone);
  EXPECT_EQ(gone->state, State::disposed);
  EXPECT_EQ(gone->key_hash, there->key_hash);
}

TEST_F(FastDdsPeer, ReceivesValuesAndMetadata) {
  ASSERT_TRUE(device_.does("value " + unit_id + " 7 -40"));
  ASSERT_TRUE(device_.does("metadata " + unit_id + " 7 Gain"));
  Reader values = peer_.reader<Command>("Orvel.Tessivar.Commands", true);
  Reader descriptions = peer_.reader<Metadata>("Orvel.Tessivar.Metadata", true);

  const auto value = values.await(has_sample);
  ASSERT_TRUE(value);
  const Command command = Command::decode(value->encoding);
  EXPECT_EQ(command.unit_id, unit_id);
  EXPECT_EQ(command.number, 7U);
  EXPECT_EQ(command.value, -40);
  expect_own_hash<Command>(*value, values);

  const auto description = descriptions.await(has_sample);
  ASSERT_TRUE(description);
  const Metadata metadata = Metadata::decode(description->encoding);
  EXPECT_EQ(metadata.unit_id, unit_id);
  EXPECT_EQ(metadata.number, 7U);
  EXPECT_EQ(metadata.name, "Gain");
  expect_own_hash<Metadata>(*description, descriptions);
}

TEST_F(FastDdsPeer, SeesACommandDisposed) {
  ASSERT_TRUE(device_.does("value " + unit_id + " 7 1"));
  ASSERT_TRUE(device_.does("value " + unit_id + " 8 2"));
  Reader values = peer_.reader<Command>("Orvel.Tessivar.Commands", true);
  const auto of_eight = [](const Arrival& arrival) {
    return has_sample(arrival) && Command::decode(arrival.encoding).number == 8;
  };
  const auto value = values.await(of_eight);
  ASSERT_TRUE(value);

  ASSERT_TRUE(device_.does("dispose " + unit_id + " 8"));
  const auto disposed = values.await([](const Arrival& arrival) { return arrival.state == State::disposed; });
  ASSERT_TRUE(disposed);
  EXPECT_EQ(disposed->key_hash, value->key_hash);
}

class FastDdsRequester : public FastDdsPeer {
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
    if (!requests_.write(request.encode())) return std::nullopt;
    const auto arrival = replies_.await([&](const Arrival& reply) {
      return has_sample(reply) && Reply::decode(reply.encoding).identity == identity_ &&
             Reply::decode(reply.encoding).ticket == ticket;
    });
    if (!arrival) return std::nullopt;
    expect_own_hash<Reply>(*arrival, replies_);
    return Reply::decode(arrival->encoding);
  }

  const Bytes identity_ = {0xfa, 0x57, 0xdd, 0x50, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};
  Reader replies_ = peer_.reader<Reply>("Orvel.Tessivar.Commands.Reply", true);
  Writer requests_ = peer_.writer<Request>("Orvel.Tessivar.Commands.Requests");
};

TEST_F(FastDdsRequester, HasAValueChanged) {
  Reader values = peer_.reader<Command>("Orvel.Tessivar.Commands", true);
  const auto reply = ask(1, 12);
  ASSERT_TRUE(reply);
  EXPECT_EQ(reply->result, Reply::complete);
  EXPECT_TRUE(device_.sees("request " + unit_id + " 7 12"));

  const auto value = values.await(has_sample);
  ASSERT_TRUE(value);
  EXPECT_EQ(Command::decode(value->encoding).value, 12);
}

TEST_F(FastDdsRequester, IsToldWhyNot) {
  ASSERT_TRUE(device_.does("answer refuse locked"));
  const auto reply = ask(65534, 12);
  ASSERT_TRUE(reply);
  EXPECT_EQ(reply->result, Reply::failed);
  EXPECT_EQ(reply->reason, "locked");
}

}  // namespace
