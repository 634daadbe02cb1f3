// SPDX-License-Identifier: Apache-2.0

// bench_engine participant|writer|reader|server|asker|router|controller|crowd NAME=VALUE…: one process of the bare
// engine. See roles.h.
#include "bench/engine/roles.h"

int main(int argc, char** argv) {
  using namespace tessivar::bench;
  return run_role(argc, argv,
                  {{"participant", run_participant},
                   {"writer", run_writer},
                   {"reader", run_reader},
                   {"server", run_server},
                   {"asker", run_asker},
                   {"router", run_router},
                   {"controller", run_controller},
                   {"crowd", run_crowd}});
}
