// SPDX-License-Identifier: Apache-2.0

// Sends packets through all networks. This is a C file because the engine's own headers do not compile as C++.
#define _GNU_SOURCE  // for calls_of_c.h

#include "tessivar/platform/cyclone/internals/redundancy.h"

#include "tessivar/platform/system/calls_of_c.h"

#include <dds/version.h>

#if TESSIVAR_ENGINE_INTERNALS

#include <stdlib.h>
#include <string.h>

#include <dds/ddsi/ddsi_domaingv.h>
#include <dds/ddsi/ddsi_ownip.h>
#include <dds/ddsi/ddsi_tran.h>

enum { ADDRESS_AT = 12, ADDRESS_SIZE = 4, HOSTS_MAX = 1024 };

// A host's address in each network, in the order of the domain's interfaces; 0: not known.
struct host {
  uint32_t addresses[MAX_XMIT_CONNS];
};

struct cyclone_redundancy {
  struct cyclone_redundancy* next;
  struct ddsi_domaingv* gv;
  int networks;
  ddsi_tran_write_fn_t write[MAX_XMIT_CONNS];  // the engine's own functions
  struct host hosts[HOSTS_MAX];                // if it is full, the oldest host is replaced
  unsigned host_count;
  unsigned next_host;
};

// Guards the list and its elements. The addresses of a packet are looked up with the lock shared; the packet is sent
// without the lock.
static tessivar_shared_lock lock = TESSIVAR_SHARED_LOCK;
static struct cyclone_redundancy* first;

static uint32_t to_address(const uint8_t octets[16]) {
  uint32_t address;
  memcpy(&address, octets + ADDRESS_AT, ADDRESS_SIZE);
  return address;
}

static bool is_multicast(const ddsi_locator_t* locator) {
  return (locator->address[ADDRESS_AT] & 0xf0) == 0xe0;
}

static struct host* find_host(struct cyclone_redundancy* redundancy, int network, uint32_t address) {
  for (unsigned i = 0; i < redundancy->host_count; i++)
    if (redundancy->hosts[i].addresses[network] == address) return &redundancy->hosts[i];
  return NULL;
}

// Finds the other addresses for a packet to `to` that is sent through `conn`. `others` receives one address for each
// network, 0 for none; `write` receives the domain's write functions; `own` receives the network of `conn`. Returns the
// number of networks, 0 if the domain is not known.
static int find_others(const struct ddsi_tran_conn* conn, const ddsi_locator_t* to, struct host* others,
                       ddsi_tran_write_fn_t write[MAX_XMIT_CONNS], int* own) {
  int networks = 0;
  tessivar_lock_shared(&lock);
  struct cyclone_redundancy* redundancy = first;
  while (redundancy != NULL && redundancy->gv != conn->m_base.gv) redundancy = redundancy->next;
  if (redundancy != NULL) {
    networks = redundancy->networks;
    memcpy(write, redundancy->write, sizeof redundancy->write);
    for (int i = 0; i < networks; i++)
      if (redundancy->gv->xmit_conns[i] == conn) *own = i;
    const uint32_t address = to_address(to->address);
    const struct host* host = is_multicast(to) ? NULL : find_host(redundancy, *own, address);
    for (int i = 0; i < networks; i++) {
      others->addresses[i] = host != NULL ? host->addresses[i] : 0;
      const struct nn_interface* interface = &redundancy->gv->interfaces[i];
      if (is_multicast(to) && interface->mc_capable && !interface->loopback) others->addresses[i] = address;
    }
    others->addresses[*own] = 0;
  }
  tessivar_unlock(&lock);
  return networks;
}

static ssize_t write_to_all(ddsi_tran_conn_t conn, const ddsi_locator_t* to, size_t count, const ddsrt_iovec_t* parts,
                            uint32_t flags) {
  struct host others;
  ddsi_tran_write_fn_t write[MAX_XMIT_CONNS];
  int own = 0;
  const int networks = find_others(conn, to, &others, write, &own);
  if (networks == 0) return -1;  // the domain is being deleted: nothing is sent any more
  ssize_t result = write[own](conn, to, count, parts, flags);
  for (int i = 0; i < networks; i++) {
    if (others.addresses[i] == 0) continue;
    ddsi_locator_t other = *to;
    memcpy(other.address + ADDRESS_AT, &others.addresses[i], ADDRESS_SIZE);
    const ssize_t written = write[i](conn->m_base.gv->xmit_conns[i], &other, count, parts, flags);
    if (result < 0) result = written;
  }
  return result;
}

struct cyclone_redundancy* cyclone_start_redundancy(struct ddsi_domaingv* gv) {
  int networks = 0;
  for (int i = 0; gv != NULL && i < gv->n_interfaces; i++)
    if (!gv->interfaces[i].loopback) networks++;
  if (networks < 2) return NULL;
  struct cyclone_redundancy* redundancy = calloc(1, sizeof *redundancy);
  if (redundancy == NULL) return NULL;
  redundancy->gv = gv;
  redundancy->networks = gv->n_interfaces;
  for (int i = 0; i < gv->n_interfaces; i++) redundancy->write[i] = gv->xmit_conns[i]->m_write_fn;
  tessivar_lock(&lock);
  redundancy->next = first;
  first = redundancy;
  tessivar_unlock(&lock);
  for (int i = 0; i < gv->n_interfaces; i++)
    __atomic_store_n(&gv->xmit_conns[i]->m_write_fn, write_to_all, __ATOMIC_RELEASE);
  return redundancy;
}

// Returns the network of an address, or -1. The loopback interface is ignored, because every host has its address.
static int network_of(const struct ddsi_domaingv* gv, uint32_t address) {
  for (int i = 0; i < gv->n_interfaces; i++) {
    if (gv->interfaces[i].loopback) continue;
    const uint32_t mask = to_address(gv->interfaces[i].netmask.address);
    if (((address ^ to_address(gv->interfaces[i].loc.address)) & mask) == 0) return i;
  }
  return -1;
}

void cyclone_add_host(struct cyclone_redundancy* redundancy, const struct cyclone_locator* locators, uint32_t count) {
  if (redundancy == NULL) return;
  struct host host = {{0}};
  for (uint32_t i = 0; i < count; i++) {
    // The port must be the same in all networks.
    if (locators[i].kind != NN_LOCATOR_KIND_UDPv4 || locators[i].port != locators[0].port) continue;
    const uint32_t address = to_address(locators[i].address);
    const int network = network_of(redundancy->gv, address);
    if (network >= 0) host.addresses[network] = address;
  }
  tessivar_lock(&lock);
  struct host* known = NULL;
  for (int i = 0; i < redundancy->networks && known == NULL; i++)
    if (host.addresses[i] != 0) known = find_host(redundancy, i, host.addresses[i]);
  if (known == NULL) {
    known = &redundancy->hosts[redundancy->next_host];
    redundancy->next_host = (redundancy->next_host + 1) % HOSTS_MAX;
    if (redundancy->host_count < HOSTS_MAX) redundancy->host_count++;
  }
  *known = host;
  tessivar_unlock(&lock);
}

void cyclone_free_redundancy(struct cyclone_redundancy* redundancy) {
  if (redundancy == NULL) return;
  tessivar_lock(&lock);
  struct cyclone_redundancy** link = &first;
  while (*link != redundancy) link = &(*link)->next;
  *link = redundancy->next;
  tessivar_unlock(&lock);
  free(redundancy);
}

#else  // the internals of the engine are not known

struct cyclone_redundancy* cyclone_start_redundancy(struct ddsi_domaingv* gv) {
  return (void)gv, NULL;
}
void cyclone_add_host(struct cyclone_redundancy* redundancy, const struct cyclone_locator* locators, uint32_t count) {
  (void)redundancy, (void)locators, (void)count;
}
void cyclone_free_redundancy(struct cyclone_redundancy* redundancy) {
  (void)redundancy;
}

#endif
