// SPDX-License-Identifier: Apache-2.0

// The information that a reader returns with each sample (OMG DDS 1.4, 2.2.2.5.5).
#pragma once

#include "tessivar/platform/base.h"
#include "tessivar/platform/sequence.h"

typedef DDS_UnsignedLong DDS_SampleStateMask;
typedef DDS_UnsignedLong DDS_ViewStateMask;
typedef DDS_UnsignedLong DDS_InstanceStateMask;

enum DDS_SampleStateKind : DDS_UnsignedLong { DDS_READ_SAMPLE_STATE = 1, DDS_NOT_READ_SAMPLE_STATE = 2 };
enum DDS_ViewStateKind : DDS_UnsignedLong { DDS_NEW_VIEW_STATE = 1, DDS_NOT_NEW_VIEW_STATE = 2 };
enum DDS_InstanceStateKind : DDS_UnsignedLong {
  DDS_ALIVE_INSTANCE_STATE = 1,
  DDS_NOT_ALIVE_DISPOSED_INSTANCE_STATE = 2,
  DDS_NOT_ALIVE_NO_WRITERS_INSTANCE_STATE = 4
};

constexpr DDS_SampleStateMask DDS_ANY_SAMPLE_STATE = 0xffff;
constexpr DDS_ViewStateMask DDS_ANY_VIEW_STATE = 0xffff;
constexpr DDS_InstanceStateMask DDS_ANY_INSTANCE_STATE = 0xffff;
constexpr DDS_InstanceStateMask DDS_NOT_ALIVE_INSTANCE_STATE = 6;

struct DDS_SampleInfo {
  DDS_SampleStateKind sample_state;
  DDS_ViewStateKind view_state;
  DDS_InstanceStateKind instance_state;
  DDS_Time_t source_timestamp;
  DDS_Time_t reception_timestamp;
  DDS_InstanceHandle_t instance_handle;
  /// The GUID of the writer; nil if the writer is gone.
  DDS_InstanceHandle_t publication_handle;
  DDS_Long disposed_generation_count;
  DDS_Long no_writers_generation_count;
  DDS_Long sample_rank;
  DDS_Long generation_rank;
  DDS_Long absolute_generation_rank;
  /// False: the sample has no data. It only reports that its instance was disposed of or has no writers. Only its key
  /// members are valid.
  DDS_Boolean valid_data;
};

struct DDS_SampleInfoSeq : DDSPlainSequence<DDS_SampleInfo> {
  using DDSPlainSequence<DDS_SampleInfo>::DDSPlainSequence;
};

/// What a content filter gets in addition to the content of a sample.
struct DDS_FilterSampleInfo {
  DDS_Time_t source_timestamp;
};
