// SPDX-License-Identifier: Apache-2.0

// What a process of the bare engine can be in a benchmark. All take the options of Bus.
#pragma once

#include "bench/common/program.h"

namespace tessivar::bench {

/// Writes values. Options: "instances"; "batched" = 1. Commands: publish (see load.h), prime, match,
/// acknowledged (waits until the readers have all samples), memory.
int run_writer(const Options& options);

/// Receives values with a listener that takes them. Options: "late" = 1: it joins with the command "join";
/// "keep" = 1: it has no listener and keeps all values in its cache. Commands: match, begin, end, await (see load.h),
/// join, leave, memory.
int run_reader(const Options& options);

/// Is only a participant. Command: memory.
int run_participant(const Options& options);

/// Writes the ports and the routes of a router, with "ports" sources and destinations on each level. Command: prime.
int run_router(const Options& options);

/// Receives them with listeners. Commands: join, leave, begin, await (see load.h).
int run_controller(const Options& options);

/// "count" participants of one process, at most 32. Commands: join (answers the "seconds" until all have discovered
/// all), leave, memory.
int run_crowd(const Options& options);

/// Answers requests. Options: "wait" = 1: with a wait set and a thread instead of a listener. Command: memory.
int run_server(const Options& options);

/// Sends requests. Options: "wait" = 1: waits for replies with a wait set instead of a listener. Commands: match,
/// request (see load.h), memory.
int run_asker(const Options& options);

}  // namespace tessivar::bench
