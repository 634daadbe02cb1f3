// SPDX-License-Identifier: Apache-2.0

// bench_ours device|client|router|controller|crowd NAME=VALUE…: one process of this library. See roles.h.
#include "bench/ours/roles.h"
#include "tessivar/framework/log/readable_logger.h"

#include <cstdlib>

int main(int argc, char** argv) {
  using namespace tessivar::bench;
  setenv("DDS_ALLOWED_INTERFACES", "lo", 0);
  TessivarDDS::ReadableLogger::install();
  return run_role(argc, argv,
                  {{"device", run_device},
                   {"client", run_client},
                   {"router", run_router},
                   {"controller", run_controller},
                   {"crowd", run_crowd}});
}
