// SPDX-License-Identifier: Apache-2.0

// Topics and content-filtered topics (OMG DDS 1.4, 2.2.2.3). They are created and deleted through the participant, and
// thread-safe.
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
  /// Returns nil: a topic has no GUID, on the bus it is only a name.
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
  /// Compiles the filter again; samples may arrive meanwhile. If that fails, the old filter stays in force. For a
  /// transient-local reader whose property "dds.data_reader.state.filter_redundant_samples" is "0", the reader's cache
  /// then catches up with the new filter (see reader.h), and the reader gets another GUID. For every other reader the
  /// new filter applies to the samples that arrive from now on. Not possible in a content filter.
  DDS_ReturnCode_t set_expression_parameters(const DDS_StringSeq& parameters);

  struct TESSIVAR_INTERNAL Impl;
  Impl& impl() const { return *impl_; }

 private:
  friend class DDSDomainParticipant;
  explicit DDSContentFilteredTopic(std::unique_ptr<Impl> impl);
  ~DDSContentFilteredTopic() override;
  std::unique_ptr<Impl> impl_;
};
