// SPDX-License-Identifier: Apache-2.0

// One outstanding request.
#pragma once

#include "tessivar/framework/nodes/type_of.h"
#include "tessivar/framework/pointers/dds_ptr.h"
#include "tessivar/framework/requestreply/detail/published.h"
#include "tessivar/framework/requestreply/request_failure.h"
#include "tessivar/platform/sample_info.h"

#include <atomic>

namespace TessivarDDS {

/// What has become of a request. Made by DDSRequestReplyNode::makeRequest(), filled in by the node's thread with each
/// reply, of which several may come ("in progress", then "complete"). Thread-safe.
///
/// To wait for a reply: poll `received`; when it is true, clear it first and read `reply` then, so that a reply that
/// comes meanwhile is not missed.
template <class Rep>
struct RequestReplyTicket {
  explicit RequestReplyTicket(unsigned short id)
      : reply(DDSPtr<Rep>(TypeOf<Rep>::TypeSupport::create_data())), ticketId(id) {}

  /// The last reply; before the first one an initialised sample. Replaced, never changed.
  Published<DDSPtr<Rep>> reply;
  /// What came with it.
  Published<DDS_SampleInfo> sampleInfo;
  const unsigned short ticketId;
  /// A reply has come since the flag was cleared. Set after reply and sampleInfo.
  std::atomic<bool> received{false};
  /// Why the request was not sent; None for one that was.
  std::atomic<RequestFailure> failure{RequestFailure::None};

  void complete(DDSPtr<Rep> answer, const DDS_SampleInfo& info) {
    sampleInfo.set(info);
    reply.set(std::move(answer));
    received = true;
  }
};

}  // namespace TessivarDDS
