// SPDX-License-Identifier: Apache-2.0

// Communication statuses and their masks (OMG DDS 1.4, 2.2.4.1).
#pragma once

#include "tessivar/platform/base.h"

typedef DDS_UnsignedLong DDS_StatusMask;

enum DDS_StatusKind : DDS_UnsignedLong {
  DDS_INCONSISTENT_TOPIC_STATUS = 0x0001,
  DDS_OFFERED_DEADLINE_MISSED_STATUS = 0x0002,
  DDS_REQUESTED_DEADLINE_MISSED_STATUS = 0x0004,
  DDS_OFFERED_INCOMPATIBLE_QOS_STATUS = 0x0020,
  DDS_REQUESTED_INCOMPATIBLE_QOS_STATUS = 0x0040,
  DDS_SAMPLE_LOST_STATUS = 0x0080,
  DDS_SAMPLE_REJECTED_STATUS = 0x0100,
  DDS_DATA_ON_READERS_STATUS = 0x0200,
  DDS_DATA_AVAILABLE_STATUS = 0x0400,
  DDS_LIVELINESS_LOST_STATUS = 0x0800,
  DDS_LIVELINESS_CHANGED_STATUS = 0x1000,
  DDS_PUBLICATION_MATCHED_STATUS = 0x2000,
  DDS_SUBSCRIPTION_MATCHED_STATUS = 0x4000
};

constexpr DDS_StatusMask DDS_STATUS_MASK_NONE = 0;
constexpr DDS_StatusMask DDS_STATUS_MASK_ALL = 0xffffffff;

struct DDS_InconsistentTopicStatus {
  DDS_Long total_count;
  DDS_Long total_count_change;
};

struct DDS_LivelinessLostStatus {
  DDS_Long total_count;
  DDS_Long total_count_change;
};

struct DDS_LivelinessChangedStatus {
  DDS_Long alive_count;
  DDS_Long not_alive_count;
  DDS_Long alive_count_change;
  DDS_Long not_alive_count_change;
  DDS_InstanceHandle_t last_publication_handle;
};

struct DDS_DeadlineMissedStatus {
  DDS_Long total_count;
  DDS_Long total_count_change;
  DDS_InstanceHandle_t last_instance_handle;
};
typedef DDS_DeadlineMissedStatus DDS_OfferedDeadlineMissedStatus;
typedef DDS_DeadlineMissedStatus DDS_RequestedDeadlineMissedStatus;

struct DDS_IncompatibleQosStatus {
  DDS_Long total_count;
  DDS_Long total_count_change;
  /// Policy id (OMG DDS 1.4, 2.2.3) of the policy that was incompatible last.
  DDS_Long last_policy_id;
};
typedef DDS_IncompatibleQosStatus DDS_OfferedIncompatibleQosStatus;
typedef DDS_IncompatibleQosStatus DDS_RequestedIncompatibleQosStatus;

struct DDS_SampleLostStatus {
  DDS_Long total_count;
  DDS_Long total_count_change;
};

struct DDS_SampleRejectedStatus {
  DDS_Long total_count;
  DDS_Long total_count_change;
  DDS_InstanceHandle_t last_instance_handle;
};

struct DDS_PublicationMatchedStatus {
  DDS_Long total_count;
  DDS_Long total_count_change;
  DDS_Long current_count;
  DDS_Long current_count_change;
  DDS_InstanceHandle_t last_subscription_handle;
};

struct DDS_SubscriptionMatchedStatus {
  DDS_Long total_count;
  DDS_Long total_count_change;
  DDS_Long current_count;
  DDS_Long current_count_change;
  DDS_InstanceHandle_t last_publication_handle;
};
