// SPDX-License-Identifier: Apache-2.0

// The base class of all entities (OMG DDS 1.4, 2.2.2.1.1).
#pragma once

#include "tessivar/platform/status.h"

class TESSIVAR_API DDSEntity {
 public:
  virtual ~DDSEntity() = default;
  /// Connects the entity to the bus. Returns OK if the entity is enabled already, and PRECONDITION_NOT_MET if the
  /// participant that contains it is not enabled.
  virtual DDS_ReturnCode_t enable() = 0;
  /// Returns the GUID of the entity; nil if the entity is not enabled.
  virtual DDS_InstanceHandle_t get_instance_handle() const = 0;

 protected:
  DDSEntity() = default;
  DDSEntity(const DDSEntity&) = delete;
  DDSEntity& operator=(const DDSEntity&) = delete;
};
