// SPDX-License-Identifier: Apache-2.0

#include "tessivar/platform/topic.h"

#include "tessivar/platform/participant/participant_impl.h"
#include "tessivar/platform/participant/topic_impl.h"
#include "tessivar/platform/system/guarded.h"

DDSTopic::DDSTopic(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}

DDSTopic::~DDSTopic() = default;

DDSTopic* DDSTopic::narrow(DDSTopicDescription* description) {
  return dynamic_cast<DDSTopic*>(description);
}

const char* DDSTopic::get_name() const {
  return impl_->name.c_str();
}

const char* DDSTopic::get_type_name() const {
  return impl_->type_name.c_str();
}

DDSDomainParticipant* DDSTopic::get_participant() const {
  return &impl_->participant;
}

DDS_ReturnCode_t DDSTopic::enable() {
  return impl_->participant.impl().engine ? DDS_RETCODE_OK : DDS_RETCODE_PRECONDITION_NOT_MET;
}

DDS_InstanceHandle_t DDSTopic::get_instance_handle() const {
  return DDS_HANDLE_NIL;
}

DDS_ReturnCode_t DDSTopic::get_qos(DDS_TopicQos& qos) const {
  qos = impl_->qos;
  return DDS_RETCODE_OK;
}

DDS_ReturnCode_t DDSTopic::get_inconsistent_topic_status(DDS_InconsistentTopicStatus& status) {
  status = {};
  return DDS_RETCODE_OK;
}

DDS_ReturnCode_t DDSTopic::set_listener(DDSTopicListener* listener, DDS_StatusMask mask) {
  impl_->listener.set(listener, mask);
  return DDS_RETCODE_OK;
}

DDSTopicListener* DDSTopic::get_listener() const {
  return impl_->listener.get();
}

DDSContentFilteredTopic::DDSContentFilteredTopic(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}

DDSContentFilteredTopic::~DDSContentFilteredTopic() = default;

DDSContentFilteredTopic* DDSContentFilteredTopic::narrow(DDSTopicDescription* description) {
  return dynamic_cast<DDSContentFilteredTopic*>(description);
}

const char* DDSContentFilteredTopic::get_name() const {
  return impl_->name.c_str();
}

const char* DDSContentFilteredTopic::get_type_name() const {
  return impl_->topic.get_type_name();
}

DDSDomainParticipant* DDSContentFilteredTopic::get_participant() const {
  return impl_->topic.get_participant();
}

DDSTopic* DDSContentFilteredTopic::get_related_topic() const {
  return &impl_->topic;
}

const char* DDSContentFilteredTopic::get_filter_expression() const {
  return impl_->expression.c_str();
}

DDS_ReturnCode_t DDSContentFilteredTopic::get_expression_parameters(DDS_StringSeq& parameters) const {
  const tessivar::platform::MutexLock lock(impl_->mutex);
  return parameters.copy(impl_->parameters) ? DDS_RETCODE_OK : DDS_RETCODE_OUT_OF_RESOURCES;
}

DDS_ReturnCode_t DDSContentFilteredTopic::set_expression_parameters(const DDS_StringSeq& parameters) {
  return tessivar::platform::guarded("DDSContentFilteredTopic::set_expression_parameters", DDS_RETCODE_OUT_OF_RESOURCES,
                                     [&] { return get_participant()->impl().set_parameters(*this, parameters); });
}
