// SPDX-License-Identifier: Apache-2.0

// The explicit instances of the runner template that the library contains, so that applications do not compile them.
#pragma once

#include "tessivar/framework/waitset/wait_set_thread_runner.h"
#include "tessivar/types/command/command.h"
#include "tessivar/types/routing/routing.h"

/// `prefix` is `extern template` or `template`.
#define TESSIVAR_RUNNER_INSTANCES(prefix)                                            \
  prefix class WaitSetThreadRunner<Tessivar::Unit>;                                  \
  prefix class WaitSetThreadRunner<Tessivar::Command>;                               \
  prefix class WaitSetThreadRunner<Tessivar::CommandMetadata>;                       \
  prefix class WaitSetThreadRunner<Tessivar::CommandInterest>;                       \
  prefix class WaitSetThreadRunner<Tessivar::CommandChangeRequest>;                  \
  prefix class WaitSetThreadRunner<Tessivar::CommandChangeReply>;                    \
  prefix class WaitSetThreadRunner<Tessivar_Routing::Router>;                        \
  prefix class WaitSetThreadRunner<Tessivar_Routing::Source>;                        \
  prefix class WaitSetThreadRunner<Tessivar_Routing::Destination>;                   \
  prefix class WaitSetThreadRunner<Tessivar_Routing::Association>;                   \
  prefix class WaitSetThreadRunner<Tessivar_Routing::AssociationRoute>;              \
  prefix class WaitSetThreadRunner<Tessivar_Routing::AssociationRouteChangeRequest>; \
  prefix class WaitSetThreadRunner<Tessivar_Routing::AssociationRouteChangeReply>;   \
  prefix class WaitSetThreadRunner<Tessivar_Routing::DestinationChangeRequest>;      \
  prefix class WaitSetThreadRunner<Tessivar_Routing::DestinationChangeReply>;

namespace TessivarDDS {

TESSIVAR_RUNNER_INSTANCES(extern template)

}  // namespace TessivarDDS
