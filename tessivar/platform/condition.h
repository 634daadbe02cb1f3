// SPDX-License-Identifier: Apache-2.0

// Conditions and wait sets (OMG DDS 1.4, 2.2.2.1.6 to 2.2.2.1.9).
//
// All operations are thread-safe. A condition must be detached from every wait set, or the wait set be deleted, before
// the condition is deleted; deleting an attached condition detaches it.
#pragma once

#include "tessivar/platform/sample_info.h"

#include <memory>

class DDSDataReader;

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

/// Triggered by the application. Created and deleted by it.
class TESSIVAR_API DDSGuardCondition : public DDSCondition {
 public:
  DDSGuardCondition();
  ~DDSGuardCondition() override;
  DDS_Boolean get_trigger_value() override;
  DDS_ReturnCode_t set_trigger_value(DDS_Boolean value);
};

/// Triggered while its reader holds samples of the given states. Made and deleted through the reader.
class TESSIVAR_API DDSReadCondition : public DDSCondition {
 public:
  DDS_Boolean get_trigger_value() override;
  DDSDataReader* get_datareader() const;
  DDS_SampleStateMask get_sample_state_mask() const;
  DDS_ViewStateMask get_view_state_mask() const;
  DDS_InstanceStateMask get_instance_state_mask() const;

 private:
  friend class DDSDataReader;
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

  /// Attaching a condition that is attached already succeeds and changes nothing. Allowed while another thread waits.
  DDS_ReturnCode_t attach_condition(DDSCondition* condition);
  /// PRECONDITION_NOT_MET when it is not attached.
  DDS_ReturnCode_t detach_condition(DDSCondition* condition);
  /// Blocks until a condition triggers; the triggered ones are in `active`, in the order of their attachment. TIMEOUT
  /// when none triggers in time. One thread at a time: a second one gets PRECONDITION_NOT_MET.
  DDS_ReturnCode_t wait(DDSConditionSeq& active, const DDS_Duration_t& timeout);
  DDS_ReturnCode_t get_conditions(DDSConditionSeq& attached);

  struct TESSIVAR_INTERNAL Impl;

 private:
  std::unique_ptr<Impl> impl_;
};
