// SPDX-License-Identifier: Apache-2.0

// Includes the engine's C interface. No other C++ file includes <dds/dds.h>.
//
// The engine defines macros with names that the platform uses for its own constants and enumerators. This header gives
// the engine's values other names in `api` and removes the macros. After this header, a DDS_… name is the platform's
// name.
#pragma once

#include "tessivar/platform/engine/engine.h"

#define dds_notify_readers dds_notify_readers_of_the_engine  // not used; export.h prevents the include of both
#include <dds/dds.h>
#undef dds_notify_readers
#include <dds/ddsc/dds_internal_api.h>
#include <dds/ddsi/ddsi_keyhash.h>
#include <dds/ddsi/ddsi_serdata.h>
#include <dds/ddsi/ddsi_sertype.h>
#include <dds/ddsi/q_protocol.h>
#include <dds/ddsi/q_radmin.h>

namespace tessivar::platform::cyclone::api {

constexpr dds_return_t ok = DDS_RETCODE_OK;
constexpr dds_return_t error = DDS_RETCODE_ERROR;
constexpr dds_return_t unsupported = DDS_RETCODE_UNSUPPORTED;
constexpr dds_return_t bad_parameter = DDS_RETCODE_BAD_PARAMETER;
constexpr dds_return_t precondition_not_met = DDS_RETCODE_PRECONDITION_NOT_MET;
constexpr dds_return_t out_of_resources = DDS_RETCODE_OUT_OF_RESOURCES;
constexpr dds_return_t not_enabled = DDS_RETCODE_NOT_ENABLED;
constexpr dds_return_t immutable_policy = DDS_RETCODE_IMMUTABLE_POLICY;
constexpr dds_return_t inconsistent_policy = DDS_RETCODE_INCONSISTENT_POLICY;
constexpr dds_return_t already_deleted = DDS_RETCODE_ALREADY_DELETED;
constexpr dds_return_t timeout = DDS_RETCODE_TIMEOUT;
constexpr dds_return_t no_data = DDS_RETCODE_NO_DATA;
constexpr dds_return_t illegal_operation = DDS_RETCODE_ILLEGAL_OPERATION;

constexpr std::int32_t unlimited = DDS_LENGTH_UNLIMITED;
constexpr dds_duration_t infinity = DDS_INFINITY;
constexpr dds_entity_t library = DDS_CYCLONEDDS_HANDLE;

}  // namespace tessivar::platform::cyclone::api

#undef DDS_RETCODE_OK
#undef DDS_RETCODE_ERROR
#undef DDS_RETCODE_UNSUPPORTED
#undef DDS_RETCODE_BAD_PARAMETER
#undef DDS_RETCODE_PRECONDITION_NOT_MET
#undef DDS_RETCODE_OUT_OF_RESOURCES
#undef DDS_RETCODE_NOT_ENABLED
#undef DDS_RETCODE_IMMUTABLE_POLICY
#undef DDS_RETCODE_INCONSISTENT_POLICY
#undef DDS_RETCODE_ALREADY_DELETED
#undef DDS_RETCODE_TIMEOUT
#undef DDS_RETCODE_NO_DATA
#undef DDS_RETCODE_ILLEGAL_OPERATION
#undef DDS_READ_SAMPLE_STATE
#undef DDS_NOT_READ_SAMPLE_STATE
#undef DDS_ANY_SAMPLE_STATE
#undef DDS_NEW_VIEW_STATE
#undef DDS_NOT_NEW_VIEW_STATE
#undef DDS_ANY_VIEW_STATE
#undef DDS_ALIVE_INSTANCE_STATE
#undef DDS_NOT_ALIVE_DISPOSED_INSTANCE_STATE
#undef DDS_NOT_ALIVE_NO_WRITERS_INSTANCE_STATE
#undef DDS_ANY_INSTANCE_STATE
#undef DDS_INCONSISTENT_TOPIC_STATUS
#undef DDS_OFFERED_DEADLINE_MISSED_STATUS
#undef DDS_REQUESTED_DEADLINE_MISSED_STATUS
#undef DDS_OFFERED_INCOMPATIBLE_QOS_STATUS
#undef DDS_REQUESTED_INCOMPATIBLE_QOS_STATUS
#undef DDS_SAMPLE_LOST_STATUS
#undef DDS_SAMPLE_REJECTED_STATUS
#undef DDS_DATA_ON_READERS_STATUS
#undef DDS_DATA_AVAILABLE_STATUS
#undef DDS_LIVELINESS_LOST_STATUS
#undef DDS_LIVELINESS_CHANGED_STATUS
#undef DDS_PUBLICATION_MATCHED_STATUS
#undef DDS_SUBSCRIPTION_MATCHED_STATUS
#undef DDS_HANDLE_NIL
#undef DDS_LENGTH_UNLIMITED
#undef DDS_TIME_INVALID
