// SPDX-License-Identifier: Apache-2.0

// Access to the engine's internals. This is a C file because the engine's own headers do not compile as C++.
#define _GNU_SOURCE  // for calls_of_c.h

#include "tessivar/platform/cyclone/internals/internals.h"

#include "tessivar/platform/system/calls_of_c.h"

#include <dds/dds.h>
#include <dds/version.h>

#if TESSIVAR_ENGINE_INTERNALS

#include <stdatomic.h>
#include <stdlib.h>
#include <string.h>

// The engine's headers depend on each other in this order.
// clang-format off
#include <dds/ddsi/ddsi_domaingv.h>
#include <dds/ddsi/ddsi_guid.h>
#include <dds/ddsi/ddsi_entity.h>
#include <dds/ddsi/ddsi_endpoint.h>
#include <dds/ddsi/ddsi_entity_index.h>
#include <dds/ddsi/ddsi_entity_match.h>
#include <dds/ddsi/ddsi_participant.h>
#include <dds/ddsi/ddsi_proxy_endpoint.h>
#include <dds/ddsi/ddsi_proxy_participant.h>
#include <dds/ddsi/ddsi_builtin_topic_if.h>
#include <dds/ddsi/ddsi_ownip.h>
#include <dds/ddsi/ddsi_portmapping.h>
#include <dds/ddsi/ddsi_tran.h>
#include <dds/ddsi/q_addrset.h>
#include <dds/ddsi/q_bswap.h>
#include <dds/ddsi/q_thread.h>
#include <dds/ddsi/q_xevent.h>
// clang-format on

_Static_assert(CYCLONE_INTERFACES_MAX == MAX_XMIT_CONNS, "the engine has another limit");

// All versions 0.10.x have the same library name. The structures changed in 0.10.4, which also added the function
// dds_qset_writer_batching(). Returns true if the library at run time has the same structures as the headers.
static bool fits_headers(void) {
  static atomic_int known;  // 0: not known yet, 1: fits, 2: does not fit
  if (known == 0) {
    const bool has_writer_batching = tessivar_has_symbol("dds_qset_writer_batching");
    known = has_writer_batching == (DDS_VERSION_PATCH >= 4) ? 1 : 2;
  }
  return known == 1;
}

struct ddsi_domaingv* cyclone_internals_of(uint32_t internal_id, uint32_t domain_id, int64_t lease_duration,
                                           int64_t announcement_period) {
  if (!fits_headers()) return NULL;
  struct ddsi_domaingv* gv = ddsrt_atomic_ldvoidp(&lookup_thread_state()->gv);
  if (gv == NULL || gv->config.domainId != internal_id || gv->config.extDomainId.value != domain_id) return NULL;
  // If the library had other structures than the headers, these members would be in other places.
  if (lease_duration > 0 && gv->config.lease_duration != lease_duration) return NULL;
  if (announcement_period > 0 && gv->config.spdp_interval != announcement_period) return NULL;
  return gv;
}

struct ddsi_domaingv* cyclone_thread_domain(void) {
  return fits_headers() ? ddsrt_atomic_ldvoidp(&lookup_thread_state()->gv) : NULL;
}

void cyclone_set_thread_domain(struct ddsi_domaingv* gv) {
  if (gv == NULL) return;
  ddsrt_atomic_stvoidp(&lookup_thread_state()->gv, gv);
  ddsrt_atomic_fence();
}

static void close_on_exec(struct ddsi_tran_conn* connection) {
  if (connection != NULL) tessivar_close_on_exec(ddsi_conn_handle(connection));
}

void cyclone_close_sockets_on_exec(struct ddsi_domaingv* gv) {
  // The engine itself sets the flag for the other descriptors, which wake its threads.
  struct ddsi_tran_conn* const connections[] = {gv->disc_conn_mc, gv->data_conn_mc, gv->disc_conn_uc, gv->data_conn_uc};
  for (size_t i = 0; i < sizeof connections / sizeof connections[0]; i++) close_on_exec(connections[i]);
  for (size_t i = 0; i < MAX_XMIT_CONNS; i++) close_on_exec(gv->xmit_conns[i]);
}

static ddsi_guid_t to_guid(const uint8_t octets[16]) {
  ddsi_guid_t guid;
  memcpy(&guid, octets, sizeof guid);
  return nn_ntoh_guid(guid);
}

static void from_guid(uint8_t octets[16], const ddsi_guid_t* guid) {
  const ddsi_guid_t swapped = nn_hton_guid(*guid);
  memcpy(octets, &swapped, sizeof swapped);
}

int cyclone_participant_index(const struct ddsi_domaingv* gv) {
  const struct ddsi_portmapping* ports = &gv->config.ports;
  const uint32_t first = ports->base + ports->dg * gv->config.extDomainId.value + ports->d1;
  const uint32_t port = gv->loc_meta_uc.port;
  return ports->pg == 0 || port < first ? -1 : (int)((port - first) / ports->pg);
}

uint32_t cyclone_interfaces(const struct ddsi_domaingv* gv,
                            struct cyclone_interface interfaces[CYCLONE_INTERFACES_MAX]) {
  const uint32_t count = (uint32_t)gv->n_interfaces;
  for (uint32_t i = 0; i < count; i++) {
    const struct nn_interface* from = &gv->interfaces[i];
    interfaces[i].name = from->name;
    memcpy(interfaces[i].address, from->loc.address + sizeof from->loc.address - sizeof interfaces[i].address,
           sizeof interfaces[i].address);
  }
  return count;
}

void cyclone_set_batching(struct ddsi_domaingv* gv, bool enable) {
  gv->config.whc_batch = enable;
}

bool cyclone_add_propagated_property(struct dds_qos* qos, const char* name, const char* value) {
  return ddsi_xqos_add_property_if_unset(qos, true, name, value);
}

// --- history ---------------------------------------------------------------------------------------------------------

// Returns true if the reader still lacks samples that this writer holds for late joiners. The engine holds the writer's
// lock when it marks a reader as in sync with the writer, and when it adds the samples to the cache.
static bool catching_up(struct ddsi_domaingv* gv, const ddsi_guid_t* writer_guid, const ddsi_guid_t* reader_guid) {
  struct ddsi_proxy_writer* writer = entidx_lookup_proxy_writer_guid(gv->entity_index, writer_guid);
  if (writer == NULL) return false;
  ddsrt_mutex_lock(&writer->e.lock);
  const bool keeps_history = writer->c.xqos->durability.kind >= DDS_DURABILITY_TRANSIENT_LOCAL &&
                             writer->c.xqos->reliability.kind == DDS_RELIABILITY_RELIABLE;
  const struct ddsi_pwr_rd_match* match = ddsrt_avl_lookup(&ddsi_pwr_readers_treedef, &writer->readers, reader_guid);
  const bool result = keeps_history && match != NULL && match->in_sync != PRMSS_SYNC;
  ddsrt_mutex_unlock(&writer->e.lock);
  return result;
}

enum cyclone_history cyclone_history_state(struct ddsi_domaingv* gv, const uint8_t reader_guid[16]) {
  const ddsi_guid_t guid = to_guid(reader_guid);
  struct thread_state* thread = lookup_thread_state();
  enum cyclone_history result = CYCLONE_HISTORY_COMPLETE;
  thread_state_awake(thread, gv);
  struct ddsi_reader* reader = entidx_lookup_reader_guid(gv->entity_index, &guid);
  if (reader == NULL) {
    result = CYCLONE_HISTORY_NO_READER;
  } else if (reader->handle_as_transient_local) {
    // A writer's lock must be taken before a reader's lock. So the writers are checked one by one while the reader is
    // unlocked.
    ddsi_guid_t last;
    memset(&last, 0, sizeof last);
    for (;;) {
      ddsrt_mutex_lock(&reader->e.lock);
      const struct ddsi_rd_pwr_match* match = ddsrt_avl_lookup_succ(&ddsi_rd_writers_treedef, &reader->writers, &last);
      if (match != NULL) last = match->pwr_guid;
      ddsrt_mutex_unlock(&reader->e.lock);
      if (match == NULL) break;
      if (catching_up(gv, &last, &guid)) {
        result = CYCLONE_HISTORY_PENDING;
        break;
      }
    }
  }
  thread_state_asleep(thread);
  return result;
}

// --- peers -----------------------------------------------------------------------------------------------------------

typedef void (*peer_action)(struct ddsi_domaingv* gv, const ddsi_locator_t* locator);

static bool for_each_port(struct ddsi_domaingv* gv, const char* address, peer_action action) {
  ddsi_locator_t locator;
  if (ddsi_locator_from_string(gv, &locator, address, gv->m_factory) != AFSR_OK) return false;
  if (locator.port != NN_LOCATOR_PORT_INVALID) {
    action(gv, &locator);
    return true;
  }
  const struct ddsi_portmapping* ports = &gv->config.ports;
  for (uint32_t index = 0; index <= (uint32_t)gv->config.maxAutoParticipantIndex; index++) {
    locator.port = ports->base + ports->dg * gv->config.extDomainId.value + index * ports->pg + ports->d1;
    action(gv, &locator);
  }
  return true;
}

static void add_locator(struct ddsi_domaingv* gv, const ddsi_locator_t* locator) {
  add_locator_to_addrset(gv, gv->as_disc, locator);
}

struct same_locators {
  const ddsi_locator_t* locator;
  ddsi_xlocator_t found[MAX_XMIT_CONNS];
  unsigned count;
};

static void note_same_locator(const ddsi_xlocator_t* candidate, void* arg) {
  struct same_locators* same = arg;
  const ddsi_locator_t* locator = same->locator;
  if (candidate->c.kind == locator->kind && candidate->c.port == locator->port &&
      memcmp(candidate->c.address, locator->address, sizeof locator->address) == 0 && same->count < MAX_XMIT_CONNS)
    same->found[same->count++] = *candidate;
}

// The set holds one entry for each interface from which the address is reached.
static void remove_locator(struct ddsi_domaingv* gv, const ddsi_locator_t* locator) {
  struct same_locators same = {.locator = locator, .count = 0};
  addrset_forall(gv->as_disc, note_same_locator, &same);
  for (unsigned i = 0; i < same.count; i++) remove_from_addrset(gv, gv->as_disc, &same.found[i]);
}

bool cyclone_add_peer(struct ddsi_domaingv* gv, const char* address) {
  return for_each_port(gv, address, add_locator);
}

bool cyclone_remove_peer(struct ddsi_domaingv* gv, const char* address) {
  return for_each_port(gv, address, remove_locator);
}

void cyclone_announce(struct ddsi_domaingv* gv, const uint8_t participant_guid[16]) {
  const ddsi_guid_t guid = to_guid(participant_guid);
  struct thread_state* thread = lookup_thread_state();
  thread_state_awake(thread, gv);
  struct ddsi_participant* participant = entidx_lookup_participant_guid(gv->entity_index, &guid);
  if (participant != NULL) (void)resched_xevent_if_earlier(participant->spdp_xevent, ddsrt_time_monotonic());
  thread_state_asleep(thread);
}

// --- remote participants ---------------------------------------------------------------------------------------------

bool cyclone_drop_participant(struct ddsi_domaingv* gv, const uint8_t octets[16]) {
  const ddsi_guid_t guid = to_guid(octets);
  struct thread_state* thread = lookup_thread_state();
  thread_state_awake(thread, gv);
  const int result = ddsi_delete_proxy_participant_by_guid(gv, &guid, ddsrt_time_wallclock(), 1);
  thread_state_asleep(thread);
  return result == 0;
}

enum { GUID_PREFIX_SIZE = 12, FAREWELL_SIZE = 20 + 16 + 64 };

// Writes the message that announces the end of a participant (DDSI-RTPS 2.3, 8.5.3.2 and 9.4.5.3), little-endian, for
// one receiver.
static void write_farewell(uint8_t message[FAREWELL_SIZE], const uint8_t own_guid[16], const uint8_t guid[16]) {
  static const uint8_t header[] = {'R', 'T', 'P', 'S', 2, 1, 1, 0x10};
  static const uint8_t info_destination[] = {0x0e, 0x01, GUID_PREFIX_SIZE, 0};
  static const uint8_t data[] = {0x15, 0x0b, 60, 0,  // DATA with inline QoS and a key
                                 0,    0,    16, 0,    0, 1, 0, 0xc7,
                                 0,    1,    0,  0xc2,              // from participant announcer to detector
                                 0,    0,    0,  0,    1, 0, 0, 0,  // sequence number
                                 0x71, 0,    4,  0,    0, 0, 0, 3,  // status: disposed and unregistered
                                 1,    0,    0,  0,    0, 3, 0, 0,  // parameter list
                                 0x50, 0,    16, 0};                // participant GUID
  static const uint8_t end[] = {1, 0, 0, 0};
  const struct {
    const uint8_t* octets;
    size_t size;
  } parts[] = {{header, sizeof header},  {own_guid, GUID_PREFIX_SIZE}, {info_destination, sizeof info_destination},
               {guid, GUID_PREFIX_SIZE}, {data, sizeof data},          {own_guid, 16},
               {end, sizeof end}};
  for (size_t i = 0; i < sizeof parts / sizeof parts[0]; i++) {
    memcpy(message, parts[i].octets, parts[i].size);
    message += parts[i].size;
  }
}

struct cyclone_farewell {
  struct addrset* addresses;
  uint8_t message[FAREWELL_SIZE];
};

static struct cyclone_farewell* new_farewell(const struct ddsi_proxy_participant* to, const uint8_t own_octets[16],
                                             const uint8_t octets[16]) {
  struct cyclone_farewell* farewell = malloc(sizeof *farewell);
  if (farewell == NULL) return NULL;
  write_farewell(farewell->message, own_octets, octets);
  farewell->addresses = ref_addrset(to->as_meta);
  return farewell;
}

struct cyclone_farewell* cyclone_drop_with_farewell(struct ddsi_domaingv* gv, const uint8_t own_octets[16],
                                                    const uint8_t octets[16]) {
  const ddsi_guid_t guid = to_guid(octets);
  struct cyclone_farewell* farewell = NULL;
  struct thread_state* thread = lookup_thread_state();
  thread_state_awake(thread, gv);
  const struct ddsi_proxy_participant* participant = entidx_lookup_proxy_participant_guid(gv->entity_index, &guid);
  if (participant != NULL) {
    farewell = new_farewell(participant, own_octets, octets);
    (void)ddsi_delete_proxy_participant_by_guid(gv, &guid, ddsrt_time_wallclock(), 1);
  }
  thread_state_asleep(thread);
  return farewell;
}

struct cyclone_farewell* cyclone_new_farewell(const struct cyclone_participant* to, const uint8_t own_guid[16]) {
  return new_farewell(to->entity, own_guid, to->guid);
}

static void send_farewell(const ddsi_xlocator_t* to, void* message) {
  const ddsrt_iovec_t vector = {.iov_base = message, .iov_len = FAREWELL_SIZE};
  (void)ddsi_conn_write(to->conn, &to->c, 1, &vector, 0);
}

void cyclone_send_farewell(struct ddsi_domaingv* gv, struct cyclone_farewell* farewell) {
  struct thread_state* thread = lookup_thread_state();
  thread_state_awake(thread, gv);
  addrset_forall(farewell->addresses, send_farewell, farewell->message);
  thread_state_asleep(thread);
}

void cyclone_free_farewell(struct cyclone_farewell* farewell) {
  if (farewell != NULL) unref_addrset(farewell->addresses);
  free(farewell);
}

// Replaces the engine's own interface, which the engine calls for every entity that is created or deleted.
struct cyclone_watch {
  struct ddsi_builtin_topic_interface replacement;  // first: the engine's pointer is cast back
  const struct ddsi_builtin_topic_interface* original;
  struct cyclone_watcher watcher;
};

static void describe(struct cyclone_participant* to, const struct ddsi_proxy_participant* from) {
  const ddsi_plist_t* plist = from->plist;
  memset(to, 0, sizeof *to);
  to->entity = from;
  from_guid(to->guid, &from->e.guid);
  if (plist->qos.present & QP_USER_DATA) {
    to->user_data = plist->qos.user_data.value;
    to->user_data_size = plist->qos.user_data.length;
  }
  if (plist->qos.present & QP_ENTITY_NAME) to->name = plist->qos.entity_name;
  if (!(plist->present & PP_DEFAULT_UNICAST_LOCATOR)) return;
  for (const struct nn_locators_one* one = plist->default_unicast_locators.first;
       one != NULL && to->locator_count < CYCLONE_LOCATORS_MAX; one = one->next) {
    struct cyclone_locator* locator = &to->locators[to->locator_count++];
    locator->kind = one->loc.kind;
    locator->port = one->loc.port;
    memcpy(locator->address, one->loc.address, sizeof locator->address);
  }
}

static bool call_alive(const struct cyclone_watcher* watcher, const struct ddsi_proxy_participant* from, bool locked) {
  struct cyclone_participant participant;
  describe(&participant, from);
  const dds_qos_t* qos = &from->plist->qos;
  const uint32_t count = qos->present & QP_PROPERTY_LIST ? qos->property.value.n : 0;
  struct cyclone_property* properties = count > 0 ? malloc(count * sizeof *properties) : NULL;
  if (properties != NULL) {
    for (uint32_t i = 0; i < count; i++) {
      properties[i].name = qos->property.value.props[i].name;
      properties[i].value = qos->property.value.props[i].value;
    }
    participant.properties = properties;
    participant.property_count = count;
  }
  const bool drop = watcher->alive(watcher->context, &participant, locked);
  free(properties);
  return drop;
}

// Returns true if the lock of the entity is held. The lock of a new participant is free. If a participant or a part of
// it has changed, this thread holds its lock.
static bool is_locked(const struct ddsi_entity_common* entity) {
  ddsrt_mutex_t* lock = (ddsrt_mutex_t*)&entity->lock;
  if (!ddsrt_mutex_trylock(lock)) return true;
  ddsrt_mutex_unlock(lock);
  return false;
}

// The engine announces an endpoint internally in two steps. If another thread deletes the endpoint between the steps,
// the process crashes. The engine holds the endpoint's lock during both steps, so the thread that deletes waits here
// for that lock. The wait is limited: samples are delivered under that lock, and their receivers may wait for locks
// that this thread holds.
static void await_insertion(const struct ddsi_entity_common* entity) {
  for (int i = 0; i < 100 && is_locked(entity); i++) dds_sleepfor(DDS_MSECS(1));
}

static void write_endpoint(const struct ddsi_entity_common* entity, ddsrt_wctime_t timestamp, bool alive, void* arg) {
  const struct cyclone_watch* watch =
      (const struct cyclone_watch*)__atomic_load_n(&entity->gv->builtin_topic_interface, __ATOMIC_ACQUIRE);
  watch->original->builtintopic_write_endpoint(entity, timestamp, alive, arg);
  if (!alive && (entity->kind == DDSI_EK_PROXY_READER || entity->kind == DDSI_EK_PROXY_WRITER)) await_insertion(entity);
  if (entity->kind != DDSI_EK_PROXY_PARTICIPANT) return;
  if (!alive) {
    uint8_t octets[16];
    from_guid(octets, &entity->guid);
    watch->watcher.gone(watch->watcher.context, octets);
    return;
  }
  const bool locked = is_locked(entity);
  if (!call_alive(&watch->watcher, (const struct ddsi_proxy_participant*)entity, locked) || locked) return;
  // Only this thread handles announcements of participants and endpoints, so no endpoint of the participant is known
  // yet.
  const ddsi_guid_t guid = entity->guid;
  (void)ddsi_delete_proxy_participant_by_guid(entity->gv, &guid, timestamp, 1);
}

struct cyclone_watch* cyclone_start_watch(struct ddsi_domaingv* gv, const struct cyclone_watcher* watcher) {
  struct cyclone_watch* watch = malloc(sizeof *watch);
  if (watch == NULL) return NULL;
  watch->original = gv->builtin_topic_interface;
  watch->replacement = *watch->original;
  watch->replacement.builtintopic_write_endpoint = write_endpoint;
  watch->watcher = *watcher;
  // The engine's threads already run and may read the pointer at any time.
  __atomic_store_n(&gv->builtin_topic_interface, &watch->replacement, __ATOMIC_RELEASE);
  return watch;
}

void cyclone_free_watch(struct cyclone_watch* watch) {
  free(watch);
}

void cyclone_report_participant(struct ddsi_domaingv* gv, const uint8_t octets[16],
                                const struct cyclone_watcher* watcher) {
  const ddsi_guid_t guid = to_guid(octets);
  struct thread_state* thread = lookup_thread_state();
  thread_state_awake(thread, gv);
  struct ddsi_proxy_participant* participant = entidx_lookup_proxy_participant_guid(gv->entity_index, &guid);
  if (participant != NULL) {
    ddsrt_mutex_lock(&participant->e.lock);
    (void)call_alive(watcher, participant, true);
    ddsrt_mutex_unlock(&participant->e.lock);
  }
  thread_state_asleep(thread);
}

#else  // the internals of the engine are not known

struct ddsi_domaingv* cyclone_internals_of(uint32_t internal_id, uint32_t domain_id, int64_t lease_duration,
                                           int64_t announcement_period) {
  (void)internal_id, (void)domain_id, (void)lease_duration, (void)announcement_period;
  return NULL;
}

struct ddsi_domaingv* cyclone_thread_domain(void) {
  return NULL;
}
void cyclone_set_thread_domain(struct ddsi_domaingv* gv) {
  (void)gv;
}
void cyclone_close_sockets_on_exec(struct ddsi_domaingv* gv) {
  (void)gv;
}
int cyclone_participant_index(const struct ddsi_domaingv* gv) {
  return (void)gv, -1;
}
uint32_t cyclone_interfaces(const struct ddsi_domaingv* gv,
                            struct cyclone_interface interfaces[CYCLONE_INTERFACES_MAX]) {
  return (void)gv, (void)interfaces, 0;
}
void cyclone_set_batching(struct ddsi_domaingv* gv, bool enable) {
  (void)gv, (void)enable;
}
bool cyclone_add_propagated_property(struct dds_qos* qos, const char* name, const char* value) {
  return (void)qos, (void)name, (void)value, false;
}
enum cyclone_history cyclone_history_state(struct ddsi_domaingv* gv, const uint8_t reader_guid[16]) {
  return (void)gv, (void)reader_guid, CYCLONE_HISTORY_NO_READER;
}
bool cyclone_add_peer(struct ddsi_domaingv* gv, const char* address) {
  return (void)gv, (void)address, false;
}
bool cyclone_remove_peer(struct ddsi_domaingv* gv, const char* address) {
  return (void)gv, (void)address, false;
}
void cyclone_announce(struct ddsi_domaingv* gv, const uint8_t participant_guid[16]) {
  (void)gv, (void)participant_guid;
}
bool cyclone_drop_participant(struct ddsi_domaingv* gv, const uint8_t guid[16]) {
  return (void)gv, (void)guid, false;
}
struct cyclone_farewell* cyclone_drop_with_farewell(struct ddsi_domaingv* gv, const uint8_t own_guid[16],
                                                    const uint8_t guid[16]) {
  return (void)gv, (void)own_guid, (void)guid, NULL;
}
struct cyclone_farewell* cyclone_new_farewell(const struct cyclone_participant* to, const uint8_t own_guid[16]) {
  return (void)to, (void)own_guid, NULL;
}
void cyclone_send_farewell(struct ddsi_domaingv* gv, struct cyclone_farewell* farewell) {
  (void)gv, (void)farewell;
}
void cyclone_free_farewell(struct cyclone_farewell* farewell) {
  (void)farewell;
}
struct cyclone_watch* cyclone_start_watch(struct ddsi_domaingv* gv, const struct cyclone_watcher* watcher) {
  return (void)gv, (void)watcher, NULL;
}
void cyclone_free_watch(struct cyclone_watch* watch) {
  (void)watch;
}
void cyclone_report_participant(struct ddsi_domaingv* gv, const uint8_t guid[16],
                                const struct cyclone_watcher* watcher) {
  (void)gv, (void)guid, (void)watcher;
}

#endif
