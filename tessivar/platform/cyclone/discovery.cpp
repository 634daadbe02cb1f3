// SPDX-License-Identifier: Apache-2.0

#include "tessivar/platform/cyclone/discovery.h"

#include "tessivar/platform/cyclone/no_throw.h"
#include "tessivar/platform/cyclone/qos.h"
#include "tessivar/platform/cyclone/translate.h"

#include <algorithm>
#include <cstring>
#include <memory>

namespace tessivar::platform::cyclone {
namespace {

using std::chrono::steady_clock;

// An ignored participant is dropped at each announcement, so its end is not noticed. After this time without an
// announcement the participant is considered gone.
constexpr std::chrono::hours ignored_kept(1);
constexpr std::size_t ignored_kept_always = 64;

// Discovery data that the engine has queued for a participant may still be sent after the participant is dropped. If
// the participant received this data after the farewell, it would match our readers again, and its reliable writers
// would wait for them for ever. The second farewell is for networks that lose the first one.
constexpr std::chrono::milliseconds farewell_delays[] = {std::chrono::milliseconds(100), std::chrono::seconds(1)};

char* duplicate(const char* text) {
  return text ? DDS_String_dup(text) : nullptr;
}

void copy_properties(const cyclone_participant& from, DDS_ParticipantBuiltinTopicData& to) {
  for (std::uint32_t i = 0; i < from.property_count; ++i) {
    const cyclone_property& property = from.properties[i];
    if (!property.name || !property.value) continue;
    if (std::strcmp(property.name, role_name_property) == 0)
      to.participant_name.role_name = duplicate(property.value);
    else
      DDSPropertyQosPolicyHelper::assert_property(to.property, property.name, property.value, DDS_BOOLEAN_TRUE);
  }
}

DDS_ParticipantBuiltinTopicData to_builtin_data(const cyclone_participant& from) {
  DDS_ParticipantBuiltinTopicData to;
  std::copy(from.guid, from.guid + sizeof to.key, to.key);
  if (from.user_data_size > 0)
    to.user_data.value.from_array(from.user_data, static_cast<DDS_Long>(from.user_data_size));
  to.participant_name.name = duplicate(from.name);
  copy_properties(from, to);
  const auto count = static_cast<DDS_Long>(from.locator_count);
  if (to.default_unicast_locators.ensure_length(count, count)) {
    for (DDS_Long i = 0; i < count; ++i) {
      const cyclone_locator& locator = from.locators[i];
      DDS_Locator_t& out = to.default_unicast_locators[i];
      out.kind = locator.kind;
      out.port = locator.port;
      std::copy(std::begin(locator.address), std::end(locator.address), out.address);
    }
  }
  return to;
}

}  // namespace

Discovery::Discovery(ddsi_domaingv* gv, cyclone_redundancy* redundancy, EngineParticipantEvents* events)
    : gv_(gv), redundancy_(redundancy), events_(events) {
  if (!gv_) return;
  // If memory is too short to report a participant, it is ignored until it announces itself again.
  const auto on_alive_or_ignore = [](void* self, const cyclone_participant* participant, bool locked) {
    return guarded("engine", true, [&] { return on_alive(self, participant, locked); });
  };
  watcher_ = {this, on_alive_or_ignore, NoThrow<on_gone>::call};
  watch_ = cyclone_start_watch(gv_, &watcher_);
}

Discovery::~Discovery() {
  cyclone_free_watch(watch_);
}

bool Discovery::is_ignored(const Guid& guid) {
  const MutexLock guard(lock_);
  const auto found = remotes_.find(guid);
  return found != remotes_.end() && found->second.ignored;
}

bool Discovery::is_present(const Guid& guid) {
  const MutexLock guard(lock_);
  const auto found = remotes_.find(guid);
  return found != remotes_.end() && found->second.present;
}

void Discovery::forget_old_ignored() {
  if (remotes_.size() < ignored_kept_always) return;
  const steady_clock::time_point oldest = steady_clock::now() - ignored_kept;
  std::erase_if(remotes_, [&](const auto& one) { return one.second.ignored && one.second.last_seen < oldest; });
}

bool Discovery::on_alive(void* self, const cyclone_participant* participant, bool locked) {
  auto& discovery = *static_cast<Discovery*>(self);
  cyclone_add_host(discovery.redundancy_, participant->locators, participant->locator_count);
  const Guid guid = to_guid(participant->guid);
  {
    const MutexLock guard(discovery.lock_);
    if (discovery.stopped_) return false;
    discovery.forget_old_ignored();
    Remote& remote = discovery.remotes_[guid];
    remote.last_seen = steady_clock::now();
    remote.present = true;
    if (remote.ignored) return true;
    if (discovery.events_) discovery.queue_.push_back({to_builtin_data(*participant), guid, true, !locked});
  }
  if (locked) {
    discovery.worker_.post([&discovery] { discovery.deliver(); });
    return discovery.is_ignored(guid);
  }
  discovery.deliver();
  if (!discovery.is_ignored(guid)) return false;
  // During the callback the engine may have announced our endpoints to the participant.
  const MutexLock guard(discovery.lock_);
  if (discovery.own_guid_ != Guid{})
    discovery.send_later(cyclone_new_farewell(participant, discovery.own_guid_.data()));
  return true;
}

void Discovery::on_gone(void* self, const std::uint8_t octets[16]) {
  auto& discovery = *static_cast<Discovery*>(self);
  const Guid guid = to_guid(octets);
  const MutexLock guard(discovery.lock_);
  const auto found = discovery.remotes_.find(guid);
  if (discovery.stopped_ || found == discovery.remotes_.end()) return;
  found->second.present = false;
  if (found->second.ignored) return;
  discovery.remotes_.erase(found);
  if (!discovery.events_) return;
  Event event = {{}, guid, false, false};
  std::copy(guid.begin(), guid.end(), event.data.key);
  discovery.queue_.push_back(std::move(event));
  discovery.worker_.post([&discovery] { discovery.deliver(); });
}

void Discovery::deliver() {
  const std::lock_guard delivering(delivery_);
  for (;;) {
    UniqueMutexLock guard(lock_);
    if (queue_.empty() || stopped_) return;
    const Event event = std::move(queue_.front());
    queue_.pop_front();
    const auto found = remotes_.find(event.guid);
    if (event.alive && found != remotes_.end() && found->second.ignored) continue;
    if (event.awaited) being_reported_ = event.guid;
    guard.unlock();
    events_->participant_seen(event.data, to_handle(event.data.key), event.alive);
    guard.lock();
    being_reported_.reset();
  }
}

void Discovery::report_known(dds_entity_t participant) {
  if (!active()) return;
  const DDS_InstanceHandle_t own = guid_of(participant);
  {
    const MutexLock guard(lock_);
    own_guid_ = to_guid(own.keyHash.value);
  }
  worker_.post([this, participant] { report_missed(participant); });
}

void Discovery::report_missed(dds_entity_t participant) {
  const auto report = [this](const dds_builtintopic_participant_t& known) {
    const Guid guid = to_guid(known.key.v);
    bool missed;
    {
      const MutexLock guard(lock_);
      missed = !remotes_.contains(guid);
    }
    // Our own participant is among the samples; no remote participant is found for its GUID.
    if (missed) cyclone_report_participant(gv_, guid.data(), &watcher_);
  };
  for_each_builtin_sample<dds_builtintopic_participant_t>(participant, DDS_BUILTIN_TOPIC_DCPSPARTICIPANT, report);
}

void Discovery::announce() {
  if (!gv_) return;
  worker_.post([this] {
    Guid own;
    {
      const MutexLock guard(lock_);
      own = own_guid_;
    }
    cyclone_announce(gv_, own.data());
  });
}

void Discovery::stop() {
  {
    const MutexLock guard(lock_);
    stopped_ = true;
  }
  worker_.stop();
  const std::lock_guard delivering(delivery_);  // waits for a delivery on the discovery thread
}

void Discovery::ignore(const Guid& remote) {
  const MutexLock guard(lock_);
  Remote& known = remotes_[remote];
  known.ignored = true;
  known.last_seen = steady_clock::now();
  if (being_reported_ == remote) return;
  worker_.post([this, remote, own = own_guid_] { drop_with_farewell(remote, own); });
}

void Discovery::drop_with_farewell(const Guid& remote, const Guid& own) {
  if (!is_present(remote)) return;
  send_later(cyclone_drop_with_farewell(gv_, own.data(), remote.data()));
}

void Discovery::send_later(cyclone_farewell* owned) {
  const std::shared_ptr<cyclone_farewell> farewell(owned, cyclone_free_farewell);
  if (!farewell) return;
  for (const auto delay : farewell_delays)
    worker_.post([this, farewell] { cyclone_send_farewell(gv_, farewell.get()); }, delay);
}

void Discovery::rediscover(const Guid& remote) {
  worker_.post([this, remote] {
    if (is_present(remote)) cyclone_drop_participant(gv_, remote.data());
  });
}

}  // namespace tessivar::platform::cyclone
