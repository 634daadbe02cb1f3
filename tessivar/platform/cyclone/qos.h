// SPDX-License-Identifier: Apache-2.0

// Converts QoS to the QoS sets of the engine.
#pragma once

#include "tessivar/platform/cyclone/engine_api.h"

#include <memory>

namespace tessivar::platform::cyclone {

struct QosDeleter {
  void operator()(dds_qos_t* qos) const { dds_delete_qos(qos); }
};
typedef std::unique_ptr<dds_qos_t, QosDeleter> EngineQos;

EngineQos to_engine_qos(const DDS_DataWriterQos& qos, bool ignore_own_participant);
/// Leaves out the resource limits: a full reader would stop the receive thread of its whole participant.
EngineQos to_engine_qos(const DDS_DataReaderQos& qos, bool ignore_own_participant);
EngineQos to_engine_qos(const EngineParticipantConfig& config);

/// The name of the property that carries a participant's role name.
extern const char* const role_name_property;

}  // namespace tessivar::platform::cyclone
