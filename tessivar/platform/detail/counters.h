// SPDX-License-Identifier: Apache-2.0

// Counters of the samples that pass through readers and writers.
#pragma once

#include "tessivar/platform/base.h"
#include "tessivar/platform/detail/mutex.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace tessivar::platform {

/// The counts of one reader or writer since its creation. Readers use received, filtered, lost, failed_to_decode and
/// waiting. Writers use sent and failed_to_encode. Both use matched, rejected and last_change.
struct EndpointCounts {
  std::string topic;
  std::string type;
  bool writer = false;
  /// The number of readers or writers that are matched at present.
  std::uint32_t matched = 0;

  /// Samples that entered the reader's cache.
  std::uint64_t received = 0;
  /// Samples that the content filter rejected.
  std::uint64_t filtered = 0;
  /// Samples that the writers sent and that can no longer be received.
  std::uint64_t lost = 0;
  /// Samples that could not be decoded. Malformed samples are counted per type: the readers of one type on one
  /// participant share that count.
  std::uint64_t failed_to_decode = 0;
  /// Samples that the application has neither read nor taken yet. A sample that reports the end of an instance counts,
  /// too.
  std::uint64_t waiting = 0;

  /// Samples, disposals and unregistrations that were written.
  std::uint64_t sent = 0;
  std::uint64_t failed_to_encode = 0;

  /// Reader: samples that its resource limits rejected. Writer: writes that failed because readers were too slow for
  /// max_blocking_time, or because memory was short.
  std::uint64_t rejected = 0;

  /// The time of the last change of any of these values, in nanoseconds since 1970, exact to some milliseconds; 0: no
  /// change yet. A write sets the time at which it began to send.
  std::int64_t last_change = 0;
};

/// A counter that any thread can increment. The first thread that increments it owns it and needs no locked
/// instruction, which would cost more than 1 % of a write. All other threads use a locked instruction.
class Count {
 public:
  void add(std::uint64_t more = 1) {
    if (is_own()) {
      own_.store(own_.load(std::memory_order_relaxed) + more, std::memory_order_relaxed);
    } else {
      others_.fetch_add(more, std::memory_order_relaxed);
    }
  }
  std::uint64_t get() const { return own_.load(std::memory_order_relaxed) + others_.load(std::memory_order_relaxed); }

 private:
  /// The system may use the id of an ended thread again, but two running threads never have the same id. So there is at
  /// most one owner at a time.
  bool is_own() {
    const std::thread::id me = std::this_thread::get_id();
    std::thread::id owner = owner_.load(std::memory_order_relaxed);
    if (owner == std::thread::id() && owner_.compare_exchange_strong(owner, me, std::memory_order_relaxed)) return true;
    return owner == me;
  }

  std::atomic<std::thread::id> owner_{};
  std::atomic<std::uint64_t> own_{0};
  std::atomic<std::uint64_t> others_{0};
};

/// The counters behind EndpointCounts. Any thread may use them. The endpoint, which counts, shares them with the code
/// that reports the counts. That code may keep them longer than the endpoint exists.
class TESSIVAR_API EndpointCounters {
 public:
  /// `malformed` counts the malformed samples that arrive for the type of a reader; may be null.
  EndpointCounters(bool writer, std::string topic, std::string type, std::shared_ptr<const Count> malformed)
      : writer_(writer), topic_(std::move(topic)), type_(std::move(type)), malformed_(std::move(malformed)) {}

  void matches(DDS_Long count) {
    matched_.store(static_cast<std::uint32_t>(count), std::memory_order_relaxed);
    changed();
  }

  // --- of a reader

  void received(std::uint64_t more) { count(received_, more); }
  void filtered() { count(filtered_); }
  void lost(std::uint64_t more) { count(lost_, more); }
  void not_decoded() { count(failed_to_decode_); }
  void waits(std::size_t count) { waiting_.store(count, std::memory_order_relaxed); }

  // --- of a writer

  void sent() { count(sent_); }
  /// The same for a caller that already knows the time, in nanoseconds since 1970.
  void sent(std::int64_t time) {
    sent_.add();
    last_change_.store(time, std::memory_order_relaxed);
  }
  void not_encoded() { count(failed_to_encode_); }

  // --- of both

  void rejected(std::uint64_t more = 1) { count(rejected_, more); }

  EndpointCounts read() const;

 private:
  void count(Count& which, std::uint64_t more = 1) {
    which.add(more);
    changed();
  }
  void changed() { last_change_.store(now(), std::memory_order_relaxed); }
  /// Uses a coarse clock, which takes only some nanoseconds to read.
  static std::int64_t now();

  const bool writer_;
  const std::string topic_;
  const std::string type_;
  const std::shared_ptr<const Count> malformed_;
  std::atomic<std::uint32_t> matched_{0};
  std::atomic<std::uint64_t> waiting_{0};
  std::atomic<std::int64_t> last_change_{0};
  Count received_, filtered_, lost_, failed_to_decode_, sent_, failed_to_encode_, rejected_;
};

/// The counters of a changing set of endpoints. Thread-safe.
class TESSIVAR_API EndpointList {
 public:
  void add(const std::shared_ptr<const EndpointCounters>& endpoint);
  void clear();
  /// Returns the counts of the endpoints that still exist, in the order of their addition.
  std::vector<EndpointCounts> read() const;

 private:
  mutable Mutex mutex_;
  std::vector<std::weak_ptr<const EndpointCounters>> endpoints_ TESSIVAR_GUARDED_BY(mutex_);
};

}  // namespace tessivar::platform
