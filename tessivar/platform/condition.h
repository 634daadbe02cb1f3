// SPDX-License-Identifier: Apache-2.0

// Conditions and wait sets (OMG DDS 1.4, 2.2.2.1.6 to 2.2.2.1.9).
//
// All operations are thread-safe. Deleting an attached condition detaches it from its wait sets. Deleting a wait set
// detaches its conditions.
#pragma once

#include "tessivar/platform/sample_info.h"

#include <memory>

class DDSDataReader;
namespace tessivar::platform {
class ReadConditions;
}

class TESSIVAR_API DDSCondition {
 public:
  virtual ~DDSCondition();
  virtual DDS_Boolean get_trigger_value() = 0;
  DDSCondition(const DDSCondition&) = delete;
  DDSCondition& operator=(const DDSCondition&) = delete;

  struct TESSIVAR_INTERNAL Impl;
  Impl& impl() const { return *impl_; }

 protected:
  explicit DDSCondition(std::unique_ptr<Impl> impl);
  std::unique_ptr<Impl> impl_;
};

/// The application creates, triggers and deletes it.
class TESSIVAR_API DDSGuardCondition : public DDSCondition {
 public:
  DDSGuardCondition();
  ~DDSGuardCondition() override;
  DDS_Boolean get_trigger_value() override;
  DDS_ReturnCode_t set_trigger_value(DDS_Boolean value);
};

/// Triggered while its reader has samples in the given states. Created and deleted through the reader.
class TESSIVAR_API DDSReadCondition : public DDSCondition {
 public:
  DDS_Boolean get_trigger_value() override;
  DDSDataReader* get_datareader() const;
  DDS_SampleStateMask get_sample_state_mask() const;
  DDS_ViewStateMask get_view_state_mask() const;
  DDS_InstanceStateMask get_instance_state_mask() const;

 private:
  friend class tessivar::platform::ReadConditions;
  explicit DDSReadCondition(std::unique_ptr<Impl> impl);
  ~DDSReadCondition() override;
};

struct DDSConditionSeq : DDSPlainSequence<DDSCondition*> {
  using DDSPlainSequence<DDSCondition*>::DDSPlainSequence;
};

class TESSIVAR_API DDSWaitSet {
 public:
  DDSWaitSet();
  ~DDSWaitSet();
  DDSWaitSet(const DDSWaitSet&) = delete;
  DDSWaitSet& operator=(const DDSWaitSet&) = delete;

  /// Returns OK and changes nothing if the condition is attached already. Allowed while another thread waits.
  DDS_ReturnCode_t attach_condition(DDSCondition* condition);
  /// Returns PRECONDITION_NOT_MET if the condition is not attached.
  DDS_ReturnCode_t detach_condition(DDSCondition* condition);
  /// Blocks until a condition is triggered. `active` then contains the triggered conditions in the order of their
  /// attachment. Returns TIMEOUT if no condition is triggered within `timeout`. Only one thread may wait at a time: in
  /// a second thread the call returns PRECONDITION_NOT_MET.
  DDS_ReturnCode_t wait(DDSConditionSeq& active, const DDS_Duration_t& timeout);
  DDS_ReturnCode_t get_conditions(DDSConditionSeq& attached);

  struct TESSIVAR_INTERNAL Impl;

 private:
  std::unique_ptr<Impl> impl_;
};
