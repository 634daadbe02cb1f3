// SPDX-License-Identifier: Apache-2.0

#include "participant.h"

#include "tests/support/wait.h"

#include <algorithm>
#include <stdexcept>

#include <fastdds/dds/domain/DomainParticipantFactory.hpp>
#include <fastdds/dds/topic/TypeSupport.hpp>
#include <fastdds/rtps/transport/UDPv4TransportDescriptor.h>
#include <fastrtps/utils/IPLocator.h>

namespace fastdds_peer {

using namespace eprosima::fastdds::dds;
using eprosima::fastrtps::rtps::IPLocator;
using eprosima::fastrtps::rtps::Locator_t;

namespace {

/// The number of participants to look for on this host and domain; a test has two or three.
constexpr int indexes = 8;

Locator_t loopback(int port) {
  Locator_t locator;
  IPLocator::setIPv4(locator, 127, 0, 0, 1);
  locator.port = static_cast<std::uint32_t>(port);
  return locator;
}

/// DDSI-RTPS 2.3, 9.6.1.1.
int discovery_port(int domain, int index) {
  return 7400 + 250 * domain + 10 + 2 * index;
}

template <class Qos>
void make_reliable(Qos& qos, bool history) {
  qos.reliability().kind = RELIABLE_RELIABILITY_QOS;
  qos.durability().kind = history ? TRANSIENT_LOCAL_DURABILITY_QOS : VOLATILE_DURABILITY_QOS;
  qos.history().kind = KEEP_ALL_HISTORY_QOS;
  qos.endpoint().history_memory_policy = eprosima::fastrtps::rtps::PREALLOCATED_WITH_REALLOC_MEMORY_MODE;
}

State state_of(InstanceStateKind kind) {
  if (kind == ALIVE_INSTANCE_STATE) return State::alive;
  return kind == NOT_ALIVE_DISPOSED_INSTANCE_STATE ? State::disposed : State::no_writers;
}

template <class Entity>
Entity* require(Entity* entity, const std::string& what) {
  if (entity == nullptr) throw std::runtime_error("Fast DDS makes no " + what);
  return entity;
}

}  // namespace

FastDdsParticipant::FastDdsParticipant(int domain) {
  DomainParticipantQos qos;
  qos.name("another maker's");
  const auto transport = std::make_shared<eprosima::fastdds::rtps::UDPv4TransportDescriptor>();
  transport->interfaceWhiteList.push_back("127.0.0.1");
  qos.transport().use_builtin_transports = false;
  qos.transport().user_transports.push_back(transport);
  auto& discovery = qos.wire_protocol().builtin;
  for (int index = 0; index < indexes; ++index)
    discovery.initialPeersList.push_back(loopback(discovery_port(domain, index)));
  discovery.metatrafficUnicastLocatorList.push_back(loopback(0));

  participant_ =
      require(DomainParticipantFactory::get_instance()->create_participant(static_cast<std::uint32_t>(domain), qos),
              "participant");
  subscriber_ = require(participant_->create_subscriber(SUBSCRIBER_QOS_DEFAULT), "subscriber");
  publisher_ = require(participant_->create_publisher(PUBLISHER_QOS_DEFAULT), "publisher");
}

FastDdsParticipant::~FastDdsParticipant() {
  participant_->delete_contained_entities();
  DomainParticipantFactory::get_instance()->delete_participant(participant_);
}

Topic* FastDdsParticipant::topic(const std::string& name, const std::string& type, KeyHash (*key_hash)(const Bytes&),
                                 Counter hashes_asked) {
  TypeSupport(new RawType(type, key_hash, std::move(hashes_asked))).register_type(participant_);
  return require(participant_->create_topic(name, type, TOPIC_QOS_DEFAULT), "topic " + name);
}

DataReader* FastDdsParticipant::make_reader(Topic* topic, bool history) {
  DataReaderQos qos;
  make_reliable(qos, history);
  return require(subscriber_->create_datareader(topic, qos), "reader");
}

DataWriter* FastDdsParticipant::make_writer(Topic* topic) {
  DataWriterQos qos;
  make_reliable(qos, false);
  return require(publisher_->create_datawriter(topic, qos), "writer");
}

std::optional<Arrival> Reader::await(const std::function<bool(const Arrival&)>& wanted, std::chrono::seconds at_most) {
  const auto deadline = std::chrono::steady_clock::now() + at_most;
  for (;;) {
    Bytes encoding;
    SampleInfo info;
    while (reader_->take_next_sample(&encoding, &info) == ReturnCode_t::RETCODE_OK) {
      Arrival arrival{info.valid_data ? encoding : Bytes(), {}, state_of(info.instance_state)};
      std::copy_n(&info.instance_handle.value[0], arrival.key_hash.size(), arrival.key_hash.begin());
      if (wanted(arrival)) return arrival;
    }
    const auto left = deadline - std::chrono::steady_clock::now();
    if (left <= left.zero()) return std::nullopt;
    const double seconds = std::chrono::duration<double>(left).count();
    reader_->wait_for_unread_message(eprosima::fastrtps::Duration_t(static_cast<long double>(seconds)));
  }
}

bool Writer::await_match() {
  return tessivar::testing::eventually([this] {
    PublicationMatchedStatus status;
    writer_->get_publication_matched_status(status);
    return status.current_count > 0;
  });
}

bool Writer::write(Bytes encoding) {
  return writer_->write(&encoding);
}

}  // namespace fastdds_peer
