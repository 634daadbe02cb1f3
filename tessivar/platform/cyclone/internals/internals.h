// SPDX-License-Identifier: Apache-2.0

// Plain C functions for features that the engine's public interface does not offer.
//
// All functions use structures whose layout depends on the version of the engine. If the engine at run time does not
// have the structures of the headers, cyclone_internals_of() returns null, and a log line names the missing features.
#pragma once

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

struct ddsi_domaingv;
struct ddsi_proxy_participant;
struct dds_qos;

/// Returns the engine's record of the domain that this thread has just created, or null if the engine's structures are
/// not known. The arguments are values of the domain's configuration, which are compared with the record to make sure.
struct ddsi_domaingv* cyclone_internals_of(uint32_t internal_id, uint32_t domain_id, int64_t lease_duration,
                                           int64_t announcement_period);

/// Returns the domain for which this thread works inside the engine, or null if it is not known. The engine frees no
/// memory of this domain that the thread may use. A call into another domain, for example in a callback, replaces the
/// domain: restore it afterwards.
struct ddsi_domaingv* cyclone_thread_domain(void);
void cyclone_set_thread_domain(struct ddsi_domaingv* gv);

/// Makes exec() close the domain's sockets. The engine leaves them open for the executed program.
void cyclone_close_sockets_on_exec(struct ddsi_domaingv* gv);

/// Returns the participant index on this host, from which the domain's ports follow; -1 if it is not known.
int cyclone_participant_index(const struct ddsi_domaingv* gv);

/// The engine's maximum number of network interfaces.
enum { CYCLONE_INTERFACES_MAX = 4 };

struct cyclone_interface {
  const char* name;  // owned by the domain
  uint8_t address[4];
};

/// Fills `interfaces` with the interfaces in use and returns their number.
uint32_t cyclone_interfaces(const struct ddsi_domaingv* gv,
                            struct cyclone_interface interfaces[CYCLONE_INTERFACES_MAX]);

/// Sets whether writers that are created from now on collect samples until a flush.
void cyclone_set_batching(struct ddsi_domaingv* gv, bool enable);

/// Adds a property that is sent to remote participants. Returns true if the property was added.
bool cyclone_add_propagated_property(struct dds_qos* qos, const char* name, const char* value);

enum cyclone_history { CYCLONE_HISTORY_COMPLETE, CYCLONE_HISTORY_PENDING, CYCLONE_HISTORY_NO_READER };

/// Returns CYCLONE_HISTORY_COMPLETE if the reader's cache has received all samples that the matched remote writers held
/// at the match. The domain must be configured to deliver on its receive threads.
enum cyclone_history cyclone_history_state(struct ddsi_domaingv* gv, const uint8_t reader_guid[16]);

/// Starts or ends announcements to an address (with ":port": to that port only). Returns false if the address cannot be
/// resolved.
bool cyclone_add_peer(struct ddsi_domaingv* gv, const char* address);
bool cyclone_remove_peer(struct ddsi_domaingv* gv, const char* address);
/// Announces the participant at once.
void cyclone_announce(struct ddsi_domaingv* gv, const uint8_t participant_guid[16]);

/// Forgets a remote participant with all its endpoints; its next announcement makes it known again. Must not be called
/// on one of the engine's threads. Returns false if the participant was not known.
bool cyclone_drop_participant(struct ddsi_domaingv* gv, const uint8_t guid[16]);

/// The message that announces the end of our participant to one remote participant, and the addresses of that
/// participant.
struct cyclone_farewell;

/// Does the same as cyclone_drop_participant(). Returns the farewell to send, or null if the participant was not known
/// or memory is short. The caller frees it before the domain is deleted.
struct cyclone_farewell* cyclone_drop_with_farewell(struct ddsi_domaingv* gv, const uint8_t own_guid[16],
                                                    const uint8_t guid[16]);
struct cyclone_participant;
/// Returns a farewell to a participant that is new, during the callback that reports it. Null if memory is short.
struct cyclone_farewell* cyclone_new_farewell(const struct cyclone_participant* to, const uint8_t own_guid[16]);
/// Must not be called on one of the engine's threads. May be called again for the same farewell.
void cyclone_send_farewell(struct ddsi_domaingv* gv, struct cyclone_farewell* farewell);
void cyclone_free_farewell(struct cyclone_farewell* farewell);

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

/// The discovery data of a remote participant. The pointers are valid during the callback.
struct cyclone_participant {
  const struct ddsi_proxy_participant* entity;
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
  /// A remote participant is new or has changed. If `locked`, it has changed, and the engine holds locks, so the
  /// callback must not call the engine. Otherwise the return value true drops it before any of its endpoints is known.
  bool (*alive)(void* context, const struct cyclone_participant* participant, bool locked);
  /// The participant is gone. The engine holds locks.
  void (*gone)(void* context, const uint8_t guid[16]);
};

struct cyclone_watch;

/// From now on calls `watcher` for remote participants, for new ones on the engine's discovery thread. Returns null if
/// memory is short.
struct cyclone_watch* cyclone_start_watch(struct ddsi_domaingv* gv, const struct cyclone_watcher* watcher);
/// Frees the watch. To be called after the domain has been deleted.
void cyclone_free_watch(struct cyclone_watch* watch);
/// Calls `alive`, with `locked` true, for a participant that is already known.
void cyclone_report_participant(struct ddsi_domaingv* gv, const uint8_t guid[16],
                                const struct cyclone_watcher* watcher);

#ifdef __cplusplus
}
#endif
