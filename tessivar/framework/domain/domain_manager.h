// SPDX-License-Identifier: Apache-2.0

// The manager from which applications get domains.
#pragma once

#include "tessivar/framework/domain/dds_domain.h"
#include "tessivar/platform/detail/fork.h"
#include "tessivar/platform/detail/immortal.h"
#include "tessivar/platform/detail/mutex.h"

#include <functional>
#include <list>
#include <string>
#include <thread>
#include <vector>

namespace TessivarDDS {

/// A holder of a shared domain. The DomainManager calls it without holding a lock.
class TESSIVAR_API DomainManagerClient {
 public:
  virtual ~DomainManagerClient() = default;
  /// The network settings of the machine changed (DomainManager::notifyNetworkSettingsChanged()).
  virtual void networkSettingsChanged() = 0;
  /// The participant of `domain` is about to be deleted, because the last holder releases it. Only the last holder is
  /// notified. It must now clean up everything that still uses the domain.
  virtual void domainAboutToBeDeleted(DDSDomain* domain) = 0;
};

/// Changes the QoS of a participant before the participant is created. Receives the domain id, the requested library
/// and profile, and the QoS.
typedef std::function<void(int domainId, const std::string& library, const std::string& profile,
                           DDS_DomainParticipantQos& qos)>
    DomainQosHook;

/// Configures a domain before its participant is created: its type, multicast, peers.
typedef std::function<void(int domainId, DDSDomain& domain)> DomainHook;

/// Manages the domains of the process: one shared domain for each domain id, with a count of its holders, and any
/// number of exclusive domains.
///
/// Thread-safe. Creating and deleting a domain take some milliseconds. During this time only callers for the same
/// domain id wait.
class TESSIVAR_API DomainManager {
 public:
  static DomainManager& instance();

  /// Returns the shared domain with this id. The first call creates it; later calls return the same domain, whatever
  /// profile they name. Without library or profile, the default participant QoS is used. If the profile cannot be
  /// loaded, an error is logged and the default QoS is used. Environment variables have the effect that DDSDomain
  /// describes. `client` may be null. For each success, call releaseSharedDomain() once. Returns null on failure.
  DDSDomain* sharedDomain(int domainId, const std::string& library, const std::string& profile,
                          DomainManagerClient* client);
  /// Creates a new domain for this caller only. Release it with releaseSharedDomain(domain, nullptr).
  DDSDomain* exclusiveDomain(int domainId, const std::string& library, const std::string& profile);
  /// Releases a domain of sharedDomain() or exclusiveDomain(), with the same client. The last release deletes the
  /// participant and the domain. If the domain or the client is not recorded, only an error is logged.
  void releaseSharedDomain(DDSDomain* domain, DomainManagerClient* client);

  /// Installs a function that is called with the QoS of every participant before its creation. It is called without a
  /// lock, on the thread that requests the domain. An empty hook removes the installed hook.
  void installQosHook(DomainQosHook hook);
  /// The same for the domains themselves. This hook is called before the QoS hook.
  void installDomainHook(DomainHook hook);
  /// Notifies every client of every domain, once for each time that the client holds a domain. Do not destroy a client
  /// during this call.
  void notifyNetworkSettingsChanged();

  DomainManager(const DomainManager&) = delete;
  DomainManager& operator=(const DomainManager&) = delete;

 private:
  struct Record {
    int domainId;
    DDSDomain* domain;  // null while the thread `creator` creates it
    bool shared;
    int references;
    std::vector<DomainManagerClient*> clients;
    std::thread::id creator;
  };

  friend class tessivar::platform::Immortal<DomainManager>;
  DomainManager() = default;
  /// Never called: the manager also serves destructors of static objects.
  ~DomainManager() = default;
  friend struct DomainManagerReport;
  /// Logs a warning for every domain that was not released.
  void reportDomains();

  DDSDomain* createDomain(const char* signature, int domainId, const std::string& library, const std::string& profile);
  /// Creates the domain of a record, which is in the list already. Removes the record if the creation fails.
  DDSDomain* createRecorded(const char* signature, std::list<Record>::iterator record, int domainId,
                            const std::string& library, const std::string& profile);

  const tessivar::platform::MadeHere madeHere_{};
  tessivar::platform::Mutex mutex_;
  tessivar::platform::Condition changed_;
  std::list<Record> records_ TESSIVAR_GUARDED_BY(mutex_);
  DomainQosHook qosHook_ TESSIVAR_GUARDED_BY(mutex_);
  DomainHook domainHook_ TESSIVAR_GUARDED_BY(mutex_);
};

}  // namespace TessivarDDS
