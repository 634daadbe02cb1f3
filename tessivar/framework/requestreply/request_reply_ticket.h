// SPDX-License-Identifier: Apache-2.0

// The ticket of one pending request.
#pragma once

#include "tessivar/framework/nodes/type_of.h"
#include "tessivar/framework/pointers/dds_ptr.h"
#include "tessivar/framework/requestreply/detail/published.h"
#include "tessivar/framework/requestreply/request_failure.h"
#include "tessivar/platform/sample_info.h"

#include <atomic>

namespace TessivarDDS {

/// The state of a request. DDSRequestReplyNode::makeRequest() creates it. The thread of the node updates it with each
/// reply; several replies may arrive ("in progress", then "complete"). Thread-safe.
///
/// To wait for a reply, poll `received`. When it is true, clear it first and then read `reply`. In this order, no reply
/// is missed.
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

  void complete(DDSPtr<Rep> answer, const DDS_SampleInfo& info) {
    sampleInfo.set(info);
    reply.set(std::move(answer));
    received = true;
  }
};

}  // namespace TessivarDDS
