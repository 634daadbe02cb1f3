// SPDX-License-Identifier: Apache-2.0

#include "tessivar/platform/condition.h"

#include "tessivar/platform/participant/condition_impl.h"

DDSCondition::DDSCondition(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}

DDSCondition::~DDSCondition() {
  if (impl_ && impl_->made_here.inherited()) static_cast<void>(impl_.release());  // the parent's wait sets refer to it
}

DDSGuardCondition::DDSGuardCondition() : DDSCondition(std::make_unique<Impl>()) {}

DDSGuardCondition::~DDSGuardCondition() = default;

DDS_Boolean DDSGuardCondition::get_trigger_value() {
  return tessivar::platform::is_triggered(*impl_);
}

DDS_ReturnCode_t DDSGuardCondition::set_trigger_value(DDS_Boolean value) {
  tessivar::platform::Wake wake;
  tessivar::platform::set_triggered(*this, value != DDS_BOOLEAN_FALSE, wake);
  return DDS_RETCODE_OK;
}

DDSReadCondition::DDSReadCondition(std::unique_ptr<Impl> impl) : DDSCondition(std::move(impl)) {}

DDSReadCondition::~DDSReadCondition() = default;

DDS_Boolean DDSReadCondition::get_trigger_value() {
  return tessivar::platform::is_triggered(*impl_);
}

DDSDataReader* DDSReadCondition::get_datareader() const {
  return impl_->reader;
}

DDS_SampleStateMask DDSReadCondition::get_sample_state_mask() const {
  return impl_->sample_states;
}

DDS_ViewStateMask DDSReadCondition::get_view_state_mask() const {
  return impl_->view_states;
}

DDS_InstanceStateMask DDSReadCondition::get_instance_state_mask() const {
  return impl_->instance_states;
}
