// SPDX-License-Identifier: Apache-2.0

// The samples of the built-in participant reader: what discovery has reported about remote participants.
#pragma once

#include "tessivar/platform/builtin.h"
#include "tessivar/platform/detail/mutex.h"
#include "tessivar/platform/reader/reader_impl.h"

#include <list>

namespace tessivar::platform {

/// The selection of a read or take of a built-in reader.
struct BuiltinSelection {
  bool take;
  DDS_Long max_samples;
  DDS_SampleStateMask sample_states;
  DDS_ViewStateMask view_states;
  DDS_InstanceStateMask instance_states;
};

/// Keeps two samples of each remote participant: its latest announcement, and its loss. Thread-safe.
class DiscoveredParticipants {
 public:
  void update(const DDS_ParticipantBuiltinTopicData& data, const DDS_InstanceHandle_t& handle, bool alive);
  DDS_ReturnCode_t access(const BuiltinSelection& selection, DDS_ParticipantBuiltinTopicDataSeq& samples,
                          DDS_SampleInfoSeq& infos);

 private:
  /// The largest number of lost participants that are kept, because the application may not read them at all.
  static constexpr std::size_t max_lost = 256;

  struct Sample {
    bool there = false;
    bool read = false;
    DDS_Time_t time = {};
  };
  struct Participant {
    DDS_InstanceHandle_t handle;
    DDS_ParticipantBuiltinTopicData data;
    bool alive = true;
    bool viewed = false;
    Sample announcement;
    Sample loss;
  };

  bool selects(const BuiltinSelection& selection, const Participant& participant, const Sample& sample) const;

  Mutex mutex_;
  std::list<Participant> participants_ TESSIVAR_GUARDED_BY(mutex_);
};

/// The implementation behind a DDSParticipantBuiltinTopicDataDataReader.
struct BuiltinReader final : DDSDataReader::Impl {
  BuiltinReader(DDSDomainParticipant& owner, DDSSubscriber* builtin_subscriber)
      : Impl({owner, nullptr, nullptr, builtin_subscriber, {}}) {}
  DDS_ReturnCode_t enable() override { return DDS_RETCODE_OK; }

  DiscoveredParticipants participants;
};

}  // namespace tessivar::platform
