// SPDX-License-Identifier: Apache-2.0

// The peers and network interfaces of a participant, and the participants that it ignores.
#include "tessivar/platform/detail/log.h"
#include "tessivar/platform/detail/mutex.h"
#include "tessivar/platform/participant.h"
#include "tessivar/platform/participant/participant_config.h"
#include "tessivar/platform/participant/participant_impl.h"
#include "tessivar/platform/participant/quoted.h"
#include "tessivar/platform/system/guarded.h"

#include <cstring>

using tessivar::platform::EngineParticipant;
using tessivar::platform::guarded;
using tessivar::platform::quoted;
using tessivar::platform::refuse;
using tessivar::platform::UniqueMutexLock;

namespace {

/// Before the participant is enabled, `change_initial` changes its initial peers. After that, `change` changes the
/// peers of the engine.
template <class ChangeInitial>
DDS_ReturnCode_t change_peer(DDSDomainParticipant::Impl& participant, const char* operation, const char* peer,
                             const ChangeInitial& change_initial,
                             DDS_ReturnCode_t (EngineParticipant::*change)(const std::string&)) {
  if (!peer) return refuse(operation, "null peer", DDS_RETCODE_BAD_PARAMETER);
  return guarded(operation, DDS_RETCODE_OUT_OF_RESOURCES, [&]() -> DDS_ReturnCode_t {
    std::string error;
    const auto parsed = tessivar::platform::parse_peer(peer, error);
    if (!parsed) return refuse(operation, error, DDS_RETCODE_BAD_PARAMETER);
    {
      UniqueMutexLock lock(participant.mutex);
      participant.changed.wait(lock, [&]() TESSIVAR_REQUIRES(participant.mutex) { return !participant.starting; });
      if (!participant.engine) return change_initial(participant.qos.discovery.initial_peers);
    }
    if (parsed->address.empty()) return DDS_RETCODE_OK;
    const DDS_ReturnCode_t result = (participant.engine.load()->*change)(parsed->address);
    if (result == DDS_RETCODE_OK) return result;
    return refuse(operation, "peer " + quoted(peer) + " cannot be used, return code " + std::to_string(result), result);
  });
}

}  // namespace

DDS_ReturnCode_t DDSDomainParticipant::add_peer(const char* peer) {
  const auto append = [&](DDS_StringSeq& peers) {
    const DDS_Long count = peers.length();
    if (!peers.ensure_length(count + 1, count + 1)) return DDS_RETCODE_OUT_OF_RESOURCES;
    if (DDS_String_replace(&peers[count], peer)) return DDS_RETCODE_OK;
    peers.length(count);
    return DDS_RETCODE_OUT_OF_RESOURCES;
  };
  return change_peer(*impl_, "DDSDomainParticipant::add_peer", peer, append, &EngineParticipant::add_peer);
}

DDS_ReturnCode_t DDSDomainParticipant::remove_peer(const char* peer) {
  const auto erase = [&](DDS_StringSeq& peers) {
    DDS_Long kept = 0;
    for (DDS_Long i = 0; i < peers.length(); ++i) {
      if (peers[i] && std::strcmp(peers[i], peer) == 0) continue;
      std::swap(peers[kept++], peers[i]);
    }
    if (kept == peers.length()) {
      return refuse("DDSDomainParticipant::remove_peer", "peer " + quoted(peer) + " is not among the initial peers",
                    DDS_RETCODE_BAD_PARAMETER);
    }
    return peers.length(kept) ? DDS_RETCODE_OK : DDS_RETCODE_ERROR;
  };
  return change_peer(*impl_, "DDSDomainParticipant::remove_peer", peer, erase, &EngineParticipant::remove_peer);
}

DDS_ReturnCode_t DDSDomainParticipant::get_network_interfaces(DDS_StringSeq& interfaces) const {
  return guarded("DDSDomainParticipant::get_network_interfaces", DDS_RETCODE_OUT_OF_RESOURCES,
                 [&]() -> DDS_ReturnCode_t {
                   const EngineParticipant* engine = impl_->engine;
                   if (!engine) return DDS_RETCODE_NOT_ENABLED;
                   const std::vector<std::string> names = engine->interfaces();
                   const auto count = static_cast<DDS_Long>(names.size());
                   if (!interfaces.ensure_length(count, count)) return DDS_RETCODE_OUT_OF_RESOURCES;
                   for (DDS_Long i = 0; i < count; ++i) {
                     if (!DDS_String_replace(&interfaces[i], names[static_cast<std::size_t>(i)].c_str()))
                       return DDS_RETCODE_OUT_OF_RESOURCES;
                   }
                   return DDS_RETCODE_OK;
                 });
}

DDS_ReturnCode_t DDSDomainParticipant::ignore_participant(const DDS_InstanceHandle_t& handle) {
  if (!handle.isValid)
    return refuse("DDSDomainParticipant::ignore_participant", "nil handle", DDS_RETCODE_BAD_PARAMETER);
  EngineParticipant* engine = impl_->engine;
  if (!engine) return DDS_RETCODE_NOT_ENABLED;
  const DDS_InstanceHandle_t own = engine->guid();
  if (DDS_InstanceHandle_equals(&own, &handle)) {
    impl_->ignores_itself = true;
    return DDS_RETCODE_OK;
  }
  return engine->ignore(handle);
}
