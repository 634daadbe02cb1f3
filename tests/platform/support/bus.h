// SPDX-License-Identifier: Apache-2.0

// Participants, commands and functions that wait, for the tests of the platform. All traffic is on the loopback
// interface.
#pragma once

#include "tessivar/types/command/command.h"
#include "tests/support/log_recorder.h"
#include "tests/support/own_domain.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace platform_test {

using namespace std::chrono_literals;
using Tessivar::Command, Tessivar::CommandDataReader, Tessivar::CommandDataWriter;
using tessivar::testing::eventually, tessivar::testing::LogRecorder, tessivar::testing::own_domain;
typedef Tessivar::CommandTypeSupport CommandSupport;

constexpr DDS_Duration_t patience = {20, 0};
constexpr DDS_Duration_t at_once = {0, 0};

/// Only this process and test use this topic, also if two programs use the same domain.
inline std::string own_topic(const std::string& name = "") {
  return testing::UnitTest::GetInstance()->current_test_info()->name() + std::to_string(getpid()) + name;
}

inline DDSDomainParticipantFactory& factory() {
  return *DDSDomainParticipantFactory::get_instance();
}

inline DDS_DomainParticipantQos loopback_qos(const char* name = "") {
  DDS_DomainParticipantQos qos;
  DDSPropertyQosPolicyHelper::add_property(qos.property, "dds.transport.UDPv4.builtin.parent.allow_interfaces", "lo",
                                           DDS_BOOLEAN_FALSE);
  qos.discovery.multicast_receive_addresses.length(0);
  qos.participant_name.name = DDS_String_dup(name);
  return qos;
}

/// Reliable, KEEP_ALL. With `history` also for late joiners.
template <class Qos>
Qos reliable(bool history = true) {
  Qos qos;
  qos.reliability.kind = DDS_RELIABLE_RELIABILITY_QOS;
  qos.durability.kind = history ? DDS_TRANSIENT_LOCAL_DURABILITY_QOS : DDS_VOLATILE_DURABILITY_QOS;
  qos.history.kind = DDS_KEEP_ALL_HISTORY_QOS;
  return qos;
}

/// The reader gets the history again that a changed filter accepts.
inline DDS_DataReaderQos catching_up(bool again = true) {
  auto qos = reliable<DDS_DataReaderQos>();
  DDSPropertyQosPolicyHelper::add_property(qos.property, "dds.data_reader.state.filter_redundant_samples",
                                           again ? "0" : "1", DDS_BOOLEAN_FALSE);
  return qos;
}

inline DDS_StringSeq strings(const std::vector<std::string>& texts) {
  DDS_StringSeq sequence;
  for (const std::string& text : texts) {
    sequence.ensure_length(sequence.length() + 1, sequence.length() + 1);
    DDS_String_replace(&sequence[sequence.length() - 1], text.c_str());
  }
  return sequence;
}

/// A participant with one topic for commands. Deletes all its entities.
class Side {
 public:
  explicit Side(const DDS_DomainParticipantQos& qos = loopback_qos(), const std::string& topic_name = own_topic(),
                DDS_DomainId_t domain = own_domain())
      : participant(factory().create_participant(domain, qos, nullptr, 0)) {
    CommandSupport::register_type(participant, "Command");
    topic = participant->create_topic(topic_name.c_str(), "Command", reliable<DDS_TopicQos>(), nullptr, 0);
  }
  ~Side() {
    EXPECT_EQ(participant->delete_contained_entities(), DDS_RETCODE_OK);
    EXPECT_EQ(factory().delete_participant(participant), DDS_RETCODE_OK);
  }
  Side(const Side&) = delete;

  CommandDataWriter* writer(const DDS_DataWriterQos& qos = DDS_DATAWRITER_QOS_USE_TOPIC_QOS,
                            DDSDataWriterListener* listener = nullptr) {
    return CommandDataWriter::narrow(participant->create_datawriter(topic, qos, listener, DDS_STATUS_MASK_ALL));
  }
  CommandDataReader* reader(const DDS_DataReaderQos& qos = DDS_DATAREADER_QOS_USE_TOPIC_QOS,
                            DDSDataReaderListener* listener = nullptr, DDSTopicDescription* from = nullptr) {
    return CommandDataReader::narrow(
        participant->create_datareader(from ? from : topic, qos, listener, DDS_STATUS_MASK_ALL));
  }

  DDSDomainParticipant* const participant;
  DDSTopic* topic = nullptr;
};

inline DDS_SubscriptionMatchedStatus matches(DDSDataReader* reader) {
  DDS_SubscriptionMatchedStatus status = {};
  reader->get_subscription_matched_status(status);
  return status;
}
inline DDS_PublicationMatchedStatus matches(DDSDataWriter* writer) {
  DDS_PublicationMatchedStatus status = {};
  writer->get_publication_matched_status(status);
  return status;
}
/// Waits until the endpoint has this number of matches.
template <class Endpoint>
bool matched(Endpoint* endpoint, DDS_Long others = 1) {
  return eventually([&] { return matches(endpoint).current_count == others; });
}

/// Do not finalise the result: it does not own its text.
inline Command command(DDS_UnsignedLong number, DDS_Long value = 0) {
  static char unit[] = "0001:02:03";
  return {unit, number, {Tessivar::Int, {value}}};
}
inline DDS_ReturnCode_t write(CommandDataWriter* writer, DDS_UnsignedLong number, DDS_Long value = 0) {
  return writer->write(command(number, value), DDS_HANDLE_NIL);
}
inline DDS_ReturnCode_t dispose(CommandDataWriter* writer, DDS_UnsignedLong number) {
  return writer->dispose(command(number), DDS_HANDLE_NIL);
}

/// A content filter that accepts commands whose measure is at least the first parameter. Allocates no memory.
class AtLeast : public DDSContentFilter {
 public:
  virtual DDS_Long measure(const Command& sample) { return sample.value._u.intValue; }
  DDS_ReturnCode_t compile(void** data, const char*, const DDS_StringSeq& parameters, const DDS_TypeCode*, const char*,
                           void*) override {
    if (parameters.length() == 0) return DDS_RETCODE_BAD_PARAMETER;
    *data = reinterpret_cast<void*>(std::stol(parameters[0]));
    return DDS_RETCODE_OK;
  }
  DDS_Boolean evaluate(void* data, const void* sample, const DDS_FilterSampleInfo*) override {
    return measure(*static_cast<const Command*>(sample)) >= reinterpret_cast<std::intptr_t>(data);
  }
  void finalize(void*) override {}
};

struct Received {
  DDS_UnsignedLong number;
  DDS_Long value;
  DDS_SampleInfo info;
};

inline DDS_ReadSelectionI taking(DDS_Long max = DDS_LENGTH_UNLIMITED) {
  DDS_ReadSelectionI selection;
  selection.take = DDS_BOOLEAN_TRUE;
  selection.max_samples = max;
  return selection;
}

/// Reads or takes through a loan. Replaces the content of `received`.
inline DDS_ReturnCode_t access(DDSDataReader* reader, const DDS_ReadSelectionI& selection,
                               std::vector<Received>& received) {
  received.clear();
  DDS_SampleBufferI buffer;
  DDS_SampleInfoSeq infos;
  const DDS_ReturnCode_t result = reader->read_or_take_untypedI(buffer, infos, selection);
  if (result != DDS_RETCODE_OK) return result;
  for (DDS_Long i = 0; i < buffer.count; ++i) {
    const auto& sample = *static_cast<const Command*>(buffer.lent_samples[i]);
    received.push_back({sample.commandNumber, sample.value._u.intValue, infos[i]});
  }
  return reader->return_loan_untypedI(buffer.lent_samples, buffer.lent_maximum, infos);
}

/// Takes until `count` samples were received in total; 0: takes the samples that are present.
inline std::vector<Received> take(DDSDataReader* reader, std::size_t count = 0) {
  std::vector<Received> all, some;
  eventually([&] {
    if (access(reader, taking(), some) == DDS_RETCODE_OK) all.insert(all.end(), some.begin(), some.end());
    return all.size() >= count;
  });
  return all;
}

inline std::vector<DDS_UnsignedLong> numbers(const std::vector<Received>& received) {
  std::vector<DDS_UnsignedLong> result;
  for (const Received& one : received) result.push_back(one.number);
  return result;
}

/// Takes until a sample with this number and value was received.
inline bool comes(DDSDataReader* reader, DDS_UnsignedLong number, DDS_Long value = 0,
                  std::chrono::milliseconds limit = 20s) {
  return eventually(
      [&] {
        bool came = false;
        for (const Received& one : take(reader))
          came = came || (one.number == number && one.value == value && one.info.valid_data);
        return came;
      },
      limit);
}

}  // namespace platform_test
