// SPDX-License-Identifier: Apache-2.0

// Watches the discovery of remote participants, reports participants and ignores unwanted participants.
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

/// Calls `visit` with each sample of a built-in topic. `Sample` is the type of the topic. Does nothing if the engine
/// cannot create a reader. Must not be called from a callback of the engine.
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
  dds_sample_info_t infos[chunk];
  for (;;) {
    struct Loan {
      ~Loan() {
        if (count > 0) dds_return_loan(reader, samples, count);
      }
      const dds_entity_t reader;
      void* samples[chunk] = {};
      dds_return_t count = 0;
    } loan{reader.entity};
    loan.count = dds_take(reader.entity, loan.samples, infos, chunk, chunk);
    if (loan.count <= 0) return;
    for (dds_return_t i = 0; i < loan.count; ++i)
      if (infos[i].valid_data) visit(*static_cast<const Sample*>(loan.samples[i]));
  }
}

/// Watches the discovery of one domain. Thread-safe.
///
/// A new participant is reported on the engine's discovery thread, where it can be ignored before any of its endpoints
/// is known. All other events occur while the engine holds locks, so the worker reports them. Both threads deliver from
/// one queue, which keeps the order.
class Discovery {
 public:
  /// `redundancy` receives the addresses of remote participants; it may be null.
  Discovery(ddsi_domaingv* gv, cyclone_redundancy* redundancy, EngineParticipantEvents* events);
  /// To be called after the deletion of the domain. stop() must have been called before that deletion.
  ~Discovery();
  Discovery(const Discovery&) = delete;
  Discovery& operator=(const Discovery&) = delete;

  /// Returns false if the engine's internals are not available: then no participant is reported or ignored.
  bool active() const { return watch_ != nullptr; }
  /// Reports the participants that were discovered before the watch began. `participant` is our own participant. The
  /// worker does this, because the engine waits for the discovery thread during this work, and the discovery thread may
  /// be in a callback that waits for our participant.
  void report_known(dds_entity_t participant);
  /// Announces our own participant, on the worker. The calling thread may be in a callback of another domain, and there
  /// the engine lets a thread work only for that domain.
  void announce();
  /// To be called before the deletion of the domain. When it returns, no callback is running and none will follow. Must
  /// not be called from a callback.
  void stop();

  /// From now on all data of the participant is ignored. If the callback that reports a new participant calls this, no
  /// endpoint of it ever becomes known. The participant receives a farewell, so that its reliable writers do not wait
  /// for our readers.
  void ignore(const Guid& remote);
  /// Runs `task` on the worker, unless stop() is called before.
  void on_worker(std::function<void()> task) { worker_.post(std::move(task)); }
  /// Makes the engine forget the participant, on the worker. The next announcement restores the participant and its
  /// endpoints.
  void rediscover(const Guid& remote);

 private:
  struct Event {
    DDS_ParticipantBuiltinTopicData data;
    Guid guid;
    bool alive;
    bool awaited;  // the discovery thread waits, and drops the participant if it is ignored then
  };
  struct Remote {
    bool ignored = false;
    bool present = false;  // the engine has made it known, and has not begun to forget it
    std::chrono::steady_clock::time_point last_seen = {};
  };

  /// Runs on the worker.
  void drop_with_farewell(const Guid& remote, const Guid& own);
  /// Sends the farewell from the worker, and frees it. It may be null.
  void send_later(cyclone_farewell* owned);
  static bool on_alive(void* self, const cyclone_participant* participant, bool locked);
  static void on_gone(void* self, const std::uint8_t guid[16]);
  void deliver();
  void report_missed(dds_entity_t participant);
  bool is_ignored(const Guid& guid);
  bool is_present(const Guid& guid);
  void forget_old_ignored() TESSIVAR_REQUIRES(lock_);

  ddsi_domaingv* const gv_;
  cyclone_redundancy* const redundancy_;
  EngineParticipantEvents* const events_;
  cyclone_watcher watcher_ = {};
  cyclone_watch* watch_ = nullptr;

  Mutex lock_;
  /// Ignored participants stay here for a time after their last announcement, because they may announce themselves
  /// again.
  std::map<Guid, Remote> remotes_ TESSIVAR_GUARDED_BY(lock_);
  std::deque<Event> queue_ TESSIVAR_GUARDED_BY(lock_);
  Guid own_guid_ TESSIVAR_GUARDED_BY(lock_) = {};
  /// The participant of an awaited event, during its callback.
  std::optional<Guid> being_reported_ TESSIVAR_GUARDED_BY(lock_);
  bool stopped_ TESSIVAR_GUARDED_BY(lock_) = false;

  std::recursive_mutex delivery_;  // one callback at a time; a callback may cause another one on its thread
  Worker worker_;
};

}  // namespace tessivar::platform::cyclone
