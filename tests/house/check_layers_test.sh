#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
#
# Makes a tree that violates every rule of scripts/check-layers once, and expects that the script reports exactly these
# violations.
set -euo pipefail

check=$1
tree=$(mktemp -d)
trap 'rm -rf "$tree"' EXIT

put() { # put FILE LINE...
  mkdir -p "$tree/$(dirname "$1")"
  printf '%s\n' "${@:2}" >"$tree/$1"
}

# These includes are allowed.
put tessivar/tessivar.h '#include "tessivar/control/client.h"'
put tessivar/platform/system/osapi.cpp '#include "tessivar/platform/osapi.h"' '#include <pthread.h>' '#include <pugixml.hpp>'
put tessivar/platform/cyclone/engine.cpp '#include "tessivar/platform/cyclone/engine.h"' '#include <dds/dds.h>'
put tessivar/platform/cyclone/internals.c '#include <stdint.h>' '#include <dds/dds.h>'
put tessivar/platform/system/thread.cpp '#include <signal.h>' 'std::thread thread;' '  pthread_join(a, b);'
put tessivar/platform/reader/reader.cpp '#include <thread>' 'std::thread::id reader;' '#include <pugixml.hpp>'
put tessivar/types/command/command.cpp '#include "tessivar/platform/cdr.h"' '#include <vector>'
put tessivar/framework/log/logger.cpp '#include "tessivar/types/command/command.h"' '  #  include <string>'
put tessivar/routing/client.cpp '#include "tessivar/framework/log/logger.h"'
put tessivar/framework/log/logger.h '#include "tessivar/framework/log/detail/line.h"'
put tessivar/control/client.cpp '#include "tessivar/control/internal/interests.h"'
put tests/platform/cyclone/engine_test.cpp '#include <dds/dds.h>' '#include <gtest/gtest.h>' '#include "helper.h"'
put bench/ours/client.cpp '#include "tessivar/tessivar.h"' '#include "bench/common/load.h"' '#include <sys/socket.h>'
put bench/engine/writer.cpp '#include <dds/dds.h>' 'const char* cyclone;'
"$check" "$tree" || {
  echo "an allowed include was refused"
  exit 1
}

put tessivar/platform/a.cpp '' '#include "tessivar/types/command/command.h"'
put tessivar/platform/b.cpp '#include <dds/dds.h>'
put tessivar/platform/c.cpp '#include "tessivar/platform/cyclone/engine.h"'
put tessivar/types/d.h '#include "tessivar/framework/log/logger.h"'
put tessivar/framework/e.cpp '#include <unistd.h>'
put tessivar/framework/f.cpp '#include "tessivar/control/client.h"'
put tessivar/control/g.cpp '#include "tessivar/routing/client.h"'
put tessivar/control/h.cpp '#include "tessivar/tessivar.h"'
put tessivar/control/i.cpp '#include "client.h"'
put tessivar/control/j.cpp '#include <tessivar/control/client.h>'
put tessivar/cellar/k.cpp '// empty'
put tessivar/control/l.cpp '#include HEADER'
put examples/m.cpp '#include <pthread.h>'
put examples/n.cpp '#include <dds/dds.h>'
put examples/o.cpp '#include <pugixml.hpp>'
put tessivar/control/r.h '' '#include "tessivar/control/internal/interests.h"'
put tessivar/platform/detail/s.h '#include "tessivar/platform/reader/cache.h"'
put tessivar/framework/log/t.h '#include "tessivar/platform/engine/engine.h"'
put tessivar/control/u.cpp "$(yes '//' | head -n 501)"
put tessivar/platform/v.cpp '#include <unistd.h>' '#include <sys/socket.h>' '#include <cstdio>'
put tessivar/platform/cyclone/w.c '#include <pthread.h>'
put tessivar/platform/writer/x.cpp '  std::thread thread_;' '  clock_gettime(CLOCK_REALTIME, &now);'
for i in {1..41}; do put "tessivar/control/full/v$i.cpp" '//'; done
put tests/control/p_test.cpp '#include "tessivar/platform/cyclone/engine.h"'
put tests/control/q_test.cpp '#include <dds/dds.h>'
put tests/platform/w_test.cpp '// Cyclone' 'cyclone::start();'
put bench/ours/y.cpp '#include <dds/dds.h>' '#include "tessivar/platform/reader/cache.h"' '#include "tessivar/types/core/detail/z.h"'
put bench/engine/z.cpp '#include "tessivar/platform/qos.h"'

expected='bench/engine/z.cpp:1
bench/ours/y.cpp:1
bench/ours/y.cpp:2
bench/ours/y.cpp:3
examples/m.cpp:1
examples/n.cpp:1
examples/o.cpp:1
tessivar/cellar/k.cpp:1
tessivar/control/full:0
tessivar/control/g.cpp:1
tessivar/control/h.cpp:1
tessivar/control/i.cpp:1
tessivar/control/j.cpp:1
tessivar/control/l.cpp:1
tessivar/control/r.h:2
tessivar/control/u.cpp:501
tessivar/framework/e.cpp:1
tessivar/framework/f.cpp:1
tessivar/framework/log/t.h:1
tessivar/platform/a.cpp:2
tessivar/platform/b.cpp:1
tessivar/platform/c.cpp:1
tessivar/platform/cyclone/w.c:1
tessivar/platform/detail/s.h:1
tessivar/platform/v.cpp:1
tessivar/platform/v.cpp:2
tessivar/platform/writer/x.cpp:1
tessivar/platform/writer/x.cpp:2
tessivar/types/d.h:1
tests/control/p_test.cpp:1
tests/control/q_test.cpp:1
tests/platform/w_test.cpp:2'

if said=$("$check" "$tree"); then
  echo "a tree full of breaks passed"
  exit 1
fi
found=$(printf '%s\n' "$said" | cut -d: -f1,2 | LC_ALL=C sort)
diff <(printf '%s\n' "$expected") <(printf '%s\n' "$found")
