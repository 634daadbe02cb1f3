// SPDX-License-Identifier: Apache-2.0

#include "tessivar/platform/participant/builtin_reader.h"

#include "tessivar/platform/participant.h"
#include "tessivar/platform/values/sequence_fill.h"

#include <algorithm>
#include <chrono>

using tessivar::platform::BuiltinReader;
using tessivar::platform::BuiltinSelection;

namespace tessivar::platform {

namespace {

DDS_Time_t now() {
  return to_time(std::chrono::system_clock::now().time_since_epoch() / std::chrono::nanoseconds(1));
}

}  // namespace

void DiscoveredParticipants::update(const DDS_ParticipantBuiltinTopicData& data, const DDS_InstanceHandle_t& handle,
                                    bool alive) {
  const MutexLock lock(mutex_);
  auto participant = std::find_if(participants_.begin(), participants_.end(), [&](const Participant& known) {
    return DDS_InstanceHandle_equals(&known.handle, &handle) != DDS_BOOLEAN_FALSE;
  });
  if (participant == participants_.end()) {
    if (!alive) return;
    participant = participants_.insert(participants_.end(), Participant{});
    participant->handle = handle;
  }
  if (alive && !participant->alive) participant->viewed = false;
  participant->alive = alive;
  (alive ? participant->announcement : participant->loss) = {true, false, now()};
  if (alive) {
    participant->data = data;
    return;
  }
  const auto lost = [](const Participant& one) { return !one.alive; };
  if (static_cast<std::size_t>(std::count_if(participants_.begin(), participants_.end(), lost)) > max_lost) {
    participants_.erase(std::find_if(participants_.begin(), participants_.end(), lost));
  }
}

bool DiscoveredParticipants::selects(const BuiltinSelection& selection, const Participant& participant,
                                     const Sample& sample) const {
  const DDS_UnsignedLong sample_state = sample.read ? DDS_READ_SAMPLE_STATE : DDS_NOT_READ_SAMPLE_STATE;
  const DDS_UnsignedLong view_state = participant.viewed ? DDS_NOT_NEW_VIEW_STATE : DDS_NEW_VIEW_STATE;
  const DDS_UnsignedLong instance_state =
      participant.alive ? DDS_ALIVE_INSTANCE_STATE : DDS_NOT_ALIVE_DISPOSED_INSTANCE_STATE;
  return sample.there && (selection.sample_states & sample_state) && (selection.view_states & view_state) &&
         (selection.instance_states & instance_state);
}

DDS_ReturnCode_t DiscoveredParticipants::access(const BuiltinSelection& selection,
                                                DDS_ParticipantBuiltinTopicDataSeq& samples, DDS_SampleInfoSeq& infos) {
  if (selection.max_samples < DDS_LENGTH_UNLIMITED || selection.max_samples == 0) return DDS_RETCODE_BAD_PARAMETER;
  if (!samples.has_ownership() || !infos.has_ownership()) return DDS_RETCODE_PRECONDITION_NOT_MET;
  const auto max = static_cast<std::size_t>(selection.max_samples);  // DDS_LENGTH_UNLIMITED becomes the largest number
  const MutexLock lock(mutex_);

  std::size_t count = 0;
  for (const Participant& participant : participants_) {
    count += selects(selection, participant, participant.announcement);
    count += selects(selection, participant, participant.loss);
  }
  count = std::min(count, max);
  if (!make_length(samples, count) || !make_length(infos, count)) return DDS_RETCODE_OUT_OF_RESOURCES;
  if (count == 0) return DDS_RETCODE_NO_DATA;

  DDS_Long index = 0;
  for (auto participant = participants_.begin(); participant != participants_.end();) {
    const bool selected[] = {selects(selection, *participant, participant->announcement),
                             selects(selection, *participant, participant->loss)};
    bool yielded = false;
    for (Sample* sample : {&participant->announcement, &participant->loss}) {
      const bool valid = sample == &participant->announcement;
      if (!selected[valid ? 0 : 1] || index == static_cast<DDS_Long>(count)) continue;
      samples[index] = participant->data;
      DDS_SampleInfo& info = infos[index];
      info = {};
      info.sample_state = sample->read ? DDS_READ_SAMPLE_STATE : DDS_NOT_READ_SAMPLE_STATE;
      info.view_state = participant->viewed ? DDS_NOT_NEW_VIEW_STATE : DDS_NEW_VIEW_STATE;
      info.instance_state = participant->alive ? DDS_ALIVE_INSTANCE_STATE : DDS_NOT_ALIVE_DISPOSED_INSTANCE_STATE;
      info.source_timestamp = info.reception_timestamp = sample->time;
      info.instance_handle = participant->handle;
      info.publication_handle = participant->handle;
      info.valid_data = valid;
      sample->read = true;
      if (selection.take) sample->there = false;
      ++index;
      yielded = true;
    }
    if (yielded) participant->viewed = true;
    const bool finished = !participant->alive && !participant->announcement.there && !participant->loss.there;
    participant = finished ? participants_.erase(participant) : std::next(participant);
  }
  return DDS_RETCODE_OK;
}

}  // namespace tessivar::platform

DDSParticipantBuiltinTopicDataDataReader::DDSParticipantBuiltinTopicDataDataReader(DDSDataReader::ImplPtr impl)
    : DDSDataReader(std::move(impl)) {}

DDSParticipantBuiltinTopicDataDataReader* DDSParticipantBuiltinTopicDataDataReader::narrow(DDSDataReader* reader) {
  return dynamic_cast<DDSParticipantBuiltinTopicDataDataReader*>(reader);
}

DDS_ReturnCode_t DDSParticipantBuiltinTopicDataDataReader::take(DDS_ParticipantBuiltinTopicDataSeq& samples,
                                                                DDS_SampleInfoSeq& infos, DDS_Long max_samples,
                                                                DDS_SampleStateMask sample_states,
                                                                DDS_ViewStateMask view_states,
                                                                DDS_InstanceStateMask instance_states) {
  const BuiltinSelection selection = {true, max_samples, sample_states, view_states, instance_states};
  return static_cast<BuiltinReader&>(impl()).participants.access(selection, samples, infos);
}

DDS_ReturnCode_t DDSParticipantBuiltinTopicDataDataReader::read(DDS_ParticipantBuiltinTopicDataSeq& samples,
                                                                DDS_SampleInfoSeq& infos, DDS_Long max_samples,
                                                                DDS_SampleStateMask sample_states,
                                                                DDS_ViewStateMask view_states,
                                                                DDS_InstanceStateMask instance_states) {
  const BuiltinSelection selection = {false, max_samples, sample_states, view_states, instance_states};
  return static_cast<BuiltinReader&>(impl()).participants.access(selection, samples, infos);
}

DDS_ReturnCode_t DDSParticipantBuiltinTopicDataDataReader::return_loan(DDS_ParticipantBuiltinTopicDataSeq&,
                                                                       DDS_SampleInfoSeq&) {
  return DDS_RETCODE_OK;
}
