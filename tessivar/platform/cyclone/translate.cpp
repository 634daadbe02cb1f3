// SPDX-License-Identifier: Apache-2.0

#include "tessivar/platform/cyclone/translate.h"

#include <cstring>

namespace tessivar::platform::cyclone {

DDS_ReturnCode_t to_return_code(dds_return_t result) {
  if (result >= 0) return DDS_RETCODE_OK;
  switch (result) {
    case api::unsupported:
      return DDS_RETCODE_UNSUPPORTED;
    case api::bad_parameter:
      return DDS_RETCODE_BAD_PARAMETER;
    case api::precondition_not_met:
      return DDS_RETCODE_PRECONDITION_NOT_MET;
    case api::out_of_resources:
      return DDS_RETCODE_OUT_OF_RESOURCES;
    case api::not_enabled:
      return DDS_RETCODE_NOT_ENABLED;
    case api::immutable_policy:
      return DDS_RETCODE_IMMUTABLE_POLICY;
    case api::inconsistent_policy:
      return DDS_RETCODE_INCONSISTENT_POLICY;
    case api::already_deleted:
      return DDS_RETCODE_ALREADY_DELETED;
    case api::timeout:
      return DDS_RETCODE_TIMEOUT;
    case api::no_data:
      return DDS_RETCODE_NO_DATA;
    case api::illegal_operation:
      return DDS_RETCODE_ILLEGAL_OPERATION;
    default:
      return DDS_RETCODE_ERROR;
  }
}

std::string describe(dds_return_t result) {
  return dds_strretcode(result);
}

DDS_InstanceHandle_t to_handle(const std::uint8_t (&octets)[16]) {
  DDS_InstanceHandle_t handle = {};
  std::memcpy(handle.keyHash.value, octets, sizeof octets);
  handle.keyHash.length = sizeof octets;
  handle.isValid = DDS_BOOLEAN_TRUE;
  return handle;
}

DDS_InstanceHandle_t to_handle(const dds_guid_t& guid) {
  return to_handle(guid.v);
}

DDS_InstanceHandle_t guid_of(dds_entity_t entity) {
  dds_guid_t guid;
  return dds_get_guid(entity, &guid) == api::ok ? to_handle(guid) : DDS_HANDLE_NIL;
}

dds_duration_t to_engine_duration(std::int64_t nanoseconds) {
  return nanoseconds == never ? api::infinity : nanoseconds;
}

dds_duration_t to_engine_duration(const DDS_Duration_t& duration) {
  return to_engine_duration(to_nanoseconds(duration));
}

namespace {

template <typename Status>
DDS_IncompatibleQosStatus incompatible(const Status& status) {
  return {static_cast<DDS_Long>(status.total_count), status.total_count_change,
          static_cast<DDS_Long>(status.last_policy_id)};
}

}  // namespace

DDS_IncompatibleQosStatus to_status(const dds_offered_incompatible_qos_status_t& status) {
  return incompatible(status);
}

DDS_IncompatibleQosStatus to_status(const dds_requested_incompatible_qos_status_t& status) {
  return incompatible(status);
}

}  // namespace tessivar::platform::cyclone
