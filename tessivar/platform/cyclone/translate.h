// SPDX-License-Identifier: Apache-2.0

// Converts small values between the platform and the engine.
#pragma once

#include "tessivar/platform/cyclone/engine_api.h"

#include <string>

namespace tessivar::platform::cyclone {

DDS_ReturnCode_t to_return_code(dds_return_t result);
/// Returns the engine's text for a negative result.
std::string describe(dds_return_t result);

DDS_InstanceHandle_t to_handle(const std::uint8_t (&octets)[16]);
DDS_InstanceHandle_t to_handle(const dds_guid_t& guid);
/// Returns the GUID of one of our own entities; nil if the engine does not know the entity.
DDS_InstanceHandle_t guid_of(dds_entity_t entity);

/// Converts nanoseconds; `never` becomes the engine's infinity.
dds_duration_t to_engine_duration(std::int64_t nanoseconds);
dds_duration_t to_engine_duration(const DDS_Duration_t& duration);

DDS_IncompatibleQosStatus to_status(const dds_offered_incompatible_qos_status_t& status);
DDS_IncompatibleQosStatus to_status(const dds_requested_incompatible_qos_status_t& status);

}  // namespace tessivar::platform::cyclone
