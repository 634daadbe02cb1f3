// SPDX-License-Identifier: Apache-2.0

// The domain participant, its publisher and subscriber, and the factory that makes participants
// (OMG DDS 1.4, 2.2.2.2).
//
// All operations are thread-safe; what is made through a participant is owned by it and deleted through it. Creating
// operations return null and log one line when they fail. Nothing throws.
//
// In a process that inherited a participant by fork(), deleting it or what it contains returns OK and only abandons it;
// nothing else may be called there.
#pragma once

#include "tessivar/platform/builtin.h"
#include "tessivar/platform/detail/immortal.h"
#include "tessivar/platform/reader.h"
#include "tessivar/platform/topic.h"
#include "tessivar/platform/type_plugin.h"
#include "tessivar/platform/writer.h"

#include <memory>

class DDSDomainParticipant;

/// Makes the typed readers and writers of one type. Each type has one (types/); not used by applications.
class TESSIVAR_API DDSTypeSupport {
 public:
  virtual ~DDSTypeSupport() = default;
  virtual DDSDataReader* create_datareaderI(DDSDataReader::ImplPtr impl) = 0;
  virtual void destroy_datareaderI(DDSDataReader* reader) = 0;
  virtual DDSDataWriter* create_datawriterI(DDSDataWriter::ImplPtr impl) = 0;
  virtual void destroy_datawriterI(DDSDataWriter* writer) = 0;
};

/// Reads what discovery tells of remote participants. Narrow it from the built-in subscriber's reader.
class TESSIVAR_API DDSParticipantBuiltinTopicDataDataReader : public DDSDataReader {
 public:
  static DDSParticipantBuiltinTopicDataDataReader* narrow(DDSDataReader* reader);
  /// Copies; there is no loan, return_loan is there for the form's sake. NO_DATA when nothing fits.
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
  /// The built-in subscriber's: DDS_PARTICIPANT_TOPIC_NAME. Null for any other name.
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

  /// Once enabled, with the participant's numbers in wire_protocol.
  DDS_ReturnCode_t get_qos(DDS_DomainParticipantQos& qos) const;
  /// Before enable(): everything; afterwards only entity_factory, else IMMUTABLE_POLICY.
  DDS_ReturnCode_t set_qos(const DDS_DomainParticipantQos& qos);
  DDS_ReturnCode_t set_listener(DDSDomainParticipantListener* listener, DDS_StatusMask mask);
  DDSDomainParticipantListener* get_listener() const;

  /// Copies the record. OK when that name is registered with the same type; PRECONDITION_NOT_MET with another one.
  DDS_ReturnCode_t register_type(const char* type_name, const PRESTypePlugin& plugin);
  DDS_ReturnCode_t unregister_type(const char* type_name);
  bool is_type_registered(const char* type_name) const;

  /// One topic of a name per participant: null for a second one.
  DDSTopic* create_topic(const char* topic_name, const char* type_name, const DDS_TopicQos& qos,
                         DDSTopicListener* listener, DDS_StatusMask mask);
  /// PRECONDITION_NOT_MET while readers, writers or filtered topics use it.
  DDS_ReturnCode_t delete_topic(DDSTopic* topic);
  DDSContentFilteredTopic* create_contentfilteredtopic_with_filter(const char* name, DDSTopic* related_topic,
                                                                   const char* filter_expression,
                                                                   const DDS_StringSeq& expression_parameters,
                                                                   const char* filter_name);
  /// PRECONDITION_NOT_MET while readers use it.
  DDS_ReturnCode_t delete_contentfilteredtopic(DDSContentFilteredTopic* topic);
  /// Topic or filtered topic of that name; null when there is none.
  DDSTopicDescription* lookup_topicdescription(const char* name);

  /// DDS_DATAWRITER_QOS_DEFAULT and …_USE_TOPIC_QOS are recognised by their address.
  DDSDataWriter* create_datawriter(DDSTopic* topic, const DDS_DataWriterQos& qos, DDSDataWriterListener* listener,
                                   DDS_StatusMask mask);
  DDS_ReturnCode_t delete_datawriter(DDSDataWriter* writer);
  DDSDataReader* create_datareader(DDSTopicDescription* topic, const DDS_DataReaderQos& qos,
                                   DDSDataReaderListener* listener, DDS_StatusMask mask);
  /// PRECONDITION_NOT_MET while it has read conditions or lent samples.
  DDS_ReturnCode_t delete_datareader(DDSDataReader* reader);
  /// Readers, writers, filtered topics and topics, in that order, loans or not.
  DDS_ReturnCode_t delete_contained_entities();
  /// What its readers and writers have counted; may be kept for longer than the participant lives.
  std::shared_ptr<tessivar::platform::EndpointList> endpoints() const;

  // The defaults for topics, writers and readers: what set_default_…_qos() said, else the default profile
  // (is_default_qos), else the built-in values. A profile that has a mistake counts as absent, with one line in the
  // log.

  /// Without the sections of the default profile that have a topic_filter.
  DDS_ReturnCode_t get_default_topic_qos(DDS_TopicQos& qos) const;
  DDS_ReturnCode_t set_default_topic_qos(const DDS_TopicQos& qos);
  DDS_ReturnCode_t get_default_datawriter_qos(DDS_DataWriterQos& qos) const;
  DDS_ReturnCode_t set_default_datawriter_qos(const DDS_DataWriterQos& qos);
  DDS_ReturnCode_t get_default_datareader_qos(DDS_DataReaderQos& qos) const;
  DDS_ReturnCode_t set_default_datareader_qos(const DDS_DataReaderQos& qos);
  /// For a topic of that name: the default profile first, with the sections whose topic_filter fits the name, then as
  /// above. create_datawriter() and create_datareader() ask for their topic.
  DDS_ReturnCode_t get_default_topic_qos_w_topic_name(DDS_TopicQos& qos, const char* topic_name) const;
  DDS_ReturnCode_t get_default_datawriter_qos_w_topic_name(DDS_DataWriterQos& qos, const char* topic_name) const;
  DDS_ReturnCode_t get_default_datareader_qos_w_topic_name(DDS_DataReaderQos& qos, const char* topic_name) const;

  /// Not owned; PRECONDITION_NOT_MET for a name in use, or for unregistering one that filtered topics use.
  DDS_ReturnCode_t register_contentfilter(const char* filter_name, const DDSContentFilter* filter);
  DDSContentFilter* lookup_contentfilter(const char* filter_name);
  DDS_ReturnCode_t unregister_contentfilter(const char* filter_name);

  /// "[N@]builtin.udpv4://ADDRESS", "builtin.shmem://" or a bare address. On an enabled participant discovery of the
  /// peer begins at once.
  DDS_ReturnCode_t add_peer(const char* peer);
  DDS_ReturnCode_t remove_peer(const char* peer);
  /// The network interfaces in use, each as "name (address)". NOT_ENABLED before enable().
  DDS_ReturnCode_t get_network_interfaces(DDS_StringSeq& interfaces) const;
  /// A remote participant: nothing of it gets through from now on. The participant's own handle: its readers and
  /// writers made from now on do not match each other.
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

/// The process's one factory of participants, and its QoS profiles.
class TESSIVAR_API DDSDomainParticipantFactory {
 public:
  static DDSDomainParticipantFactory* get_instance();

  /// Domain ids are 0 to 232. Enabled at once when the factory's entity_factory says so.
  DDSDomainParticipant* create_participant(DDS_DomainId_t domain_id, const DDS_DomainParticipantQos& qos,
                                           DDSDomainParticipantListener* listener, DDS_StatusMask mask);
  /// PRECONDITION_NOT_MET while it contains entities.
  DDS_ReturnCode_t delete_participant(DDSDomainParticipant* participant);

  DDS_ReturnCode_t get_qos(DDS_DomainParticipantFactoryQos& qos) const;
  /// Reads the profile files it names when a profile is asked for next.
  DDS_ReturnCode_t set_qos(const DDS_DomainParticipantFactoryQos& qos);

  /// What set_default_participant_qos() said, else the default profile's (is_default_qos), else the built-in one. A
  /// profile file that has a mistake is left out, with one line in the log that names file, line and reason.
  DDS_ReturnCode_t get_default_participant_qos(DDS_DomainParticipantQos& qos) const;
  DDS_ReturnCode_t set_default_participant_qos(const DDS_DomainParticipantQos& qos);

  // From a profile. ERROR with one log line naming file and line for a malformed file, or library, profile and what is
  // unknown.
  DDS_ReturnCode_t get_participant_qos_from_profile(DDS_DomainParticipantQos& qos, const char* library,
                                                    const char* profile);
  DDS_ReturnCode_t get_topic_qos_from_profile(DDS_TopicQos& qos, const char* library, const char* profile);
  DDS_ReturnCode_t get_datawriter_qos_from_profile(DDS_DataWriterQos& qos, const char* library, const char* profile);
  DDS_ReturnCode_t get_datareader_qos_from_profile(DDS_DataReaderQos& qos, const char* library, const char* profile);
  /// Reads the profile files again when a profile is asked for next.
  DDS_ReturnCode_t reload_profiles();

 private:
  friend class tessivar::platform::Immortal<DDSDomainParticipantFactory>;
  DDSDomainParticipantFactory();
  ~DDSDomainParticipantFactory();
  struct TESSIVAR_INTERNAL Impl;
  std::unique_ptr<Impl> impl_;
};
