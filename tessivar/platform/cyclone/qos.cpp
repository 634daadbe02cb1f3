// SPDX-License-Identifier: Apache-2.0

#include "tessivar/platform/cyclone/qos.h"

#include "tessivar/platform/cyclone/internals/internals.h"
#include "tessivar/platform/cyclone/translate.h"

namespace tessivar::platform::cyclone {
namespace {

dds_history_kind_t to_engine(DDS_HistoryQosPolicyKind kind) {
  return kind == DDS_KEEP_ALL_HISTORY_QOS ? DDS_HISTORY_KEEP_ALL : DDS_HISTORY_KEEP_LAST;
}

dds_liveliness_kind_t to_engine(DDS_LivelinessQosPolicyKind kind) {
  switch (kind) {
    case DDS_MANUAL_BY_PARTICIPANT_LIVELINESS_QOS:
      return DDS_LIVELINESS_MANUAL_BY_PARTICIPANT;
    case DDS_MANUAL_BY_TOPIC_LIVELINESS_QOS:
      return DDS_LIVELINESS_MANUAL_BY_TOPIC;
    case DDS_AUTOMATIC_LIVELINESS_QOS:
      break;
  }
  return DDS_LIVELINESS_AUTOMATIC;
}

// The policies that readers and writers have in common.
template <typename Qos>
EngineQos common_qos(const Qos& qos, bool ignore_own_participant) {
  EngineQos result(dds_create_qos());
  dds_qos_t* to = result.get();
  dds_qset_durability(to, qos.durability.kind == DDS_TRANSIENT_LOCAL_DURABILITY_QOS ? DDS_DURABILITY_TRANSIENT_LOCAL
                                                                                    : DDS_DURABILITY_VOLATILE);
  dds_qset_reliability(
      to, qos.reliability.kind == DDS_RELIABLE_RELIABILITY_QOS ? DDS_RELIABILITY_RELIABLE : DDS_RELIABILITY_BEST_EFFORT,
      to_engine_duration(qos.reliability.max_blocking_time));
  dds_qset_history(to, to_engine(qos.history.kind), qos.history.depth);
  dds_qset_liveliness(to, to_engine(qos.liveliness.kind), to_engine_duration(qos.liveliness.lease_duration));
  dds_qset_deadline(to, to_engine_duration(qos.deadline.period));
  dds_qset_latency_budget(to, to_engine_duration(qos.latency_budget.duration));
  dds_qset_ownership(
      to, qos.ownership.kind == DDS_EXCLUSIVE_OWNERSHIP_QOS ? DDS_OWNERSHIP_EXCLUSIVE : DDS_OWNERSHIP_SHARED);
  dds_qset_destination_order(to, qos.destination_order.kind == DDS_BY_SOURCE_TIMESTAMP_DESTINATIONORDER_QOS
                                     ? DDS_DESTINATIONORDER_BY_SOURCE_TIMESTAMP
                                     : DDS_DESTINATIONORDER_BY_RECEPTION_TIMESTAMP);
  if (qos.user_data.value.length() > 0)
    dds_qset_userdata(to, qos.user_data.value.get_contiguous_buffer(),
                      static_cast<std::size_t>(qos.user_data.value.length()));
  if (ignore_own_participant) dds_qset_ignorelocal(to, DDS_IGNORELOCAL_PARTICIPANT);
  return result;
}

void set_property(dds_qos_t* qos, const char* name, const char* value, bool propagate) {
  // Properties that are set through the engine's public interface are not sent to other participants.
  if (!propagate || !cyclone_add_propagated_property(qos, name, value)) dds_qset_prop(qos, name, value);
}

}  // namespace

const char* const role_name_property = "tessivar.participant.role_name";

EngineQos to_engine_qos(const DDS_DataWriterQos& qos, bool ignore_own_participant) {
  EngineQos result = common_qos(qos, ignore_own_participant);
  const DDS_ResourceLimitsQosPolicy& limits = qos.resource_limits;
  dds_qset_resource_limits(result.get(), limits.max_samples, limits.max_instances, limits.max_samples_per_instance);
  // This policy says how many samples the engine keeps for late joiners. Its default is one sample for each instance.
  const DDS_Long kept = qos.durability_service.history_depth;
  dds_qset_durability_service(result.get(), 0, kept > 0 ? DDS_HISTORY_KEEP_LAST : to_engine(qos.history.kind),
                              kept > 0 ? kept : qos.history.depth, limits.max_samples, limits.max_instances,
                              limits.max_samples_per_instance);
  dds_qset_lifespan(result.get(), to_engine_duration(qos.lifespan.duration));
  dds_qset_writer_data_lifecycle(result.get(), qos.writer_data_lifecycle.autodispose_unregistered_instances != 0);
  return result;
}

EngineQos to_engine_qos(const DDS_DataReaderQos& qos, bool ignore_own_participant) {
  return common_qos(qos, ignore_own_participant);
}

EngineQos to_engine_qos(const EngineParticipantConfig& config) {
  EngineQos result(dds_create_qos());
  dds_qos_t* to = result.get();
  if (!config.user_data.empty()) dds_qset_userdata(to, config.user_data.data(), config.user_data.size());
  if (!config.name.empty()) dds_qset_entity_name(to, config.name.c_str());
  for (const EngineProperty& property : config.properties)
    set_property(to, property.name.c_str(), property.value.c_str(), property.propagate);
  if (!config.role_name.empty()) set_property(to, role_name_property, config.role_name.c_str(), true);
  return result;
}

}  // namespace tessivar::platform::cyclone
