// SPDX-License-Identifier: Apache-2.0

#include "tessivar/platform/cyclone/matches.h"

#include "tessivar/platform/cyclone/translate.h"

#include <algorithm>
#include <new>

namespace tessivar::platform::cyclone {

Match Matches::find(dds_entity_t entity, EngineHandle counterpart) {
  {
    const MutexLock guard(lock_);
    if (const auto found = known_.find(counterpart); found != known_.end()) return found->second;
  }
  dds_builtintopic_endpoint_t* endpoint = side_ == Side::writers
                                              ? dds_get_matched_publication_data(entity, counterpart)
                                              : dds_get_matched_subscription_data(entity, counterpart);
  if (!endpoint) return {};
  Match match;
  match.guid = to_handle(endpoint->key);
  std::copy(std::begin(endpoint->participant_key.v), std::end(endpoint->participant_key.v), match.participant.begin());
  dds_liveliness_kind_t kind;
  match.automatic_liveliness =
      endpoint->qos && dds_qget_liveliness(endpoint->qos, &kind, nullptr) && kind == DDS_LIVELINESS_AUTOMATIC;
  dds_duration_t lifespan;
  if (endpoint->qos && dds_qget_lifespan(endpoint->qos, &lifespan)) match.lifespan = lifespan;
  dds_builtintopic_free_endpoint(endpoint);
  try {
    const MutexLock guard(lock_);
    known_.emplace(counterpart, match);
  } catch (const std::bad_alloc&) {
    // The next call asks the engine again.
  }
  return match;
}

void Matches::forget(EngineHandle counterpart) {
  const MutexLock guard(lock_);
  known_.erase(counterpart);
}

std::vector<DDS_InstanceHandle_t> Matches::all(dds_entity_t entity) {
  std::vector<dds_instance_handle_t> handles;
  for (;;) {
    const dds_return_t count = side_ == Side::writers
                                   ? dds_get_matched_publications(entity, handles.data(), handles.size())
                                   : dds_get_matched_subscriptions(entity, handles.data(), handles.size());
    if (count < 0) return {};
    const bool complete = static_cast<std::size_t>(count) <= handles.size();
    handles.resize(static_cast<std::size_t>(count));
    if (complete) break;
  }
  std::vector<DDS_InstanceHandle_t> guids;
  for (const dds_instance_handle_t handle : handles)
    if (const Match match = find(entity, handle); match.guid.isValid) guids.push_back(match.guid);
  return guids;
}

}  // namespace tessivar::platform::cyclone
