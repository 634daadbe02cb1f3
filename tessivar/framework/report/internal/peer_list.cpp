// SPDX-License-Identifier: Apache-2.0

#include "tessivar/framework/report/internal/peer_list.h"

#include <algorithm>
#include <chrono>

namespace TessivarDDS {
namespace {

std::int64_t now() {
  return std::chrono::system_clock::now().time_since_epoch() / std::chrono::nanoseconds(1);
}

}  // namespace

void PeerList::seen(PeerReport peer) {
  const tessivar::platform::MutexLock lock(mutex_);
  lastChange_ = now();
  const auto known =
      std::find_if(peers_.begin(), peers_.end(), [&](const PeerReport& one) { return one.guid == peer.guid; });
  if (known != peers_.end()) {
    peer.since = known->since;
    *known = std::move(peer);
    return;
  }
  peer.since = lastChange_;
  peers_.push_back(std::move(peer));
  const auto denied = [](const PeerReport& one) { return !one.admitted; };
  if (std::count_if(peers_.begin(), peers_.end(), denied) > static_cast<std::ptrdiff_t>(deniedKept)) {
    peers_.erase(std::find_if(peers_.begin(), peers_.end(), denied));
  }
}

void PeerList::gone(const std::string& guid) {
  const tessivar::platform::MutexLock lock(mutex_);
  const auto forgotten = std::erase_if(peers_, [&](const PeerReport& one) { return one.admitted && one.guid == guid; });
  if (forgotten > 0) lastChange_ = now();
}

void PeerList::clear() {
  const tessivar::platform::MutexLock lock(mutex_);
  peers_.clear();
  lastChange_ = 0;
}

std::vector<PeerReport> PeerList::read() const {
  const tessivar::platform::MutexLock lock(mutex_);
  return {peers_.begin(), peers_.end()};
}

std::int64_t PeerList::lastChange() const {
  const tessivar::platform::MutexLock lock(mutex_);
  return lastChange_;
}

std::string PeerList::guidText(const DDS_InstanceHandle_t& handle) {
  constexpr char digits[] = "0123456789abcdef";
  std::string text;
  for (const DDS_Octet octet : handle.keyHash.value) {
    text += digits[octet >> 4];
    text += digits[octet & 15];
  }
  return text;
}

}  // namespace TessivarDDS
