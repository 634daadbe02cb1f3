// SPDX-License-Identifier: Apache-2.0

// The domain participant, its publisher and subscriber, and the factory of participants (OMG DDS 1.4, 2.2.2.2).
//
// All operations are thread-safe. A participant owns the entities that it creates; they are deleted through it. An
// operation that creates something returns null and logs one line if it fails. Nothing throws.
//
// In a process that inherited a participant by fork(), deleting the participant or its entities returns OK and frees
// nothing. Such a process must not call any other operation of the participant.
#pragma once

#include "tessivar/platform/builtin.h"
#include "tessivar/platform/detail/immortal.h"
#include "tessivar/platform/reader.h"
#include "tessivar/platform/topic.h"
#include "tessivar/platform/type_plugin.h"
#include "tessivar/platform/writer.h"

#include <memory>

class DDSDomainParticipant;

/// Creates the typed readers and writers of one type. Each type has one type support (types/). Applications do not call
/// it.
class TESSIVAR_API DDSTypeSupport {
 public:
  virtual ~DDSTypeSupport() = default;
  virtual DDSDataReader* create_datareaderI(DDSDataReader::ImplPtr impl) = 0;
  virtual void destroy_datareaderI(DDSDataReader* reader) = 0;
  virtual DDSDataWriter* create_datawriterI(DDSDataWriter::ImplPtr impl) = 0;
  virtual void destroy_datawriterI(DDSDataWriter* writer) = 0;
};

/// Reads what discovery reports about remote participants. Get it with narrow() from the reader of the built-in
/// subscriber.
class TESSIVAR_API DDSParticipantBuiltinTopicDataDataReader : public DDSDataReader {
 public:
  static DDSParticipantBuiltinTopicDataDataReader* narrow(DDSDataReader* reader);
  /// Copies the selected samples into the sequences. There is no loan, so return_loan does nothing. Returns NO_DATA if
  /// no sample is selected.
  DDS_ReturnCode_t take(DDS_ParticipantBuiltinTopicDataSeq& samples, DDS_SampleInfoSeq& infos, DDS_Long max_samples,
                        DDS_SampleStateMask, DDS_ViewStateMask, DDS_InstanceStateMask);
  DDS_ReturnCode_t read(DDS_ParticipantBuiltinTopicDataSeq& samples, DDS_SampleInfoSeq& infos, DDS_Long max_samples,
                        DDS_SampleStateMask, DDS_ViewStateMask, DDS_InstanceStateMask);
  DDS_ReturnCode_t return_loan(DDS_ParticipantBuiltinTopicDataSeq& samples, DDS_SampleInfoSeq& infos);

 private:
  friend class DDSDomainParticipant;
  explicit DDSParticipantBuiltinTopicDataDataReader(DDSDataReader::ImplPtr impl);
};

class TESSIVAR_API DDSPublisher {
 public:
  DDSDomainParticipant* get_participant() const { return participant_; }

 private:
  friend class DDSDomainParticipant;
  explicit DDSPublisher(DDSDomainParticipant* participant) : participant_(participant) {}
  DDSDomainParticipant* participant_;
};

class TESSIVAR_API DDSSubscriber {
 public:
  DDSDomainParticipant* get_participant() const { return participant_; }
  /// Returns the built-in subscriber's reader of the topic DDS_PARTICIPANT_TOPIC_NAME. Returns null for any other name
  /// and for any other subscriber.
  DDSDataReader* lookup_datareader(const char* topic_name);

 private:
  friend class DDSDomainParticipant;
  explicit DDSSubscriber(DDSDomainParticipant* participant) : participant_(participant) {}
  DDSDomainParticipant* participant_;
};

class TESSIVAR_API DDSDomainParticipant : public DDSEntity {
 public:
  struct TESSIVAR_INTERNAL Impl;

  DDS_ReturnCode_t enable() override;
  DDS_InstanceHandle_t get_instance_handle() const override;
  DDS_DomainId_t get_domain_id() const;

  /// After enable(), wire_protocol contains the participant's index and the prefix of its GUID.
  DDS_ReturnCode_t get_qos(DDS_DomainParticipantQos& qos) const;
  /// Before enable() every policy can change. After it only entity_factory can change; a change of another policy that
  /// the engine uses returns IMMUTABLE_POLICY.
  DDS_ReturnCode_t set_qos(const DDS_DomainParticipantQos& qos);
  /// Blocks until no other thread is inside a callback of the old listener (listener.h). Returns ILLEGAL_OPERATION in a
  /// content filter.
  DDS_ReturnCode_t set_listener(DDSDomainParticipantListener* listener, DDS_StatusMask mask);
  DDSDomainParticipantListener* get_listener() const;

  /// Copies `plugin`. Returns OK also if the name is registered with the same type already, and PRECONDITION_NOT_MET if
  /// it is registered with another type.
  DDS_ReturnCode_t register_type(const char* type_name, const PRESTypePlugin& plugin);
  DDS_ReturnCode_t unregister_type(const char* type_name);
  bool is_type_registered(const char* type_name) const;

  /// Returns null if the participant already has a topic or filtered topic of that name.
  DDSTopic* create_topic(const char* topic_name, const char* type_name, const DDS_TopicQos& qos,
                         DDSTopicListener* listener, DDS_StatusMask mask);
  /// Returns PRECONDITION_NOT_MET while readers, writers or filtered topics use the topic.
  DDS_ReturnCode_t delete_topic(DDSTopic* topic);
  DDSContentFilteredTopic* create_contentfilteredtopic_with_filter(const char* name, DDSTopic* related_topic,
                                                                   const char* filter_expression,
                                                                   const DDS_StringSeq& expression_parameters,
                                                                   const char* filter_name);
  /// Returns PRECONDITION_NOT_MET while readers use the filtered topic.
  DDS_ReturnCode_t delete_contentfilteredtopic(DDSContentFilteredTopic* topic);
  /// Returns the topic or filtered topic of that name; null if there is none.
  DDSTopicDescription* lookup_topicdescription(const char* name);

  /// DDS_DATAWRITER_QOS_DEFAULT and …_USE_TOPIC_QOS are recognised by their address.
  DDSDataWriter* create_datawriter(DDSTopic* topic, const DDS_DataWriterQos& qos, DDSDataWriterListener* listener,
                                   DDS_StatusMask mask);
  DDS_ReturnCode_t delete_datawriter(DDSDataWriter* writer);
  DDSDataReader* create_datareader(DDSTopicDescription* topic, const DDS_DataReaderQos& qos,
                                   DDSDataReaderListener* listener, DDS_StatusMask mask);
  /// Returns PRECONDITION_NOT_MET while the reader has read conditions or loans.
  DDS_ReturnCode_t delete_datareader(DDSDataReader* reader);
  /// Deletes readers, writers, filtered topics and topics, in that order. Deletes readers that have read conditions or
  /// loans, too.
  DDS_ReturnCode_t delete_contained_entities();
  /// Returns the counters of the participant's readers and writers. The caller may keep the list longer than the
  /// participant exists.
  std::shared_ptr<tessivar::platform::EndpointList> endpoints() const;

  // The default QoS of topics, writers and readers comes from the first of these that exists: the value of
  // set_default_…_qos(), the default profile (is_default_qos), the built-in values. A profile that has a mistake is not
  // used, with one line in the log.

  /// Does not use the sections of the default profile that have a topic_filter.
  DDS_ReturnCode_t get_default_topic_qos(DDS_TopicQos& qos) const;
  DDS_ReturnCode_t set_default_topic_qos(const DDS_TopicQos& qos);
  DDS_ReturnCode_t get_default_datawriter_qos(DDS_DataWriterQos& qos) const;
  DDS_ReturnCode_t set_default_datawriter_qos(const DDS_DataWriterQos& qos);
  DDS_ReturnCode_t get_default_datareader_qos(DDS_DataReaderQos& qos) const;
  DDS_ReturnCode_t set_default_datareader_qos(const DDS_DataReaderQos& qos);
  /// The same for a topic of that name: also uses the sections of the default profile whose topic_filter matches the
  /// name. create_topic(), create_datawriter() and create_datareader() use these operations for DDS_…_QOS_DEFAULT.
  DDS_ReturnCode_t get_default_topic_qos_w_topic_name(DDS_TopicQos& qos, const char* topic_name) const;
  DDS_ReturnCode_t get_default_datawriter_qos_w_topic_name(DDS_DataWriterQos& qos, const char* topic_name) const;
  DDS_ReturnCode_t get_default_datareader_qos_w_topic_name(DDS_DataReaderQos& qos, const char* topic_name) const;

  /// The caller keeps the ownership of `filter`. Returns PRECONDITION_NOT_MET if the name is in use.
  DDS_ReturnCode_t register_contentfilter(const char* filter_name, const DDSContentFilter* filter);
  DDSContentFilter* lookup_contentfilter(const char* filter_name);
  /// Returns PRECONDITION_NOT_MET while filtered topics use the filter.
  DDS_ReturnCode_t unregister_contentfilter(const char* filter_name);

  /// `peer` is "[N@]builtin.udpv4://ADDRESS", "builtin.shmem://" or a bare address. If the participant is enabled,
  /// discovery of the peer begins at once.
  DDS_ReturnCode_t add_peer(const char* peer);
  DDS_ReturnCode_t remove_peer(const char* peer);
  /// Gets the network interfaces in use, each as "name (address)". Returns NOT_ENABLED before enable().
  DDS_ReturnCode_t get_network_interfaces(DDS_StringSeq& interfaces) const;
  /// With the handle of a remote participant: data and endpoints of that participant are ignored from now on. With the
  /// participant's own handle: its readers and writers that are enabled from now on do not match each other.
  DDS_ReturnCode_t ignore_participant(const DDS_InstanceHandle_t& handle);

  DDSPublisher* get_implicit_publisher();
  DDSSubscriber* get_implicit_subscriber();
  DDSSubscriber* get_builtin_subscriber();

  Impl& impl() const { return *impl_; }

 private:
  friend class DDSDomainParticipantFactory;
  friend class DDSSubscriber;
  explicit DDSDomainParticipant(std::unique_ptr<Impl> impl);
  ~DDSDomainParticipant() override;
  std::unique_ptr<Impl> impl_;
};

/// The only factory of participants in the process. It also reads the QoS profiles.
class TESSIVAR_API DDSDomainParticipantFactory {
 public:
  static DDSDomainParticipantFactory* get_instance();

  /// `domain_id` is 0 to 232. The participant is enabled at once if autoenable_created_entities of the factory's
  /// entity_factory is true.
  DDSDomainParticipant* create_participant(DDS_DomainId_t domain_id, const DDS_DomainParticipantQos& qos,
                                           DDSDomainParticipantListener* listener, DDS_StatusMask mask);
  /// Returns PRECONDITION_NOT_MET while the participant contains entities.
  DDS_ReturnCode_t delete_participant(DDSDomainParticipant* participant);

  DDS_ReturnCode_t get_qos(DDS_DomainParticipantFactoryQos& qos) const;
  /// The profile files that `qos` names are read when a profile is needed next.
  DDS_ReturnCode_t set_qos(const DDS_DomainParticipantFactoryQos& qos);

  /// Gets the first of these that exists: the value of set_default_participant_qos(), the default profile
  /// (is_default_qos), the built-in values. A profile file that has a mistake is not used. One line in the log then
  /// names file, line and reason.
  DDS_ReturnCode_t get_default_participant_qos(DDS_DomainParticipantQos& qos) const;
  DDS_ReturnCode_t set_default_participant_qos(const DDS_DomainParticipantQos& qos);

  // These operations get the QoS of a profile. If a file is malformed, they return ERROR and log one line with file and
  // line. If the library or profile is unknown, they return ERROR and log one line with both names.
  DDS_ReturnCode_t get_participant_qos_from_profile(DDS_DomainParticipantQos& qos, const char* library,
                                                    const char* profile);
  DDS_ReturnCode_t get_topic_qos_from_profile(DDS_TopicQos& qos, const char* library, const char* profile);
  DDS_ReturnCode_t get_datawriter_qos_from_profile(DDS_DataWriterQos& qos, const char* library, const char* profile);
  DDS_ReturnCode_t get_datareader_qos_from_profile(DDS_DataReaderQos& qos, const char* library, const char* profile);
  /// The profile files are read again when a profile is needed next.
  DDS_ReturnCode_t reload_profiles();

 private:
  friend class tessivar::platform::Immortal<DDSDomainParticipantFactory>;
  DDSDomainParticipantFactory();
  ~DDSDomainParticipantFactory();
  struct TESSIVAR_INTERNAL Impl;
  std::unique_ptr<Impl> impl_;
};
