// SPDX-License-Identifier: Apache-2.0

// Quality-of-service policies, and the QoS sets of the entities (OMG DDS 1.4, 2.2.3).
//
// QoS sets are plain values: an entity copies the set that it is created with. A default-constructed set has the
// platform's defaults. These are the defaults of the standard except where a comment says otherwise.
#pragma once

#include "tessivar/platform/base.h"
#include "tessivar/platform/sequence.h"

enum DDS_DurabilityQosPolicyKind { DDS_VOLATILE_DURABILITY_QOS = 0, DDS_TRANSIENT_LOCAL_DURABILITY_QOS = 1 };
enum DDS_ReliabilityQosPolicyKind { DDS_BEST_EFFORT_RELIABILITY_QOS = 0, DDS_RELIABLE_RELIABILITY_QOS = 1 };
enum DDS_HistoryQosPolicyKind { DDS_KEEP_LAST_HISTORY_QOS = 0, DDS_KEEP_ALL_HISTORY_QOS = 1 };
enum DDS_RefilterQosPolicyKind { DDS_NONE_REFILTER_QOS = 0, DDS_ALL_REFILTER_QOS = 1, DDS_ON_DEMAND_REFILTER_QOS = 2 };
enum DDS_LivelinessQosPolicyKind {
  DDS_AUTOMATIC_LIVELINESS_QOS = 0,
  DDS_MANUAL_BY_PARTICIPANT_LIVELINESS_QOS = 1,
  DDS_MANUAL_BY_TOPIC_LIVELINESS_QOS = 2
};
enum DDS_OwnershipQosPolicyKind { DDS_SHARED_OWNERSHIP_QOS = 0, DDS_EXCLUSIVE_OWNERSHIP_QOS = 1 };
enum DDS_DestinationOrderQosPolicyKind {
  DDS_BY_RECEPTION_TIMESTAMP_DESTINATIONORDER_QOS = 0,
  DDS_BY_SOURCE_TIMESTAMP_DESTINATIONORDER_QOS = 1
};

struct DDS_UserDataQosPolicy {
  DDS_OctetSeq value;
};

struct DDS_DurabilityQosPolicy {
  DDS_DurabilityQosPolicyKind kind = DDS_VOLATILE_DURABILITY_QOS;
};

/// The history that a transient-local writer keeps for late joiners.
struct DDS_DurabilityServiceQosPolicy {
  /// Samples kept per instance; 0: as many as the history policy says.
  DDS_Long history_depth = 0;
};

struct DDS_ReliabilityQosPolicy {
  DDS_ReliabilityQosPolicyKind kind = DDS_BEST_EFFORT_RELIABILITY_QOS;
  /// How long a write may wait for free space before it returns TIMEOUT.
  DDS_Duration_t max_blocking_time = {0, 100000000};
};

struct DDS_HistoryQosPolicy {
  DDS_HistoryQosPolicyKind kind = DDS_KEEP_LAST_HISTORY_QOS;
  /// Samples kept per instance with KEEP_LAST; 1 or more.
  DDS_Long depth = 1;
  /// Selects the history to which the filter of a late joiner is applied. The value is stored but has no effect,
  /// because the engine filters at the reader.
  DDS_RefilterQosPolicyKind refilter = DDS_NONE_REFILTER_QOS;
};

struct DDS_LivelinessQosPolicy {
  DDS_LivelinessQosPolicyKind kind = DDS_AUTOMATIC_LIVELINESS_QOS;
  DDS_Duration_t lease_duration = DDS_DURATION_INFINITE;
};

struct DDS_DeadlineQosPolicy {
  DDS_Duration_t period = DDS_DURATION_INFINITE;
};

struct DDS_LatencyBudgetQosPolicy {
  DDS_Duration_t duration = DDS_DURATION_ZERO;
};

struct DDS_OwnershipQosPolicy {
  DDS_OwnershipQosPolicyKind kind = DDS_SHARED_OWNERSHIP_QOS;
};

struct DDS_DestinationOrderQosPolicy {
  DDS_DestinationOrderQosPolicyKind kind = DDS_BY_RECEPTION_TIMESTAMP_DESTINATIONORDER_QOS;
};

/// How long a sample is valid. A writer does not send an older sample. A reader removes a sample from its cache when
/// the sample has been there for this time.
struct DDS_LifespanQosPolicy {
  DDS_Duration_t duration = DDS_DURATION_INFINITE;
};

/// Limits of what a writer or reader keeps; DDS_LENGTH_UNLIMITED means no limit. The limits of a reader are stored but
/// not passed to the engine: a reader whose samples nobody reads must never block its whole participant.
struct DDS_ResourceLimitsQosPolicy {
  DDS_Long max_samples = DDS_LENGTH_UNLIMITED;
  DDS_Long max_instances = DDS_LENGTH_UNLIMITED;
  DDS_Long max_samples_per_instance = DDS_LENGTH_UNLIMITED;
};

struct DDS_WriterDataLifecycleQosPolicy {
  DDS_Boolean autodispose_unregistered_instances = DDS_BOOLEAN_TRUE;
};

struct DDS_EntityFactoryQosPolicy {
  /// True: an entity is enabled when it is created. False: the application calls enable().
  DDS_Boolean autoenable_created_entities = DDS_BOOLEAN_TRUE;
};

struct DDS_EntityNameQosPolicy {
  /// Owned, may be null.
  char* name = nullptr;
  char* role_name = nullptr;

  DDS_EntityNameQosPolicy() = default;
  TESSIVAR_API DDS_EntityNameQosPolicy(const DDS_EntityNameQosPolicy&);
  TESSIVAR_API DDS_EntityNameQosPolicy& operator=(const DDS_EntityNameQosPolicy&);
  TESSIVAR_API ~DDS_EntityNameQosPolicy();
};

/// A writer's samples are collected and sent together until one of the limits is reached.
struct DDS_BatchQosPolicy {
  DDS_Boolean enable = DDS_BOOLEAN_FALSE;
  /// Encoded octets of one batch; DDS_LENGTH_UNLIMITED is no limit.
  DDS_Long max_data_bytes = 1024;
  DDS_Long max_samples = DDS_LENGTH_UNLIMITED;
  /// How long a sample may wait until it is sent; infinite: until flush() or until another limit is reached.
  DDS_Duration_t max_flush_delay = DDS_DURATION_INFINITE;
  /// Smallest difference of two source timestamps within a batch. The value is stored but has no effect, because
  /// timestamps are always exact.
  DDS_Duration_t source_timestamp_resolution = DDS_DURATION_INFINITE;
};

struct DDS_Property_t {
  /// Owned.
  char* name = nullptr;
  char* value = nullptr;
  /// True: discovery sends the property to remote participants.
  DDS_Boolean propagate = DDS_BOOLEAN_FALSE;

  DDS_Property_t() = default;
  TESSIVAR_API DDS_Property_t(const DDS_Property_t&);
  TESSIVAR_API DDS_Property_t& operator=(const DDS_Property_t&);
  TESSIVAR_API ~DDS_Property_t();
};

struct DDS_PropertySeq : DDSPlainSequence<DDS_Property_t> {
  using DDSPlainSequence<DDS_Property_t>::DDSPlainSequence;
};

struct DDS_PropertyQosPolicy {
  DDS_PropertySeq value;
};

/// Operations on the properties of a QoS set. Two threads must not use the same policy at the same time.
class TESSIVAR_API DDSPropertyQosPolicyHelper {
 public:
  /// Returns the property of that name; null if there is none. The policy owns the property.
  static DDS_Property_t* lookup_property(DDS_PropertyQosPolicy& policy, const char* name);
  static const DDS_Property_t* lookup_property(const DDS_PropertyQosPolicy& policy, const char* name);
  /// Adds a property. Returns PRECONDITION_NOT_MET if the name exists, BAD_PARAMETER if an argument is null.
  static DDS_ReturnCode_t add_property(DDS_PropertyQosPolicy& policy, const char* name, const char* value,
                                       DDS_Boolean propagate);
  /// Adds a property, or replaces value and `propagate` of the property of that name.
  static DDS_ReturnCode_t assert_property(DDS_PropertyQosPolicy& policy, const char* name, const char* value,
                                          DDS_Boolean propagate);
  /// Returns PRECONDITION_NOT_MET if there is no property of that name.
  static DDS_ReturnCode_t remove_property(DDS_PropertyQosPolicy& policy, const char* name);
};

/// How participants find each other. A peer is "[N@]builtin.udpv4://ADDRESS", "builtin.shmem://", or only a host name
/// or address. "builtin.shmem://" has no effect, because local processes are always reached through 127.0.0.1.
struct DDS_DiscoveryQosPolicy {
  DDS_StringSeq initial_peers;
  /// If this is empty, discovery does not use multicast.
  DDS_StringSeq multicast_receive_addresses;

  TESSIVAR_API DDS_DiscoveryQosPolicy();  // 239.255.0.1 and the two local peers
};

/// Times and limits of discovery. The lease is the time after which a silent participant counts as gone. Its default is
/// shorter than the shortest liveliness lease that the library uses (3 s). So a peer that pauses is lost and discovered
/// again as a whole, with all its endpoints.
struct DDS_DiscoveryConfigQosPolicy {
  DDS_Duration_t participant_liveliness_lease_duration = {2, 800000000};
  DDS_Duration_t participant_liveliness_assert_period = {0, 700000000};
  /// The highest participant index that discovery looks for on every peer address. A domain can have this number of
  /// participants plus 1 on one host.
  DDS_Long max_participant_index = 31;
};

struct DDS_DomainParticipantResourceLimitsQosPolicy {
  /// In octets. A participant with longer user data cannot be created.
  DDS_Long participant_user_data_max_length = 256;
};

/// The index of the participant on its host and the prefix of its GUID. The engine chooses them; get_qos() of an
/// enabled participant returns them.
struct DDS_WireProtocolQosPolicy {
  DDS_Long participant_id = -1;
  DDS_UnsignedLong rtps_host_id = 0;
  DDS_UnsignedLong rtps_app_id = 0;
  DDS_UnsignedLong rtps_instance_id = 0;
};

/// The sources of QoS profiles in addition to the embedded profiles. A later source overrides an earlier one.
struct DDS_ProfileQosPolicy {
  /// File names, with or without "file://".
  DDS_StringSeq url_profile;
  /// XML texts that begin with "<dds>".
  DDS_StringSeq string_profile;
  DDS_Boolean ignore_user_profile = DDS_BOOLEAN_FALSE;
  DDS_Boolean ignore_environment_profile = DDS_BOOLEAN_FALSE;
};

struct DDS_DomainParticipantFactoryQos {
  DDS_EntityFactoryQosPolicy entity_factory;
  DDS_ProfileQosPolicy profile;
};

struct DDS_DomainParticipantQos {
  DDS_UserDataQosPolicy user_data;
  DDS_EntityFactoryQosPolicy entity_factory;
  DDS_WireProtocolQosPolicy wire_protocol;
  DDS_DomainParticipantResourceLimitsQosPolicy resource_limits;
  DDS_DiscoveryQosPolicy discovery;
  DDS_DiscoveryConfigQosPolicy discovery_config;
  DDS_PropertyQosPolicy property;
  DDS_EntityNameQosPolicy participant_name;
};

struct DDS_TopicQos {
  DDS_DurabilityQosPolicy durability;
  DDS_DeadlineQosPolicy deadline;
  DDS_LatencyBudgetQosPolicy latency_budget;
  DDS_LivelinessQosPolicy liveliness;
  DDS_ReliabilityQosPolicy reliability;
  DDS_DestinationOrderQosPolicy destination_order;
  DDS_HistoryQosPolicy history;
  DDS_ResourceLimitsQosPolicy resource_limits;
  DDS_OwnershipQosPolicy ownership;
  DDS_LifespanQosPolicy lifespan;
};

/// A writer is reliable by default (OMG DDS 1.4, 2.2.3.14).
struct DDS_DataWriterQos {
  DDS_DurabilityQosPolicy durability;
  DDS_DurabilityServiceQosPolicy durability_service;
  DDS_DeadlineQosPolicy deadline;
  DDS_LatencyBudgetQosPolicy latency_budget;
  DDS_LivelinessQosPolicy liveliness;
  DDS_ReliabilityQosPolicy reliability = {DDS_RELIABLE_RELIABILITY_QOS, {0, 100000000}};
  DDS_DestinationOrderQosPolicy destination_order;
  DDS_HistoryQosPolicy history;
  DDS_ResourceLimitsQosPolicy resource_limits;
  DDS_OwnershipQosPolicy ownership;
  DDS_LifespanQosPolicy lifespan;
  DDS_UserDataQosPolicy user_data;
  DDS_WriterDataLifecycleQosPolicy writer_data_lifecycle;
  DDS_PropertyQosPolicy property;
  DDS_BatchQosPolicy batch;
};

struct DDS_DataReaderQos {
  DDS_DurabilityQosPolicy durability;
  DDS_DeadlineQosPolicy deadline;
  DDS_LatencyBudgetQosPolicy latency_budget;
  DDS_LivelinessQosPolicy liveliness;
  DDS_ReliabilityQosPolicy reliability;
  DDS_DestinationOrderQosPolicy destination_order;
  DDS_HistoryQosPolicy history;
  DDS_ResourceLimitsQosPolicy resource_limits;
  DDS_OwnershipQosPolicy ownership;
  DDS_UserDataQosPolicy user_data;
  /// "dds.data_reader.state.filter_redundant_samples" = "0": a transient-local reader fetches history when the
  /// parameters of its filter change (see DDSContentFilteredTopic::set_expression_parameters).
  DDS_PropertyQosPolicy property;
};

/// Replaces the policies that a topic also has by the policies of `topic` ("use topic QoS").
TESSIVAR_API void DDS_DataWriterQos_copy_from_topic_qos(DDS_DataWriterQos& writer, const DDS_TopicQos& topic);
TESSIVAR_API void DDS_DataReaderQos_copy_from_topic_qos(DDS_DataReaderQos& reader, const DDS_TopicQos& topic);

/// As arguments these stand for the default QoS of the entity that creates the new entity.
extern TESSIVAR_API const DDS_DomainParticipantQos DDS_PARTICIPANT_QOS_DEFAULT;
extern TESSIVAR_API const DDS_TopicQos DDS_TOPIC_QOS_DEFAULT;
extern TESSIVAR_API const DDS_DataWriterQos DDS_DATAWRITER_QOS_DEFAULT;
extern TESSIVAR_API const DDS_DataReaderQos DDS_DATAREADER_QOS_DEFAULT;
/// The default QoS, in which the policies that a topic also has are replaced by the topic's policies.
extern TESSIVAR_API const DDS_DataWriterQos DDS_DATAWRITER_QOS_USE_TOPIC_QOS;
extern TESSIVAR_API const DDS_DataReaderQos DDS_DATAREADER_QOS_USE_TOPIC_QOS;
