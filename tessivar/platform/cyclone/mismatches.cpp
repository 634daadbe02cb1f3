// SPDX-License-Identifier: Apache-2.0

#include "tessivar/platform/cyclone/mismatches.h"

#include "tessivar/platform/cyclone/qos.h"
#include "tessivar/platform/detail/log.h"

#include <cstdio>
#include <memory>
#include <vector>

namespace tessivar::platform::cyclone {
namespace {

constexpr std::size_t most_reported = 4096;

std::string milliseconds(dds_duration_t duration) {
  return duration == api::infinity ? "infinite" : std::to_string(duration / 1'000'000) + " ms";
}

/// "NAME: OFFERED is offered, REQUESTED is requested".
std::string conflict(const char* name, const std::string& offered, const std::string& requested) {
  return std::string(name) + ": " + offered + " is offered, " + requested + " is requested";
}

std::string durability(const dds_qos_t* offered, const dds_qos_t* requested) {
  static constexpr const char* names[] = {"VOLATILE", "TRANSIENT_LOCAL", "TRANSIENT", "PERSISTENT"};
  dds_durability_kind_t one = DDS_DURABILITY_VOLATILE, other = DDS_DURABILITY_VOLATILE;
  dds_qget_durability(offered, &one);
  dds_qget_durability(requested, &other);
  return one < other ? conflict("durability", names[one], names[other]) : "";
}

std::string reliability(const dds_qos_t* offered, const dds_qos_t* requested) {
  static constexpr const char* names[] = {"BEST_EFFORT", "RELIABLE"};
  dds_reliability_kind_t one = DDS_RELIABILITY_BEST_EFFORT, other = DDS_RELIABILITY_BEST_EFFORT;
  dds_duration_t blocking = 0;
  dds_qget_reliability(offered, &one, &blocking);
  dds_qget_reliability(requested, &other, &blocking);
  return one < other ? conflict("reliability", names[one], names[other]) : "";
}

std::string deadline(const dds_qos_t* offered, const dds_qos_t* requested) {
  dds_duration_t one = api::infinity, other = api::infinity;
  dds_qget_deadline(offered, &one);
  dds_qget_deadline(requested, &other);
  return one > other ? conflict("deadline", milliseconds(one), milliseconds(other)) : "";
}

std::string latency_budget(const dds_qos_t* offered, const dds_qos_t* requested) {
  dds_duration_t one = 0, other = 0;
  dds_qget_latency_budget(offered, &one);
  dds_qget_latency_budget(requested, &other);
  return one > other ? conflict("latency_budget", milliseconds(one), milliseconds(other)) : "";
}

std::string ownership(const dds_qos_t* offered, const dds_qos_t* requested) {
  static constexpr const char* names[] = {"SHARED", "EXCLUSIVE"};
  dds_ownership_kind_t one = DDS_OWNERSHIP_SHARED, other = DDS_OWNERSHIP_SHARED;
  dds_qget_ownership(offered, &one);
  dds_qget_ownership(requested, &other);
  return one != other ? conflict("ownership", names[one], names[other]) : "";
}

std::string liveliness(const dds_qos_t* offered, const dds_qos_t* requested) {
  static constexpr const char* names[] = {"AUTOMATIC", "MANUAL_BY_PARTICIPANT", "MANUAL_BY_TOPIC"};
  dds_liveliness_kind_t one = DDS_LIVELINESS_AUTOMATIC, other = DDS_LIVELINESS_AUTOMATIC;
  dds_duration_t its = api::infinity, wanted = api::infinity;
  dds_qget_liveliness(offered, &one, &its);
  dds_qget_liveliness(requested, &other, &wanted);
  if (one < other) return conflict("liveliness", names[one], names[other]);
  return its > wanted ? conflict("liveliness lease", milliseconds(its), milliseconds(wanted)) : "";
}

std::string destination_order(const dds_qos_t* offered, const dds_qos_t* requested) {
  static constexpr const char* names[] = {"BY_RECEPTION_TIMESTAMP", "BY_SOURCE_TIMESTAMP"};
  dds_destination_order_kind_t one = DDS_DESTINATIONORDER_BY_RECEPTION_TIMESTAMP, other = one;
  dds_qget_destination_order(offered, &one);
  dds_qget_destination_order(requested, &other);
  return one < other ? conflict("destination_order", names[one], names[other]) : "";
}

/// Returns the policies that prevent a match of a writer and a reader; empty if there are none.
std::string conflicts(const dds_qos_t* offered, const dds_qos_t* requested) {
  std::string result;
  for (const auto policy :
       {reliability, durability, deadline, latency_budget, ownership, liveliness, destination_order}) {
    const std::string one = policy(offered, requested);
    if (!one.empty()) result.append(result.empty() ? "" : "; ").append(one);
  }
  return result;
}

}  // namespace

void Mismatches::report(dds_entity_t endpoint, bool is_reader) noexcept {
  try {
    discovery_.on_worker([this, endpoint, is_reader] { log_new(endpoint, is_reader); });
  } catch (...) {
    // Memory is short: the mismatch is not logged.
  }
}

void Mismatches::log_new(dds_entity_t endpoint, bool is_reader) {
  char name[256];
  if (!is_logged(LogLevel::warning) || dds_get_name(dds_get_topic(endpoint), name, sizeof name) < 0) return;
  const std::string topic(name);
  const std::unique_ptr<dds_qos_t, void (*)(dds_qos_t*)> own(dds_create_qos(), dds_delete_qos);
  if (dds_get_qos(endpoint, own.get()) < 0) return;  // deleted in the meantime
  if (reported_.size() > most_reported) reported_.clear();
  std::vector<std::string> lines;  // logged after the built-in reader is deleted
  for_each_builtin_sample<dds_builtintopic_endpoint_t>(
      participant_, is_reader ? DDS_BUILTIN_TOPIC_DCPSPUBLICATION : DDS_BUILTIN_TOPIC_DCPSSUBSCRIPTION,
      [&](const dds_builtintopic_endpoint_t& remote) {
        if (topic != remote.topic_name) return;
        const std::pair mismatch(topic, to_guid(remote.key.v));
        const std::string why = is_reader ? conflicts(remote.qos, own.get()) : conflicts(own.get(), remote.qos);
        if (why.empty() || reported_.contains(mismatch)) return;
        lines.push_back("topic \"" + topic + "\": a " + (is_reader ? "writer" : "reader") + " of " + peer_of(remote) +
                        " does not match; " + why);
        reported_.insert(mismatch);
      });
  for (const std::string& line : lines) log(LogLevel::warning, is_reader ? "DDSDataReader" : "DDSDataWriter", line);
}

std::string Mismatches::peer_of(const dds_builtintopic_endpoint_t& remote) const {
  std::string name;
  for_each_builtin_sample<dds_builtintopic_participant_t>(
      participant_, DDS_BUILTIN_TOPIC_DCPSPARTICIPANT, [&](const dds_builtintopic_participant_t& participant) {
        if (to_guid(participant.key.v) != to_guid(remote.participant_key.v)) return;
        const auto add = [&](const char* before, char* value) {
          const std::unique_ptr<char, void (*)(void*)> owned(value, dds_free);
          if (value && *value) name.append(name.empty() ? "" : " ").append(before).append(value);
        };
        char* value = nullptr;
        dds_qget_entity_name(participant.qos, &value);
        add("", value);
        for (const auto& [property, before] :
             {std::pair("__ProcessName", ""), {"__Pid", "process "}, {"__Hostname", "on "}}) {
          value = nullptr;
          dds_qget_prop(participant.qos, property, &value);
          add(before, value);
        }
      });
  std::string guid;
  for (const std::uint8_t octet : remote.participant_key.v) {
    char digits[3];
    std::snprintf(digits, sizeof digits, "%02x", octet);
    guid += digits;
  }
  return "participant " + guid + (name.empty() ? "" : " (" + name + ")");
}

}  // namespace tessivar::platform::cyclone
