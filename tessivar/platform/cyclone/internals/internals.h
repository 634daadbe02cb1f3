// What the engine's public interface does not offer, behind plain C functions.
//
// Everything here looks into structures whose layout belongs to one version of the engine. It is written for 0.10.2:
// with another version cyclone_internals_of() finds nothing and the features that need it say so.
#pragma once

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

struct ddsi_domaingv;
struct dds_qos;

/// The engine's record of the domain that this thread has just created; null when this is not the engine that is
/// known here. The other arguments are what the domain was configured with, to make sure.
struct ddsi_domaingv* cyclone_internals_of(uint32_t internal_id, uint32_t domain_id, int64_t lease_duration,
                                           int64_t announcement_period);

/// The domain that this thread is at work for inside the engine; null when that is not known. The engine frees nothing
/// that the thread may use in it. A call into another domain, as a callback may make, replaces it: put it back then.
struct ddsi_domaingv* cyclone_thread_domain(void);
void cyclone_set_thread_domain(struct ddsi_domaingv* gv);

/// Has exec() close the domain's sockets, which the engine leaves open for the program that is executed.
void cyclone_close_sockets_on_exec(struct ddsi_domaingv* gv);

/// The number, on this host and domain, from which the domain's ports follow.
int cyclone_participant_index(const struct ddsi_domaingv* gv);

/// The engine's limit of network interfaces.
enum { CYCLONE_INTERFACES_MAX = 4 };

struct cyclone_interface {
  const char* name;  // the domain's
  uint8_t address[4];
};

/// Fills `interfaces` with those in use and returns their number.
uint32_t cyclone_interfaces(const struct ddsi_domaingv* gv,
                            struct cyclone_interface interfaces[CYCLONE_INTERFACES_MAX]);

/// Whether writers that are created from now on collect samples until they are flushed.
void cyclone_set_batching(struct ddsi_domaingv* gv, bool enable);

/// Adds a property that remote participants see.
bool cyclone_add_propagated_property(struct dds_qos* qos, const char* name, const char* value);

enum cyclone_history { CYCLONE_HISTORY_COMPLETE, CYCLONE_HISTORY_PENDING, CYCLONE_HISTORY_NO_READER };

/// Whether a reader has received all that its matched remote writers held when they matched, and has it in its cache.
/// The domain must be configured to deliver on its receive threads.
enum cyclone_history cyclone_history_state(struct ddsi_domaingv* gv, const uint8_t reader_guid[16]);

/// Announces to an address (with ":port": to that port only) from now on, or no more. False for an address that cannot
/// be resolved.
bool cyclone_add_peer(struct ddsi_domaingv* gv, const char* address);
bool cyclone_remove_peer(struct ddsi_domaingv* gv, const char* address);
/// Announces the participant at once.
void cyclone_announce(struct ddsi_domaingv* gv, const uint8_t participant_guid[16]);

/// Forgets a remote participant with all its endpoints; its next announcement makes it known anew. Not on one of the
/// engine's threads. False when it was not known.
bool cyclone_drop_participant(struct ddsi_domaingv* gv, const uint8_t guid[16]);
/// The same, and tells it that `own_guid` is gone, so that its reliable writers do not wait for us for ever.
bool cyclone_part_from_participant(struct ddsi_domaingv* gv, const uint8_t own_guid[16], const uint8_t guid[16]);

struct cyclone_locator {
  int32_t kind;
  uint32_t port;
  uint8_t address[16];
};

struct cyclone_property {
  const char* name;
  const char* value;
};

enum { CYCLONE_LOCATORS_MAX = 16 };

/// What discovery tells of a remote participant. The pointers are valid while its owner is.
struct cyclone_participant {
  uint8_t guid[16];
  const uint8_t* user_data;
  uint32_t user_data_size;
  const char* name;  // may be null
  const struct cyclone_property* properties;
  uint32_t property_count;
  struct cyclone_locator locators[CYCLONE_LOCATORS_MAX];
  uint32_t locator_count;
};

struct cyclone_watcher {
  void* context;
  /// A remote participant appeared or changed. `locked`: it changed, and the engine holds locks, so nothing of the
  /// engine may be called. Else the return value true drops it before any of its endpoints is known.
  bool (*alive)(void* context, const struct cyclone_participant* participant, bool locked);
  /// It is gone. The engine holds locks.
  void (*gone)(void* context, const uint8_t guid[16]);
};

struct cyclone_watch;

/// Calls `watcher` on the engine's discovery thread for everything that is discovered from now on. Null when memory is
/// short.
struct cyclone_watch* cyclone_start_watch(struct ddsi_domaingv* gv, const struct cyclone_watcher* watcher);
/// Frees it; after the domain has been deleted.
void cyclone_free_watch(struct cyclone_watch* watch);
/// Calls `alive`, as locked, with a participant that is known already.
void cyclone_show_participant(struct ddsi_domaingv* gv, const uint8_t guid[16], const struct cyclone_watcher* watcher);

#ifdef __cplusplus
}
#endif
