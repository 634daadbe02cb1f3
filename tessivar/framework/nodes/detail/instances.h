// SPDX-License-Identifier: Apache-2.0

// The explicit instances of the node templates that the library contains, so that applications do not compile them.
#pragma once

#include "tessivar/framework/nodes/dds_router_node.h"
#include "tessivar/types/command/command.h"
#include "tessivar/types/routing/routing.h"

/// The nodes of type T. `prefix` is `extern template` or `template`.
#define TESSIVAR_NODE_INSTANCE(prefix, T) \
  prefix class DDSNode<T>;                \
  prefix class DDSFilteredNode<T>;

#define TESSIVAR_COMMAND_NODES(prefix)                           \
  TESSIVAR_NODE_INSTANCE(prefix, Tessivar::Unit)                 \
  TESSIVAR_NODE_INSTANCE(prefix, Tessivar::Command)              \
  TESSIVAR_NODE_INSTANCE(prefix, Tessivar::CommandMetadata)      \
  TESSIVAR_NODE_INSTANCE(prefix, Tessivar::CommandInterest)      \
  TESSIVAR_NODE_INSTANCE(prefix, Tessivar::CommandChangeRequest) \
  TESSIVAR_NODE_INSTANCE(prefix, Tessivar::CommandChangeReply)

#define TESSIVAR_ROUTING_NODES(prefix)                                            \
  TESSIVAR_NODE_INSTANCE(prefix, Tessivar_Routing::Router)                        \
  TESSIVAR_NODE_INSTANCE(prefix, Tessivar_Routing::Source)                        \
  TESSIVAR_NODE_INSTANCE(prefix, Tessivar_Routing::Destination)                   \
  TESSIVAR_NODE_INSTANCE(prefix, Tessivar_Routing::Association)                   \
  TESSIVAR_NODE_INSTANCE(prefix, Tessivar_Routing::AssociationRoute)              \
  TESSIVAR_NODE_INSTANCE(prefix, Tessivar_Routing::AssociationRouteChangeRequest) \
  TESSIVAR_NODE_INSTANCE(prefix, Tessivar_Routing::AssociationRouteChangeReply)   \
  TESSIVAR_NODE_INSTANCE(prefix, Tessivar_Routing::DestinationChangeRequest)      \
  TESSIVAR_NODE_INSTANCE(prefix, Tessivar_Routing::DestinationChangeReply)        \
  prefix class DDSRouterNode<Tessivar_Routing::Source>;                           \
  prefix class DDSRouterNode<Tessivar_Routing::Destination>;                      \
  prefix class DDSRouterNode<Tessivar_Routing::Association>;

namespace TessivarDDS {

TESSIVAR_COMMAND_NODES(extern template)
TESSIVAR_ROUTING_NODES(extern template)

}  // namespace TessivarDDS
