// SPDX-License-Identifier: Apache-2.0

#include "tessivar/platform/cyclone/network/unreachable.h"

#include "tessivar/platform/detail/immortal.h"
#include "tessivar/platform/detail/mutex.h"

#include <chrono>
#include <map>

namespace tessivar::platform::cyclone {
namespace {

using std::chrono::steady_clock;

constexpr std::string_view beginning = "ddsi_udp_conn_write to udp/";
constexpr std::chrono::minutes interval(1);
constexpr std::size_t max_addresses = 64;

/// Returns true if there was no line about the address within the last `interval`, and remembers the present time.
bool is_due(const std::string& address) {
  static Immortal<Mutex> mutex;  // the engine's threads may log while the process ends
  static Immortal<std::map<std::string, steady_clock::time_point>> last_reported;
  const MutexLock lock(*mutex);
  const steady_clock::time_point now = steady_clock::now();
  const auto [entry, is_new] = last_reported->try_emplace(address, now);
  if (!is_new && now - entry->second < interval) return false;
  entry->second = now;
  if (last_reported->size() > max_addresses) last_reported->clear();
  return true;
}

}  // namespace

bool summarize_unreachable(std::string_view line, std::string& text) {
  if (!line.starts_with(beginning)) return false;
  const std::string_view rest = line.substr(beginning.size());
  const std::string address(rest.substr(0, rest.find(':')));
  if (is_due(address)) {
    text = address + " cannot be reached, packets to it are lost (next line about it in a minute at the earliest): ";
    text += line;
  }
  return true;
}

}  // namespace tessivar::platform::cyclone
