// Participants, topics and waiting for the tests of the entities. Everything stays on the loopback.
#pragma once

#include "support/note.h"
#include "tests/support/log_lines.h"

#include <chrono>
#include <functional>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace face_test {

using namespace std::chrono_literals;

inline constexpr std::chrono::seconds deadline(10);
inline constexpr DDS_Duration_t deadline_duration = {10, 0};

/// Polls until it holds.
inline bool eventually(const std::function<bool()>& holds, std::chrono::milliseconds limit = deadline) {
  const auto end = std::chrono::steady_clock::now() + limit;
  while (!holds()) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(1ms);
  }
  return true;
}

using tessivar_test::LogLines;

/// Differs between the test processes that run at the same time, as far as may be.
inline DDS_DomainId_t own_domain() {
  return 100 + static_cast<DDS_DomainId_t>(getpid() % 130);
}

/// Of this process and test alone, should two processes share a domain.
inline std::string own_topic(const std::string& name = "Notes") {
  return name + "." + std::to_string(getpid()) + "." + ::testing::UnitTest::GetInstance()->current_test_info()->name();
}

inline DDS_DomainParticipantQos loopback_qos() {
  DDS_DomainParticipantQos qos;
  DDSPropertyQosPolicyHelper::add_property(qos.property, "dds.transport.UDPv4.builtin.parent.allow_interfaces", "lo",
                                           DDS_BOOLEAN_FALSE);
  qos.discovery.multicast_receive_addresses.length(0);
  return qos;
}

inline DDS_TopicQos state_qos() {
  DDS_TopicQos qos;
  qos.reliability.kind = DDS_RELIABLE_RELIABILITY_QOS;
  qos.durability.kind = DDS_TRANSIENT_LOCAL_DURABILITY_QOS;
  return qos;
}

inline DDS_DataReaderQos state_reader_qos() {
  DDS_DataReaderQos qos;
  DDS_DataReaderQos_copy_from_topic_qos(qos, state_qos());
  return qos;
}

inline DDS_StringSeq strings(const std::vector<std::string>& texts) {
  DDS_StringSeq sequence;
  const auto count = static_cast<DDS_Long>(texts.size());
  sequence.ensure_length(count, count);
  for (DDS_Long i = 0; i < count; ++i) DDS_String_replace(&sequence[i], texts[static_cast<std::size_t>(i)].c_str());
  return sequence;
}

/// A participant with the note types registered and one topic of notes; deletes all that it contains.
class Side {
 public:
  explicit Side(const DDS_DomainParticipantQos& qos = loopback_qos(), const DDS_TopicQos& topic_qos = state_qos(),
                const std::string& topic_name = own_topic())
      : participant(DDSDomainParticipantFactory::get_instance()->create_participant(own_domain(), qos, nullptr, 0)) {
    if (!participant) return;
    participant->register_type("Note", note_plugin);
    participant->register_type("Keyless", keyless_plugin);
    topic = participant->create_topic(topic_name.c_str(), "Note", topic_qos, nullptr, 0);
  }
  ~Side() {
    if (!participant) return;
    EXPECT_EQ(participant->delete_contained_entities(), DDS_RETCODE_OK);
    EXPECT_EQ(DDSDomainParticipantFactory::get_instance()->delete_participant(participant), DDS_RETCODE_OK);
  }
  Side(const Side&) = delete;
  Side& operator=(const Side&) = delete;

  NoteWriter* writer(const DDS_DataWriterQos& qos = DDS_DATAWRITER_QOS_USE_TOPIC_QOS,
                     DDSDataWriterListener* listener = nullptr, DDS_StatusMask mask = DDS_STATUS_MASK_ALL) {
    return static_cast<NoteWriter*>(participant->create_datawriter(topic, qos, listener, mask));
  }
  NoteReader* reader(const DDS_DataReaderQos& qos = DDS_DATAREADER_QOS_USE_TOPIC_QOS,
                     DDSDataReaderListener* listener = nullptr, DDS_StatusMask mask = DDS_STATUS_MASK_ALL) {
    return static_cast<NoteReader*>(participant->create_datareader(topic, qos, listener, mask));
  }

  DDSDomainParticipant* const participant;
  DDSTopic* topic = nullptr;
};

inline bool matched(DDSDataReader& reader, DDS_Long writers = 1) {
  return eventually([&] {
    DDS_SubscriptionMatchedStatus status;
    return reader.get_subscription_matched_status(status) == DDS_RETCODE_OK && status.current_count == writers;
  });
}

inline bool matched(DDSDataWriter& writer, DDS_Long readers = 1) {
  return eventually([&] {
    DDS_PublicationMatchedStatus status;
    return writer.get_publication_matched_status(status) == DDS_RETCODE_OK && status.current_count == readers;
  });
}

/// Takes until `count` samples have come, or the deadline.
inline std::vector<Received> take(NoteReader& reader, std::size_t count) {
  std::vector<Received> received;
  eventually([&] {
    for (Received& one : reader.take()) received.push_back(std::move(one));
    return received.size() >= count;
  });
  return received;
}

inline std::vector<std::int32_t> ids(const std::vector<Received>& received) {
  std::vector<std::int32_t> result;
  for (const Received& one : received) result.push_back(one.note.id);
  return result;
}

}  // namespace face_test
