// SPDX-License-Identifier: Apache-2.0

// How applications get a domain.
#pragma once

#include "tessivar/framework/domain/dds_domain.h"
#include "tessivar/platform/detail/fork.h"
#include "tessivar/platform/detail/immortal.h"
#include "tessivar/platform/detail/mutex.h"

#include <functional>
#include <list>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace TessivarDDS {

/// Whoever holds a shared domain. Called without any lock of the DomainManager.
class TESSIVAR_API DomainManagerClient {
 public:
  virtual ~DomainManagerClient() = default;
  /// The machine's network settings changed (DomainManager::notifyNetworkSettingsChanged()).
  virtual void networkSettingsChanged() = 0;
  /// The participant of `domain` is about to be deleted: the last holder releases it, and is the one that is told. What
  /// is still left on the domain has to go now.
  virtual void domainAboutToBeDeleted(DDSDomain* domain) = 0;
};

/// Completes a participant's QoS before it is made: domain id, library and profile asked for, QoS.
typedef std::function<void(int domainId, const std::string& library, const std::string& profile,
                           DDS_DomainParticipantQos& qos)>
    DomainQosHook;

/// Configures a domain before its participant is made: its type, multicast, peers.
typedef std::function<void(int domainId, DDSDomain& domain)> DomainHook;

/// The process's domains: one shared per domain id, counted by its holders, and any number of exclusive ones.
///
/// Thread-safe. Creating and deleting takes some milliseconds, during which only callers for the same domain id wait.
class TESSIVAR_API DomainManager {
 public:
  static DomainManager& instance();

  /// The shared domain of that id, made with the first call; later calls get the same one, whatever profile they name.
  /// Without library or profile the default participant QoS is used, also (after an error in the log) when the profile
  /// cannot be loaded. The environment decides as DDSDomain says. `client` may be null; each call is paid back with one
  /// releaseSharedDomain(). Null on failure.
  DDSDomain* sharedDomain(int domainId, const std::string& library, const std::string& profile,
                          DomainManagerClient* client);
  /// A new domain for the caller alone. Given back with releaseSharedDomain(domain, nullptr).
  DDSDomain* exclusiveDomain(int domainId, const std::string& library, const std::string& profile);
  /// Gives back what sharedDomain() or exclusiveDomain() gave, with the same client; with the last holder's release the
  /// participant and the domain are deleted. A domain or client that is not recorded changes nothing but the log.
  void releaseSharedDomain(DDSDomain* domain, DomainManagerClient* client);

  /// Called on every participant's QoS before creation, without lock, on the thread that asks for the domain; an empty
  /// hook takes it away.
  void installQosHook(DomainQosHook hook);
  /// The same for the domains themselves, before the QoS hook.
  void installDomainHook(DomainHook hook);
  /// Tells every client of every domain, once for each time it holds one. A client must not go while this runs.
  void notifyNetworkSettingsChanged();

  DomainManager(const DomainManager&) = delete;
  DomainManager& operator=(const DomainManager&) = delete;

 private:
  struct Record {
    int domainId;
    DDSDomain* domain;  // null while `creator` makes it
    bool shared;
    int references;
    std::vector<DomainManagerClient*> clients;
    std::thread::id creator;
  };

  friend class tessivar::platform::Immortal<DomainManager>;
  DomainManager() = default;
  /// Never runs: the manager serves destructors of static objects, too.
  ~DomainManager() = default;
  friend struct DomainManagerReport;
  /// Warns of every domain that was not given back.
  void reportDomains();

  DDSDomain* createDomain(const char* signature, int domainId, const std::string& library, const std::string& profile);
  DDSDomain* createRecorded(const char* signature, std::unique_lock<tessivar::platform::Mutex>& lock, Record record,
                            const std::string& library, const std::string& profile);

  const tessivar::platform::MadeHere madeHere_{};
  tessivar::platform::Mutex mutex_;
  tessivar::platform::Condition changed_;
  std::list<Record> records_;
  DomainQosHook qosHook_;
  DomainHook domainHook_;
};

}  // namespace TessivarDDS
