// SPDX-License-Identifier: Apache-2.0

// What all entities have in common (OMG DDS 1.4, 2.2.2.1.1).
#pragma once

#include "tessivar/platform/status.h"

class TESSIVAR_API DDSEntity {
 public:
  virtual ~DDSEntity() = default;
  /// Brings the entity to the bus. OK when it is enabled already; PRECONDITION_NOT_MET while what made it is not.
  virtual DDS_ReturnCode_t enable() = 0;
  /// The entity's GUID; nil until it is enabled.
  virtual DDS_InstanceHandle_t get_instance_handle() const = 0;

 protected:
  DDSEntity() = default;
  DDSEntity(const DDSEntity&) = delete;
  DDSEntity& operator=(const DDSEntity&) = delete;
};
