// SPDX-License-Identifier: Apache-2.0

// The cache of one data reader: the samples that it holds for the application.
//
// The sources of the cache are subscriptions (subscription.h): usually one. While the data reader catches up with a new
// filter there are two, the current source and its replacement. They insert the samples that they receive. Reads and
// takes get samples from the cache, with the states, counts and ranks of OMG DDS 1.4, 2.2.2.5.
//
// An instance keeps the last samples, as HISTORY says. For conditions that handle every change it also keeps unread
// samples that newer samples have replaced, so that a burst does not outrun the thread that reads them.
//
// Instances with unread samples have a list of their own. An access that selects only unread samples, new instances or
// instances that are no longer alive visits only this list. An instance that is no longer alive leaves the cache when
// an access has handed out its last unread sample, which reports its end. Its key stays available until the loan is
// returned and the next access begins.
#pragma once

#include "tessivar/platform/detail/mutex.h"
#include "tessivar/platform/engine/engine.h"
#include "tessivar/platform/reader/publications.h"
#include "tessivar/platform/reader/slab.h"
#include "tessivar/platform/values/key_hash.h"

#include <memory>
#include <optional>
#include <unordered_map>
#include <utility>
#include <vector>

namespace tessivar::platform {

/// One bit for each combination of a sample state, a view state and an instance state.
typedef std::uint16_t StateSet;
StateSet states_of(DDS_SampleStateMask samples, DDS_ViewStateMask views, DDS_InstanceStateMask instances);

/// The samples that a read or take selects.
struct ReaderSelection {
  bool take = false;
  DDS_SampleStateMask sample_states = DDS_ANY_SAMPLE_STATE;
  DDS_ViewStateMask view_states = DDS_ANY_VIEW_STATE;
  DDS_InstanceStateMask instance_states = DDS_ANY_INSTANCE_STATE;
  std::optional<KeyHash> instance = {};  // nullopt: all instances
  bool every_change = false;             // also samples that newer samples have replaced
};

/// Thread-safe. Never calls the engine or the application. Unless its comment says otherwise, an operation that
/// allocates throws std::bad_alloc if memory is short, and then changes nothing.
class ReaderCache {
 public:
  /// The number of a subscription, which the caller gives it. 0 means none.
  typedef std::uint32_t Source;

  /// `catches_up` must be true if begin_catch_up() will be used.
  ReaderCache(const PRESTypePlugin& type, const DDS_HistoryQosPolicy& history, bool catches_up);
  ~ReaderCache();

  // --- what the sources deliver

  /// Sets the source whose samples are accepted.
  void set_source(Source source);
  struct Change {
    bool news = false;      // new samples or instance states arrived
    std::size_t count = 0;  // number of slots that were processed
  };
  /// Inserts the slots, which are in the order of reception. Ignores the slots if `from` is not a current source. If
  /// memory is short, it stops: the remaining slots can be inserted later. Does not throw.
  Change insert(Source from, const std::vector<EngineSlot>& slots);

  /// Sets whether the cache keeps unread samples that newer samples of their instance have replaced, at most
  /// `max_replaced`. Only an access for every change returns them; another access that selects their instance drops
  /// them.
  void keep_replaced(bool keep);
  static constexpr std::size_t max_replaced = 16384;

  // --- change of the filter

  /// From now on samples of `replacement` are accepted, too. A sample that both sources deliver is inserted once.
  /// History of `replacement` that is older than the samples of the instance in the cache is not inserted.
  void begin_catch_up(Source replacement);
  /// Ends the catch-up without a result. Samples of the replacement are no longer accepted.
  void abandon_catch_up();
  /// The replacement becomes the current source. `complete` says that it has delivered the whole history: then
  /// instances that it does not know are no longer alive. Returns true if an instance ended. After std::bad_alloc
  /// samples of the replacement are still accepted, and the call can be repeated.
  bool end_catch_up(bool complete);
  struct Latest {
    SampleRef data;
    std::int64_t source_timestamp;
  };
  /// Returns the latest sample of every instance that is alive and has a sample. The caller can examine them without
  /// the lock of the cache.
  std::vector<Latest> latest() const;
  /// Removes the instance of `sample` if `sample` is still its latest sample. The application gets no report of this.
  void remove(const Latest& sample);

  // --- access

  /// Returns the states of all samples in the cache, which conditions compare with their own states. Sets `unread` to
  /// the number of unread samples.
  StateSet states(std::size_t* unread = nullptr);
  /// Returns true if get_key_value and lookup_instance find the instance: it is in the cache, or the sample that
  /// reports its end is on loan.
  bool knows(const KeyHash& instance) const;
  bool is_alive(const KeyHash& instance) const;
  /// Decodes the key of the instance into `key_holder`. Returns BAD_PARAMETER if the instance or its key is not known,
  /// OUT_OF_RESOURCES if memory is short. Does not throw.
  DDS_ReturnCode_t copy_key(const KeyHash& instance, void* key_holder) const;
  /// Returns the first instance with a selected sample that follows `after` in the order of handles. If `after` is
  /// nullopt, returns the first instance with a selected sample.
  std::optional<KeyHash> next(const ReaderSelection& selection, const std::optional<KeyHash>& after);
  /// Begins an access. Returns the number of selected samples, at most `max` (negative: no limit). The number may
  /// include replaced samples that the access will drop.
  std::size_t count(const ReaderSelection& selection, DDS_Long max);
  /// Appends at most `max` selected samples to `slots`, grouped by instance, and marks them as read or removes them.
  /// `loan` identifies the loan of the samples; it is null if they are copied. Returns false if memory is short:
  /// samples that are not in `slots` stay unchanged. Does not throw.
  bool access(const ReaderSelection& selection, std::size_t max, std::vector<EngineSlot>& slots, const void* loan);
  void loan_returned(const void* loan);

 private:
  struct Sample {
    SampleRef data;
    Sample* next = nullptr;
    std::int64_t source_timestamp = 0;
    DDS_Long disposed_generations = 0;
    DDS_Long no_writers_generations = 0;
    Publications::Number writer = Publications::none;
    bool valid = true;
  };
  struct Link {
    Link* previous = this;
    Link* next = this;
  };
  enum class List : std::uint8_t { none, unread, read, ended };
  /// Read samples precede unread samples. Only the last sample can be invalid (without data).
  struct Instance : Link {
    explicit Instance(const KeyHash& key_hash) : hash(key_hash) {}

    const KeyHash hash;
    Instance* next_in_bucket = nullptr;
    Sample* first = nullptr;
    Sample* last = nullptr;
    union {
      Sample* unread = nullptr;  // the first unread sample
      const void* loan;          // of an ended instance: the loan of the sample that reports its end
    };
    std::unique_ptr<std::uint8_t[]> key;  // its size and octets, if no sample provides it
    std::int64_t last_timestamp = INT64_MIN;
    Publications::Number last_writer = Publications::none;
    std::uint32_t count = 0;
    std::uint32_t unread_count = 0;
    DDS_Long disposed_generations = 0;
    DDS_Long no_writers_generations = 0;
    std::uint16_t source_generation = 0;  // of the last sample of the current source, modulo 65536
    std::uint8_t state : 3 = DDS_ALIVE_INSTANCE_STATE;
    std::uint8_t end_in_replacement : 3 = 0;  // the state in which the replacement ended it, or 0
    bool viewed : 1 = false;
    bool knows_generation : 1 = false;
    List list : 2 = List::none;
    bool known_to_current : 1 = false;
    bool known_to_replacement : 1 = false;
    bool has_other_writers : 1 = false;
    /// During a catch-up the current source delivered the last sample; the replacement will deliver it, too, perhaps
    /// after the end of the catch-up.
    bool awaited_from_replacement : 1 = false;
  };

  /// The last sample of one writer, in an instance that several writers write.
  struct LastOfWriter {
    Publications::Number writer;
    std::int64_t timestamp;
  };
  struct Expiry {
    std::int64_t time;
    KeyHash instance;
    bool operator<(const Expiry& other) const { return time > other.time; }  // the earliest is the heap's first
  };

  /// Nanoseconds since 1970.
  static std::int64_t now();

  // The table of instances.
  Instance* find(const KeyHash& hash) const TESSIVAR_REQUIRES(mutex_);
  Instance& add_instance(const KeyHash& hash) TESSIVAR_REQUIRES(mutex_);
  void erase(Instance& instance) TESSIVAR_REQUIRES(mutex_);

  // Insertion.
  bool merge(const EngineSlot& slot, bool from_replacement) TESSIVAR_REQUIRES(mutex_);
  void revive(Instance& instance) TESSIVAR_REQUIRES(mutex_);
  void append(Instance& instance, Sample& sample, const EngineSlot& slot, bool from_replacement)
      TESSIVAR_REQUIRES(mutex_);
  bool end(Instance& instance, DDS_InstanceStateKind state, const SampleRef& data, std::int64_t timestamp)
      TESSIVAR_REQUIRES(mutex_);
  bool is_repetition(const Instance& instance, Publications::Number writer, std::int64_t timestamp,
                     bool from_replacement) const TESSIVAR_REQUIRES(mutex_);
  void note_writer(Instance& instance, Publications::Number writer, std::int64_t timestamp) TESSIVAR_REQUIRES(mutex_);
  void forget_other_writers(Instance& instance) TESSIVAR_REQUIRES(mutex_);
  void drop_expired() TESSIVAR_REQUIRES(mutex_);

  // Samples of an instance.
  void unlink(Instance& instance, Sample* previous, Sample& sample, bool unread) TESSIVAR_REQUIRES(mutex_);
  void drop_first(Instance& instance) TESSIVAR_REQUIRES(mutex_);
  void drop_invalid(Instance& instance) TESSIVAR_REQUIRES(mutex_);
  void drop_samples(Instance& instance) TESSIVAR_REQUIRES(mutex_);
  std::size_t replaced(const Instance& instance) const { return instance.count > depth_ ? instance.count - depth_ : 0; }
  void drop_replaced(Instance& instance, std::size_t limit) TESSIVAR_REQUIRES(mutex_);
  bool keep_key(Instance& instance, const Sample& sample) const TESSIVAR_REQUIRES(mutex_);
  std::int64_t expiry(const Sample& sample) const TESSIVAR_REQUIRES(mutex_);

  // Lists and counts.
  void move_to(Instance& instance, List list) TESSIVAR_REQUIRES(mutex_);
  void update_list(Instance& instance) TESSIVAR_REQUIRES(mutex_);
  /// Adds (1) or subtracts (-1) the instance's samples to or from the counts.
  void count_samples(const Instance& instance, int sign) TESSIVAR_REQUIRES(mutex_);

  // Access.
  std::size_t matching(const Instance& instance, const ReaderSelection& selection) const TESSIVAR_REQUIRES(mutex_);
  void emit_all(const ReaderSelection& selection, std::size_t max, std::vector<EngineSlot>& slots, const void* loan)
      TESSIVAR_REQUIRES(mutex_);
  std::size_t emit(Instance& instance, const ReaderSelection& selection, std::size_t max,
                   std::vector<EngineSlot>& slots, const void* loan) TESSIVAR_REQUIRES(mutex_);
  void fill(DDS_SampleInfo& info, const Instance& instance, const Sample& sample, bool read) const
      TESSIVAR_REQUIRES(mutex_);
  void forget_ended() TESSIVAR_REQUIRES(mutex_);

  const PRESTypePlugin& type_;
  const std::uint32_t depth_;  // samples that are kept of each instance; UINT32_MAX: all
  const bool catches_up_;

  mutable Mutex mutex_;
  std::vector<Instance*> buckets_ TESSIVAR_GUARDED_BY(mutex_);
  std::size_t size_ TESSIVAR_GUARDED_BY(mutex_) = 0;
  Slab<Instance> instances_ TESSIVAR_GUARDED_BY(mutex_);
  Slab<Sample> samples_ TESSIVAR_GUARDED_BY(mutex_);
  Publications publications_ TESSIVAR_GUARDED_BY(mutex_);
  /// Instances with unread samples, in the order in which their first unread sample arrived.
  Link unread_ TESSIVAR_GUARDED_BY(mutex_);
  /// Instances with read samples only.
  Link read_ TESSIVAR_GUARDED_BY(mutex_);
  /// Instances that ended and have no samples, but whose key the application may still ask for.
  Link ended_ TESSIVAR_GUARDED_BY(mutex_);
  std::size_t counts_[12] TESSIVAR_GUARDED_BY(mutex_) = {};
  bool keeps_replaced_ TESSIVAR_GUARDED_BY(mutex_) = false;
  std::size_t replaced_ TESSIVAR_GUARDED_BY(mutex_) = 0;      // samples of all instances beyond their depth
  std::vector<Expiry> expiries_ TESSIVAR_GUARDED_BY(mutex_);  // a heap; entries of removed samples have no effect
  std::unordered_map<KeyHash, std::vector<LastOfWriter>, KeyHashHasher> other_writers_ TESSIVAR_GUARDED_BY(mutex_);
  /// Instances that ended during a catch-up, with the time of their last sample: the replacement may still deliver that
  /// sample.
  std::unordered_map<KeyHash, std::int64_t, KeyHashHasher> ended_meanwhile_ TESSIVAR_GUARDED_BY(mutex_);
  /// All hashes, sorted, perhaps also of erased instances. If it is empty, it must be rebuilt.
  std::vector<KeyHash> order_ TESSIVAR_GUARDED_BY(mutex_);
  Source current_ TESSIVAR_GUARDED_BY(mutex_) = 0;
  Source replacement_ TESSIVAR_GUARDED_BY(mutex_) = 0;
};

}  // namespace tessivar::platform
