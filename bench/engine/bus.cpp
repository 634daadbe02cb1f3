// SPDX-License-Identifier: Apache-2.0

#include "bench/engine/bus.h"

#include "bench/common/load.h"

#include <cstdio>
#include <stdexcept>
#include <thread>
#include <utility>

namespace tessivar::bench {
namespace {

/// The settings of tessivar/platform/cyclone/configuration.cpp for the loopback interface without multicast.
std::string configuration(const Options& options) {
  return std::string(
             "<Domain><General><AllowMulticast>false</AllowMulticast>"
             "<Interfaces><NetworkInterface address=\"127.0.0.1\"/></Interfaces></General>"
             "<Discovery><ExternalDomainId>" +
             options.text("domain") +
             "</ExternalDomainId><ParticipantIndex>auto</ParticipantIndex>"
             "<MaxAutoParticipantIndex>32</MaxAutoParticipantIndex>"
             "<Peers><Peer address=\"127.0.0.1\"/></Peers>"
             "<LeaseDuration>2800 ms</LeaseDuration><SPDPInterval>700 ms</SPDPInterval></Discovery>"
             "<Internal><GenerateKeyhash>true</GenerateKeyhash>"
             "<HeartbeatInterval minsched=\"10 ms\" max=\"1 s\">10 ms</HeartbeatInterval>"
             "<NackDelay>10 ms</NackDelay>"
             "<SynchronousDeliveryPriorityThreshold>-2147483648</SynchronousDeliveryPriorityThreshold>"
             "<Watermarks><WhcHigh>4 MB</WhcHigh><WhcHighInit>4 MB</WhcHighInit><WhcLow>1 MB</WhcLow>"
             "<WhcAdaptive>false</WhcAdaptive></Watermarks>") +
         (options.count("batched", 0) != 0 ? "<WriteBatch>true</WriteBatch>" : "") +
         "</Internal><Tracing><OutputFile>stderr</OutputFile></Tracing></Domain>";
}

void call(dds_entity_t reader, void* function) {
  (*static_cast<DataFunction*>(function))(reader);
}

}  // namespace

dds_entity_t checked(dds_entity_t result, const char* what) {
  if (result < 0) throw std::runtime_error(std::string(what) + ": " + dds_strretcode(-result));
  return result;
}

Bus::Bus(const Options& options, unsigned number)
    : domain_(checked(dds_create_domain(number, configuration(options).c_str()), "dds_create_domain")),
      participant_(checked(dds_create_participant(number, nullptr, nullptr), "dds_create_participant")) {}

Bus::~Bus() {
  for (const auto& [reader, function] : listening_) dds_set_listener(reader, nullptr);  // waits for running calls
  dds_delete(domain_);
}

dds_entity_t Bus::topic(const char* name, const dds_topic_descriptor_t& type) const {
  return checked(dds_create_topic(participant_, &type, name, nullptr, nullptr), "dds_create_topic");
}

dds_entity_t Bus::writer(dds_entity_t topic, const dds_qos_t* qos) const {
  return checked(dds_create_writer(participant_, topic, qos, nullptr), "dds_create_writer");
}

dds_entity_t Bus::reader(dds_entity_t topic, const dds_qos_t* qos, DataFunction data) {
  if (!data) return checked(dds_create_reader(participant_, topic, qos, nullptr), "dds_create_reader");
  auto function = std::make_unique<DataFunction>(std::move(data));
  dds_listener_t* const listener = dds_create_listener(function.get());
  dds_lset_data_available(listener, call);
  const dds_entity_t reader = dds_create_reader(participant_, topic, qos, listener);
  dds_delete_listener(listener);
  listening_.emplace(checked(reader, "dds_create_reader"), std::move(function));
  return reader;
}

void set_state(dds_qos_t* qos) {
  dds_qset_reliability(qos, DDS_RELIABILITY_RELIABLE, DDS_MSECS(100));
  dds_qset_durability(qos, DDS_DURABILITY_TRANSIENT_LOCAL);
  dds_qset_history(qos, DDS_HISTORY_KEEP_LAST, 1);
  dds_qset_durability_service(qos, 0, DDS_HISTORY_KEEP_LAST, 1, DDS_LENGTH_UNLIMITED, DDS_LENGTH_UNLIMITED,
                              DDS_LENGTH_UNLIMITED);
}

void await_match(dds_entity_t entity) {
  const auto deadline = Clock::now() + patience;
  const auto matched = [entity] {
    dds_publication_matched_status_t as_writer = {};
    dds_subscription_matched_status_t as_reader = {};
    if (dds_get_publication_matched_status(entity, &as_writer) == DDS_RETCODE_OK) return as_writer.current_count > 0;
    return dds_get_subscription_matched_status(entity, &as_reader) == DDS_RETCODE_OK && as_reader.current_count > 0;
  };
  while (!matched()) {
    if (Clock::now() > deadline) throw std::runtime_error("no peer is matched");
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
}

void set_address(char* text, unsigned unit) {
  std::snprintf(text, sizeof(Bench_Command::unitId), "%04X:%02X:%02X", 1U, unit / 200 + 1, unit % 200 + 1);
}

}  // namespace tessivar::bench
