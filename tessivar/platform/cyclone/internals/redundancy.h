// SPDX-License-Identifier: Apache-2.0

// Sends the same packets through several networks, so that one network is enough.
//
// The engine's own RedundantNetworking is not used: version 0.10.2 chooses the addresses for a writer from a table with
// uninitialized fields, and then skips networks or never ends.
#pragma once

#include "tessivar/platform/cyclone/internals/internals.h"

#ifdef __cplusplus
extern "C" {
#endif

struct cyclone_redundancy;

/// Every packet that the domain sends through one of its networks is also sent through the others: a multicast packet
/// always, another packet if cyclone_add_host() has set the addresses of its receiver. To be called before the domain's
/// first participant is created. Returns null if the domain has only one network or memory is short.
struct cyclone_redundancy* cyclone_start_redundancy(struct ddsi_domaingv* gv);

/// Sets the addresses at which a remote participant receives. Does nothing if `redundancy` is null. Any thread may call
/// it.
void cyclone_add_host(struct cyclone_redundancy* redundancy, const struct cyclone_locator* locators, uint32_t count);

/// Frees `redundancy`. To be called after the domain has been deleted.
void cyclone_free_redundancy(struct cyclone_redundancy* redundancy);

#ifdef __cplusplus
}
#endif
