// Remote participants: who is there, who is told, who is ignored.
#pragma once

#include "tessivar/platform/cyclone/engine_api.h"
#include "tessivar/platform/cyclone/internals/internals.h"
#include "tessivar/platform/cyclone/internals/redundancy.h"
#include "tessivar/platform/cyclone/worker.h"
#include "tessivar/platform/detail/mutex.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <deque>
#include <functional>
#include <iterator>
#include <map>
#include <mutex>
#include <optional>
#include <utility>

namespace tessivar::platform::cyclone {

typedef std::array<std::uint8_t, 16> Guid;

inline Guid to_guid(const std::uint8_t octets[16]) {
  Guid guid;
  std::copy_n(octets, guid.size(), guid.begin());
  return guid;
}

/// Calls `visit` with each sample of a built-in topic, whose type is Sample. Without effect if the engine makes no
/// reader. Not from a callback of the engine.
template <class Sample, class Visit>
void for_each_builtin_sample(dds_entity_t participant, dds_entity_t topic, Visit&& visit) {
  struct Reader {
    ~Reader() {
      if (entity > 0) dds_delete(entity);
    }
    const dds_entity_t entity;
  } const reader{dds_create_reader(participant, topic, nullptr, nullptr)};
  if (reader.entity < 0) return;
  constexpr std::size_t chunk = 64;
  void* samples[chunk] = {};
  dds_sample_info_t infos[chunk];
  for (;;) {
    const dds_return_t count = dds_take(reader.entity, samples, infos, chunk, chunk);
    if (count <= 0) return;
    for (dds_return_t i = 0; i < count; ++i)
      if (infos[i].valid_data) visit(*static_cast<const Sample*>(samples[i]));
    dds_return_loan(reader.entity, samples, count);
    std::fill(std::begin(samples), std::end(samples), nullptr);
  }
}

/// Watches the discovery of one domain. Thread-safe.
///
/// A participant that is new is shown on the discovery thread, where it can be turned away before anything of it is
/// known. Whatever else there is to tell happens while the engine holds locks, so the worker tells it. Both deliver
/// from one queue, so that the order is kept.
class Discovery {
 public:
  /// `redundancy`, which may be null, is told the addresses of remote participants.
  Discovery(ddsi_domaingv* gv, cyclone_redundancy* redundancy, EngineParticipantEvents* events);
  /// After the domain's deletion. stop() was called before it.
  ~Discovery();
  Discovery(const Discovery&) = delete;
  Discovery& operator=(const Discovery&) = delete;

  /// False when the engine's internals are unavailable: nothing is shown or ignored then.
  bool active() const { return watch_ != nullptr; }
  /// Shows those that were discovered before the watch began, on the worker: the engine waits for the discovery thread
  /// meanwhile, which may be telling somebody who waits for our participant. `participant` is our own.
  void show_known(dds_entity_t participant);
  /// Announces our own participant, on the worker: the calling thread may be one of another domain's, within a
  /// callback, and the engine lets such a thread work for its own domain only.
  void announce();
  /// Before the domain's deletion. Nothing is told any more when it returns. Not from inside a callback.
  void stop();

  /// From now on nothing of it gets through. Inside a callback that shows it, nothing ever did.
  void ignore(const Guid& remote);
  /// Runs `task` on the worker, unless stop() comes first.
  void on_worker(std::function<void()> task) { worker_.post(std::move(task)); }
  /// Forgets the participant, on the worker, so that its next announcement brings it back with everything it has.
  void rediscover(const Guid& remote);

 private:
  struct Event {
    DDS_ParticipantBuiltinTopicData data;
    Guid guid;
    bool alive;
    bool awaited;  // the discovery thread waits, and drops the participant if it is ignored by then
  };
  struct Remote {
    bool ignored = false;
    bool present = false;  // the engine has finished making it known, and has not begun to forget it
    std::chrono::steady_clock::time_point last_seen = {};
  };

  static bool on_alive(void* self, const cyclone_participant* participant, bool locked);
  static void on_gone(void* self, const std::uint8_t guid[16]);
  void deliver();
  void look_for_missed(dds_entity_t participant);
  bool is_ignored(const Guid& guid);
  bool is_present(const Guid& guid);
  void forget_old_ignored();

  ddsi_domaingv* const gv_;
  cyclone_redundancy* const redundancy_;
  EngineParticipantEvents* const events_;
  cyclone_watcher watcher_ = {};
  cyclone_watch* watch_ = nullptr;

  Mutex lock_;
  /// Those that are ignored stay for a while when they are gone, as far as can be told: they announce themselves again.
  std::map<Guid, Remote> remotes_;
  std::deque<Event> queue_;
  Guid own_guid_ = {};
  std::optional<Guid> being_shown_;  // an awaited event's
  bool stopped_ = false;

  std::recursive_mutex delivery_;  // one callback at a time; a callback may lead to another one on its thread
  Worker worker_;
};

}  // namespace tessivar::platform::cyclone
