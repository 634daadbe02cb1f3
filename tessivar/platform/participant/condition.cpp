// SPDX-License-Identifier: Apache-2.0

#include "tessivar/platform/condition.h"

#include "tessivar/platform/participant/condition_impl.h"

DDSCondition::DDSCondition(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}

DDSCondition::~DDSCondition() {
  if (impl_ && impl_->made_here.inherited()) static_cast<void>(impl_.release());  // the parent's engine uses it
}

DDSGuardCondition::DDSGuardCondition() : DDSCondition(std::make_unique<Impl>()) {
  impl_->engine = tessivar::platform::engine().create_guard_condition();
}

DDSGuardCondition::~DDSGuardCondition() = default;

DDS_Boolean DDSGuardCondition::get_trigger_value() {
  return impl_->engine && impl_->engine->triggered();
}

DDS_ReturnCode_t DDSGuardCondition::set_trigger_value(DDS_Boolean value) {
  if (!impl_->engine) return DDS_RETCODE_OUT_OF_RESOURCES;
  return impl_->engine->set_trigger(value != DDS_BOOLEAN_FALSE);
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
