// SPDX-License-Identifier: Apache-2.0

// The ticket of one pending request.
#pragma once

#include "tessivar/framework/nodes/type_of.h"
#include "tessivar/framework/pointers/dds_ptr.h"
#include "tessivar/framework/requestreply/detail/published.h"
#include "tessivar/framework/requestreply/request_failure.h"
#include "tessivar/platform/sample_info.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>

namespace TessivarDDS {

/// The state of a request. DDSRequestReplyNode::makeRequest() creates it. The thread of the node updates it with each
/// reply; several replies may arrive ("in progress", then "complete"). Thread-safe.
///
/// To wait for a reply, call wait(), or poll `received`. When it is true, clear it first and then read `reply`. In this
/// order, no reply is missed.
template <class Rep>
struct RequestReplyTicket {
  explicit RequestReplyTicket(unsigned short id)
      : reply(DDSPtr<Rep>(TypeOf<Rep>::TypeSupport::create_data())), ticketId(id) {}

  /// The last reply. Before the first reply it is an initialised sample. A new reply replaces it; the sample itself
  /// never changes.
  Published<DDSPtr<Rep>> reply;
  /// The sample info of the last reply.
  Published<DDS_SampleInfo> sampleInfo;
  const unsigned short ticketId;
  /// True if a reply has arrived since the flag was cleared. Set after `reply` and `sampleInfo`.
  std::atomic<bool> received{false};
  /// The reason why the request was not sent. None if it was sent.
  std::atomic<RequestFailure> failure{RequestFailure::None};

  /// Blocks at most `timeoutMs` milliseconds until `received` is true; -1 waits without limit, any other negative time
  /// does not wait. Returns `received`. A thread that waits continues after the listeners were notified of the reply.
  /// In a callback of the node no reply can arrive: the call blocks until the timeout.
  bool wait(int timeoutMs) {
    std::unique_lock lock(mutex_);
    const auto arrived = [this] { return received.load(); };
    if (timeoutMs != -1) return arrived_.wait_for(lock, std::chrono::milliseconds(timeoutMs), arrived);
    arrived_.wait(lock, arrived);
    return true;
  }

  /// Stores a reply. Does not wake the threads in wait().
  void complete(DDSPtr<Rep> answer, const DDS_SampleInfo& info) {
    sampleInfo.set(info);
    reply.set(std::move(answer));
    received = true;
  }
  /// Wakes the threads in wait(), after complete().
  void wake() {
    { const std::lock_guard lock(mutex_); }  // a thread that has just found `received` false is waiting from here on
    arrived_.notify_all();
  }

 private:
  std::mutex mutex_;
  std::condition_variable arrived_;
};

}  // namespace TessivarDDS
