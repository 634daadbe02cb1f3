// Small values of the platform and of the engine, one into the other.
#pragma once

#include "tessivar/platform/cyclone/engine_api.h"

#include <string>

namespace tessivar::platform::cyclone {

DDS_ReturnCode_t to_return_code(dds_return_t result);
/// The engine's words for a negative result.
std::string describe(dds_return_t result);

DDS_InstanceHandle_t to_handle(const std::uint8_t (&octets)[16]);
DDS_InstanceHandle_t to_handle(const dds_guid_t& guid);
/// Of one of our own entities; nil when the engine does not know it.
DDS_InstanceHandle_t guid_of(dds_entity_t entity);

/// Nanoseconds as the engine counts them; `never` is its infinity.
dds_duration_t to_engine_duration(std::int64_t nanoseconds);
dds_duration_t to_engine_duration(const DDS_Duration_t& duration);

DDS_IncompatibleQosStatus to_status(const dds_offered_incompatible_qos_status_t& status);
DDS_IncompatibleQosStatus to_status(const dds_requested_incompatible_qos_status_t& status);

}  // namespace tessivar::platform::cyclone
