// Networks that carry the same packets, so that each of them is enough.
//
// The engine's own RedundantNetworking is not used: version 0.10.2 chooses the addresses for a writer from a table of
// which it leaves some fields uninitialized, and then skips networks or never ends.
#pragma once

#include "tessivar/platform/cyclone/internals/internals.h"

#ifdef __cplusplus
extern "C" {
#endif

struct cyclone_redundancy;

/// Every packet that the domain sends through one of its networks is sent through the others, too: a multicast packet
/// always, another one when cyclone_add_host() has told the addresses of its receiver. Before the first participant of
/// the domain. Null when the domain has one network or memory is short.
struct cyclone_redundancy* cyclone_start_redundancy(struct ddsi_domaingv* gv);

/// The addresses at which a remote participant receives. Nothing for a null `redundancy`. Any thread.
void cyclone_add_host(struct cyclone_redundancy* redundancy, const struct cyclone_locator* locators, uint32_t count);

/// Frees it; after the domain has been deleted.
void cyclone_free_redundancy(struct cyclone_redundancy* redundancy);

#ifdef __cplusplus
}
#endif
