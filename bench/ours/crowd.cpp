// SPDX-License-Identifier: Apache-2.0

#include "bench/common/load.h"
#include "bench/ours/roles.h"
#include "tessivar/tessivar.h"

#include <algorithm>
#include <stdexcept>
#include <vector>

namespace tessivar::bench {

int run_crowd(const Options& options) {
  const unsigned count = options.count("count");
  const int domain = static_cast<int>(options.number("domain"));
  std::vector<TessivarDDS::DomainHandle> crowd;
  const auto join = [&](const Options&) {
    return seconds_until([&] {
      while (crowd.size() < count) {
        crowd.push_back(TessivarDDS::DomainHandle::exclusive(domain));
        if (!crowd.back()) throw std::runtime_error("no participant " + std::to_string(crowd.size()));
      }
      return std::ranges::all_of(crowd,
                                 [&](const auto& one) { return one->report().peers.size() == std::size_t{count} - 1; });
    });
  };
  const auto leave = [&](const Options&) {
    crowd.clear();
    return Answer();
  };
  return serve({{"join", join}, {"leave", leave}, {"memory", [](const Options&) { return memory(); }}});
}

}  // namespace tessivar::bench
