// SPDX-License-Identifier: Apache-2.0

// What a process of this library can be in a benchmark.
#pragma once

#include "bench/common/program.h"
#include "tessivar/framework/address/address_ex.h"

namespace tessivar::bench {

/// A device. Options: "domain"; "instances", the number of its commands; "profiles" = 1 takes QoS from profiles.
/// Commands: publish (see load.h), prime (publishes every command once), memory.
int run_device(const Options& options);

/// A controller. Options: "domain"; "late" = 1: it joins with the command "join"; "units" = N: it registers interest in
/// the first N units; "profiles" = 1. Commands: match, begin, end, await (see load.h), request (see load.h; "wait" = 1
/// uses setCommand), join, leave, interest and forget (register and remove interest in the unit "unit"), memory.
int run_client(const Options& options);

/// A router with "ports" sources and destinations on each level. Options: "domain". Command: prime (publishes them and
/// the routes).
int run_router(const Options& options);

/// A controller of that router. Options: "domain". Commands: join, leave, begin, await (see load.h).
int run_controller(const Options& options);

/// "count" participants of one process. Options: "domain". Commands: join (answers the "seconds" until all have
/// discovered all), leave, memory.
int run_crowd(const Options& options);

/// Returns the address of a unit of the device.
inline TessivarDDS::AddressEx unit_address(unsigned unit) {
  return TessivarDDS::AddressEx(1, unit / 200 + 1, unit % 200 + 1);
}

}  // namespace tessivar::bench
