// The instances that one reader has accepted samples of.
//
// The engine's own tables are shared by all readers of a participant; what "this reader" knows is recorded here, as its
// filter lets samples in. An instance is forgotten when it is not alive any more and its last sample has been taken.
#pragma once

#include "tessivar/platform/engine.h"
#include "tessivar/platform/key_hash.h"
#include "tessivar/platform/mutex.h"

#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

namespace tessivar::platform {

/// Thread-safe; never calls the engine.
class ReaderInstances {
 public:
  explicit ReaderInstances(const PRESTypePlugin& type) : type_(type) {}

  /// The filter let a sample in. On the receive thread.
  void accepted(const EncodedSample& sample, EngineHandle instance);
  bool knows(const KeyHash& hash) const;
  /// 0 when it is not known.
  EngineHandle find(const KeyHash& hash) const;
  /// The known instance that follows in the order of the handles; with nil the first.
  std::optional<KeyHash> next(const DDS_InstanceHandle_t& after);
  /// Decodes the key into a key holder; false when the instance is not known or its key cannot be decoded. An instance
  /// that the last access has emptied still has its key: who was handed its last sample asks for it.
  bool copy_key(const KeyHash& hash, void* key_holder) const;

  /// Its encoded key; empty when it is not known.
  std::string key_of(const KeyHash& hash) const;
  /// Has the key of an unknown instance at hand until the next access.
  void remember(const KeyHash& hash, const std::string& key);

  /// An access begins: gives what accessed() wants to know of the time before.
  std::uint64_t begin_access();
  /// An access yielded `slots`; `complete`: it was not cut short by a maximum.
  void accessed(const EngineSelection& selection, std::span<const EngineSlot> slots, bool complete,
                std::uint64_t accepted_before);

 private:
  struct Instance {
    EngineHandle engine;
    std::string key;
    std::uint64_t last_accepted;
    bool has_read;       // samples that were read may still be there
    bool perhaps_empty;  // not alive, and what was there last was taken; the next full access will tell
  };
  typedef std::unordered_map<KeyHash, Instance, KeyHashHasher> ByHash;

  /// Whether an access with these sample states leaves nothing of the instance out.
  static bool sees_all(const EngineSelection& selection, const Instance& instance);
  /// Forgets it; the next one.
  ByHash::iterator forget(ByHash::iterator entry);
  void settle(const EngineSelection& selection, std::span<const EngineSlot> slots, std::uint64_t accepted_before);

  const PRESTypePlugin& type_;
  mutable Mutex mutex_;
  ByHash by_hash_;
  ByHash emptied_;  // by the last access
  std::uint64_t accepted_ = 0;
  std::size_t perhaps_empty_ = 0;
  /// All known hashes in order, and perhaps some of forgotten instances; empty when it has to be made again.
  std::vector<KeyHash> order_;
};

}  // namespace tessivar::platform
