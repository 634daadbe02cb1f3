// SPDX-License-Identifier: Apache-2.0

#include "bench/common/load.h"
#include "bench/engine/bus.h"
#include "bench/engine/roles.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <mutex>
#include <set>
#include <vector>

namespace tessivar::bench {
namespace {

/// A participant that knows the participants of its domain.
class Participant {
 public:
  Participant(const Options& options, unsigned number) : bus_(options, number) {
    bus_.reader(DDS_BUILTIN_TOPIC_DCPSPARTICIPANT, nullptr, [this](dds_entity_t reader) {
      take_all<dds_builtintopic_participant_t>(reader, [this](const dds_builtintopic_participant_t& participant) {
        const std::lock_guard lock(mutex_);
        known_.insert(std::to_array(participant.key.v));
      });
    });
  }
  /// Includes the participant itself.
  std::size_t known() const {
    const std::lock_guard lock(mutex_);
    return known_.size();
  }

 private:
  mutable std::mutex mutex_;
  std::set<std::array<std::uint8_t, sizeof(dds_guid_t::v)>> known_;
  Bus bus_;
};

}  // namespace

int run_crowd(const Options& options) {
  const unsigned count = options.count("count");
  std::vector<std::unique_ptr<Participant>> crowd;
  const auto join = [&](const Options&) {
    return seconds_until([&] {
      while (crowd.size() < count)
        crowd.push_back(std::make_unique<Participant>(options, static_cast<unsigned>(crowd.size())));
      return std::ranges::all_of(crowd, [&](const auto& one) { return one->known() == count; });
    });
  };
  const auto leave = [&](const Options&) {
    crowd.clear();
    return Answer();
  };
  return serve({{"join", join}, {"leave", leave}, {"memory", [](const Options&) { return memory(); }}});
}

}  // namespace tessivar::bench
