// SPDX-License-Identifier: Apache-2.0

#include "tessivar/platform/detail/counters.h"

#include "tessivar/platform/system/calls.h"

namespace tessivar::platform {

std::int64_t EndpointCounters::now() {
  return coarse_time();
}

EndpointCounts EndpointCounters::read() const {
  EndpointCounts counts;
  counts.topic = topic_;
  counts.type = type_;
  counts.writer = writer_;
  counts.matched = matched_.load(std::memory_order_relaxed);
  counts.filtered = filtered_.get();
  counts.lost = lost_.get();
  counts.failed_to_decode = failed_to_decode_.get() + (malformed_ ? malformed_->get() : 0);
  counts.received = received_.get();
  counts.waiting = waiting_.load(std::memory_order_relaxed);
  counts.sent = sent_.get();
  counts.failed_to_encode = failed_to_encode_.get();
  counts.rejected = rejected_.get();
  counts.last_change = last_change_.load(std::memory_order_relaxed);
  return counts;
}

void EndpointList::add(const std::shared_ptr<const EndpointCounters>& endpoint) {
  const MutexLock lock(mutex_);
  std::erase_if(endpoints_, [&](const auto& known) {
    const auto alive = known.lock();
    return !alive || alive == endpoint;
  });
  endpoints_.push_back(endpoint);
}

void EndpointList::clear() {
  const MutexLock lock(mutex_);
  endpoints_.clear();
}

std::vector<EndpointCounts> EndpointList::read() const {
  std::vector<EndpointCounts> counts;
  const MutexLock lock(mutex_);
  for (const auto& known : endpoints_) {
    if (const auto endpoint = known.lock()) counts.push_back(endpoint->read());
  }
  return counts;
}

}  // namespace tessivar::platform
