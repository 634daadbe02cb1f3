// SPDX-License-Identifier: Apache-2.0

// The explicit instances of the request/reply templates that the library contains, so that applications do not compile
// them.
#pragma once

#include "tessivar/framework/nodes/detail/instances.h"
#include "tessivar/framework/requestreply/dds_request_reply.h"
#include "tessivar/framework/waitset/detail/instances.h"

/// All templates for one combination of value, request and reply. `prefix` is `extern template` or `template`.
#define TESSIVAR_REQUEST_REPLY_INSTANCE(prefix, Value, Req, Rep)        \
  prefix class GuidContentFilter<Rep>;                                  \
  prefix class DataWriterCoreListener<Req, Rep>;                        \
  prefix class DataReaderCoreListener<Req, Rep>;                        \
  prefix class RequestReplyClientListener<Value>;                       \
  prefix class RequestReplyServerListener<Req, Rep>;                    \
  prefix class RequestReplyCoreWaitsetThreadRunner<Req, Req, Rep>;      \
  prefix class RequestReplyCoreWaitsetThreadRunner<Rep, Req, Rep>;      \
  prefix class RequestReplyWaitsetThreadRunner<Value, Value, Req, Rep>; \
  prefix class DDSRequestReplyNode<Req, Rep>;                           \
  prefix class DDSRequestReply<Value, Req, Rep>;

#define TESSIVAR_COMMAND_EXCHANGE(prefix)                                                    \
  TESSIVAR_REQUEST_REPLY_INSTANCE(prefix, Tessivar::Command, Tessivar::CommandChangeRequest, \
                                  Tessivar::CommandChangeReply)
#define TESSIVAR_ROUTE_EXCHANGE(prefix)                                            \
  TESSIVAR_REQUEST_REPLY_INSTANCE(prefix, Tessivar_Routing::AssociationRoute,      \
                                  Tessivar_Routing::AssociationRouteChangeRequest, \
                                  Tessivar_Routing::AssociationRouteChangeReply)
#define TESSIVAR_PROTECT_EXCHANGE(prefix)                                                                            \
  TESSIVAR_REQUEST_REPLY_INSTANCE(prefix, Tessivar_Routing::Destination, Tessivar_Routing::DestinationChangeRequest, \
                                  Tessivar_Routing::DestinationChangeReply)

namespace TessivarDDS {

TESSIVAR_COMMAND_EXCHANGE(extern template)
TESSIVAR_ROUTE_EXCHANGE(extern template)
TESSIVAR_PROTECT_EXCHANGE(extern template)

}  // namespace TessivarDDS
