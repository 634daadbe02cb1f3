// SPDX-License-Identifier: Apache-2.0

// Topics and their filtered views (OMG DDS 1.4, 2.2.2.3). Made and deleted through the participant; thread-safe.
#pragma once

#include "tessivar/platform/content_filter.h"
#include "tessivar/platform/entity.h"
#include "tessivar/platform/listener.h"
#include "tessivar/platform/qos.h"

#include <memory>

class DDSDomainParticipant;

class TESSIVAR_API DDSTopicDescription {
 public:
  virtual ~DDSTopicDescription() = default;
  virtual const char* get_name() const = 0;
  virtual const char* get_type_name() const = 0;
  virtual DDSDomainParticipant* get_participant() const = 0;
};

class TESSIVAR_API DDSTopic : public DDSTopicDescription, public DDSEntity {
 public:
  static DDSTopic* narrow(DDSTopicDescription* description);
  const char* get_name() const override;
  const char* get_type_name() const override;
  DDSDomainParticipant* get_participant() const override;
  DDS_ReturnCode_t enable() override;
  /// Nil: on the wire a topic is a name, it has no GUID.
  DDS_InstanceHandle_t get_instance_handle() const override;
  DDS_ReturnCode_t get_qos(DDS_TopicQos& qos) const;
  DDS_ReturnCode_t get_inconsistent_topic_status(DDS_InconsistentTopicStatus& status);
  DDS_ReturnCode_t set_listener(DDSTopicListener* listener, DDS_StatusMask mask);
  DDSTopicListener* get_listener() const;

  struct TESSIVAR_INTERNAL Impl;
  Impl& impl() const { return *impl_; }

 private:
  friend class DDSDomainParticipant;
  explicit DDSTopic(std::unique_ptr<Impl> impl);
  ~DDSTopic() override;
  std::unique_ptr<Impl> impl_;
};

class TESSIVAR_API DDSContentFilteredTopic : public DDSTopicDescription {
 public:
  static DDSContentFilteredTopic* narrow(DDSTopicDescription* description);
  const char* get_name() const override;
  const char* get_type_name() const override;
  DDSDomainParticipant* get_participant() const override;
  DDSTopic* get_related_topic() const;
  const char* get_filter_expression() const;
  DDS_ReturnCode_t get_expression_parameters(DDS_StringSeq& parameters) const;
  /// Compiles the filter again, while data flows; on failure the old filter stays in force. A transient-local reader
  /// whose property "dds.data_reader.state.filter_redundant_samples" is "0" then receives the matching history again,
  /// through the new filter, and has another GUID from then on; for every other reader the new filter applies from now
  /// on. Not from inside a callback of a reader of this topic.
  DDS_ReturnCode_t set_expression_parameters(const DDS_StringSeq& parameters);

  struct TESSIVAR_INTERNAL Impl;
  Impl& impl() const { return *impl_; }

 private:
  friend class DDSDomainParticipant;
  explicit DDSContentFilteredTopic(std::unique_ptr<Impl> impl);
  ~DDSContentFilteredTopic() override;
  std::unique_ptr<Impl> impl_;
};
