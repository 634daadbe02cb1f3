// The samples that one data reader holds for its application.
//
// A reader's sources (engine readers; usually one, two while the reader catches up with another filter) hand over what
// they receive; reads and takes are served from here, with the states, counts and ranks of OMG DDS 1.4, 2.2.2.5.
//
// What is new is kept apart from what was read: samples that were not read, instances that are new and instances that
// are no longer alive are found without a look at the others. An instance that is no longer alive leaves the cache when
// its last unread sample, which reports its end, has been handed out; its key stays available until the loan is
// returned and the next access begins.
#pragma once

#include "tessivar/platform/detail/mutex.h"
#include "tessivar/platform/engine/engine.h"
#include "tessivar/platform/reader/publications.h"
#include "tessivar/platform/reader/slab.h"
#include "tessivar/platform/values/key_hash.h"

#include <memory>
#include <mutex>
#include <optional>
#include <unordered_map>
#include <utility>
#include <vector>

namespace tessivar::platform {

/// One bit for each combination of a sample, a view and an instance state.
typedef std::uint16_t StateSet;
StateSet states_of(DDS_SampleStateMask samples, DDS_ViewStateMask views, DDS_InstanceStateMask instances);

/// What a read or take selects.
struct ReaderSelection {
  bool take = false;
  DDS_SampleStateMask sample_states = DDS_ANY_SAMPLE_STATE;
  DDS_ViewStateMask view_states = DDS_ANY_VIEW_STATE;
  DDS_InstanceStateMask instance_states = DDS_ANY_INSTANCE_STATE;
  std::optional<KeyHash> instance = {};  // without it: all instances
};

/// Thread-safe; never calls the engine or the application. Operations that allocate throw std::bad_alloc, unless they
/// say otherwise, and change nothing then.
class ReaderCache {
 public:
  /// A number of the caller's for an engine reader; 0 is none.
  typedef std::uint32_t Source;

  /// `catches_up`: begin_catch_up() will be used.
  ReaderCache(const PRESTypePlugin& type, const DDS_HistoryQosPolicy& history, bool catches_up);
  ~ReaderCache();

  // --- what the sources deliver

  /// Whose samples are accepted.
  void set_source(Source source);
  struct Change {
    bool news = false;      // there is something that the application has not read
    std::size_t count = 0;  // slots that are done with
  };
  /// In the order in which the engine received them; samples of other sources are ignored. When memory is short, it
  /// stops: the remaining slots can be inserted later. Does not throw.
  Change insert(Source from, const std::vector<EngineSlot>& slots);

  // --- another filter

  /// From now on `joining` delivers too. A sample that both deliver, and history that is older than what is here, is
  /// inserted once.
  void begin_catch_up(Source joining);
  /// It is over without a result.
  void abandon_catch_up();
  /// `joining` takes the source's place. `complete`: it has delivered the whole history, so that instances which it
  /// does not know are no longer alive. True when there is news. After std::bad_alloc `joining` goes on delivering, and
  /// the call can be repeated.
  bool end_catch_up(bool complete);
  struct Latest {
    SampleRef data;
    std::int64_t source_timestamp;
  };
  /// The latest sample of every instance that is alive and holds one, for an examination without the lock.
  std::vector<Latest> latest() const;
  /// Removes its instance without a trace when it is still the latest one.
  void remove(const Latest& sample);

  // --- access

  /// The states of all samples here, which conditions compare with theirs, and how many of them nobody has read.
  StateSet states(std::size_t* unread = nullptr);
  /// Whether get_key_value and lookup_instance find it: it is here, or its end is lent out.
  bool knows(const KeyHash& instance) const;
  bool is_alive(const KeyHash& instance) const;
  /// Decodes its key into a key holder. BAD_PARAMETER when it is not known, OUT_OF_RESOURCES when memory is short. Does
  /// not throw.
  DDS_ReturnCode_t copy_key(const KeyHash& instance, void* key_holder) const;
  /// The instance that follows `after` (without it: the first) in the order of handles and holds a selected sample.
  std::optional<KeyHash> next(const ReaderSelection& selection, const std::optional<KeyHash>& after);
  /// Begins an access: how many samples are selected, at most `max` (negative: no limit).
  std::size_t count(const ReaderSelection& selection, DDS_Long max);
  /// Appends at most `max` selected samples to `slots`, grouped by instance, and marks them
  /// as read or removes them. `loan` identifies what they are lent by; null: they are copied. Returns false if memory
  /// is short: samples that are not among the slots stay as they are. Does not throw.
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
  /// The samples that were read precede those that were not; only the last one can be invalid.
  struct Instance : Link {
    explicit Instance(const KeyHash& its_hash) : hash(its_hash) {}

    const KeyHash hash;
    Instance* next_in_bucket = nullptr;
    Sample* first = nullptr;
    Sample* last = nullptr;
    union {
      Sample* unread = nullptr;  // the first that was not read
      const void* loan;          // of an ended instance: what its end is lent by
    };
    std::unique_ptr<std::uint8_t[]> key;  // its size and octets, once there was no data to take it from
    std::int64_t last_timestamp = INT64_MIN;
    Publications::Number last_writer = Publications::none;
    std::uint32_t count = 0;
    std::uint32_t unread_count = 0;
    DDS_Long disposed_generations = 0;
    DDS_Long no_writers_generations = 0;
    std::uint16_t source_generation = 0;  // of the source's last sample, as far as it fits in here
    std::uint8_t state : 3 = DDS_ALIVE_INSTANCE_STATE;
    std::uint8_t end_of_joining : 3 = 0;  // the state that the joining source ended it with
    bool viewed : 1 = false;
    bool knows_generation : 1 = false;
    List list : 2 = List::none;
    bool known_to_source : 1 = false;
    bool known_to_joining : 1 = false;
    bool has_other_writers : 1 = false;
  };

  /// The last sample that a writer wrote of an instance, where several writers write the same one.
  struct LastOfWriter {
    Publications::Number writer;
    std::int64_t timestamp;
  };
  struct Expiry {
    std::int64_t time;
    KeyHash instance;
    bool operator<(const Expiry& other) const { return time > other.time; }  // for a heap with the earliest first
  };

  /// Nanoseconds since 1970.
  static std::int64_t now();

  // The table of instances.
  Instance* find(const KeyHash& hash) const;
  Instance& add_instance(const KeyHash& hash);
  void erase(Instance& instance);

  // Insertion.
  bool merge(const EngineSlot& slot, bool joining);
  void revive(Instance& instance);
  void append(Instance& instance, Sample& sample, const EngineSlot& slot, bool joining);
  bool end(Instance& instance, DDS_InstanceStateKind state, const SampleRef& data, std::int64_t timestamp);
  bool is_repetition(const Instance& instance, Publications::Number writer, std::int64_t timestamp, bool joining) const;
  void note_writer(Instance& instance, Publications::Number writer, std::int64_t timestamp);
  void forget_other_writers(Instance& instance);
  void drop_expired();

  // Samples of an instance.
  void unlink(Instance& instance, Sample* previous, Sample& sample, bool unread);
  void drop_first(Instance& instance);
  void drop_invalid(Instance& instance);
  void drop_samples(Instance& instance);
  bool keep_key(Instance& instance, const Sample& sample) const;
  std::int64_t expiry(const Sample& sample) const;

  // Lists and counts.
  void move_to(Instance& instance, List list);
  void update_list(Instance& instance);
  /// Adds (1) or subtracts (-1) the instance's samples to or from the counts.
  void count_samples(const Instance& instance, int sign);

  // Access.
  std::size_t matching(const Instance& instance, const ReaderSelection& selection) const;
  void emit_all(const ReaderSelection& selection, std::size_t max, std::vector<EngineSlot>& slots, const void* loan);
  std::size_t emit(Instance& instance, const ReaderSelection& selection, std::size_t max,
                   std::vector<EngineSlot>& slots, const void* loan);
  void fill(DDS_SampleInfo& info, const Instance& instance, const Sample& sample, bool read) const;
  void forget_ended();

  const PRESTypePlugin& type_;
  const std::uint32_t depth_;  // samples of an instance that are kept; the largest figure: all
  const bool catches_up_;

  mutable Mutex mutex_;
  std::vector<Instance*> buckets_;
  std::size_t size_ = 0;
  Slab<Instance> instances_;
  Slab<Sample> samples_;
  Publications publications_;
  Link unread_;  // instances that hold unread samples, in the order in which the first of them came
  Link read_;    // those that hold read samples only
  Link ended_;   // those that are no longer here, but whose keys the application may still ask for
  std::size_t counts_[12] = {};
  std::vector<Expiry> expiries_;  // a heap; entries of samples that are gone mean nothing
  std::unordered_map<KeyHash, std::vector<LastOfWriter>, KeyHashHasher> other_writers_;
  /// Instances that ended during a catch-up, with the time of their last sample: the joining source may deliver it
  /// still.
  std::unordered_map<KeyHash, std::int64_t, KeyHashHasher> ended_meanwhile_;
  std::vector<KeyHash> order_;  // all hashes in order, and perhaps some of erased ones; empty: to be made again
  Source source_ = 0;
  Source joining_ = 0;
};

}  // namespace tessivar::platform
