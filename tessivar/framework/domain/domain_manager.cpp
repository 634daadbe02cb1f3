// SPDX-License-Identifier: Apache-2.0

#include "tessivar/framework/domain/domain_manager.h"

#include "tessivar/framework/domain/detail/signature.h"
#include "tessivar/framework/log/detail/guarded.h"
#include "tessivar/framework/log/logger.h"
#include "tessivar/platform/detail/callback.h"

#include <algorithm>
#include <memory>

namespace TessivarDDS {
namespace {

constexpr const char* shared_signature =
    "class TessivarDDS::DDSDomain *__cdecl TessivarDDS::DomainManager::sharedDomain(int,"
    "const " TESSIVAR_SIGNATURE_STRING " &,const " TESSIVAR_SIGNATURE_STRING
    " &,class TessivarDDS::DomainManagerClient *)";
constexpr const char* exclusive_signature =
    "class TessivarDDS::DDSDomain *__cdecl TessivarDDS::DomainManager::exclusiveDomain(int,"
    "const " TESSIVAR_SIGNATURE_STRING " &,const " TESSIVAR_SIGNATURE_STRING " &)";

}  // namespace

DomainManager& DomainManager::instance() {
  static tessivar::platform::Immortal<DomainManager> manager;
  return *manager;
}

/// Constructed when the library is loaded, so that static objects of the program are destroyed before it.
struct DomainManagerReport {
  ~DomainManagerReport() {
    DomainManager::instance().reportDomains();
    tessivar::platform::deliver_kept_lines();
  }
};

namespace {

const DomainManagerReport reportAtExit;

}  // namespace

void DomainManager::reportDomains() {
  if (madeHere_.inherited()) return;  // the domains belong to the parent
  const tessivar::platform::MutexLock lock(mutex_);
  for (const Record& record : records_) {
    logWarning() << "__cdecl TessivarDDS::DomainManager::~DomainManager(void)"
                 << "DomainManager::instance().releaseDomain() not called correct number of times. "
                 << " Domain '" << record.domainId << "' still alive! Ref count: " << record.references;
  }
}

DDSDomain* DomainManager::sharedDomain(int domainId, const std::string& library, const std::string& profile,
                                       DomainManagerClient* client) {
  std::list<Record>::iterator place;
  {
    tessivar::platform::UniqueMutexLock lock(mutex_);
    for (;;) {
      const auto record = std::find_if(records_.begin(), records_.end(), [&](const Record& candidate) {
        return candidate.shared && candidate.domainId == domainId;
      });
      if (record == records_.end()) break;
      if (record->domain) {
        record->clients.push_back(client);
        ++record->references;
        return record->domain;
      }
      // This thread may be inside the hook of another domain that is being created. It must not wait: the hook of the
      // wanted domain may wait for that other domain.
      if (std::any_of(records_.begin(), records_.end(), [](const Record& making) {
            return !making.domain && making.creator == std::this_thread::get_id();
          })) {
        logError() << shared_signature << " Domain " << domainId << " was asked for while it is being made.";
        return nullptr;
      }
      changed_.wait(lock);
    }
    place = records_.insert(records_.end(), {domainId, nullptr, true, 1, {client}, std::this_thread::get_id()});
  }
  return createRecorded(shared_signature, place, domainId, library, profile);
}

DDSDomain* DomainManager::exclusiveDomain(int domainId, const std::string& library, const std::string& profile) {
  std::list<Record>::iterator place;
  {
    const tessivar::platform::MutexLock lock(mutex_);
    place = records_.insert(records_.end(), {domainId, nullptr, false, 1, {nullptr}, std::this_thread::get_id()});
  }
  return createRecorded(exclusive_signature, place, domainId, library, profile);
}

DDSDomain* DomainManager::createRecorded(const char* signature, std::list<Record>::iterator record, int domainId,
                                         const std::string& library, const std::string& profile) {
  // The record reserves the domain id meanwhile. No lock is held, because the hook is application code, and callers for
  // other ids do not have to wait.
  DDSDomain* domain = nullptr;
  tessivar::framework::guarded(signature, [&] { domain = createDomain(signature, domainId, library, profile); });
  if (!domain) logError() << signature << "Problem creating domain participant";
  const tessivar::platform::MutexLock lock(mutex_);
  if (domain) {
    record->domain = domain;
  } else {
    records_.erase(record);
  }
  changed_.notify_all();
  return domain;
}

DDSDomain* DomainManager::createDomain(const char* signature, int domainId, const std::string& library,
                                       const std::string& profile) {
  auto domain = std::make_unique<DDSDomain>();
  DomainHook domainHook;
  DomainQosHook qosHook;
  {
    const tessivar::platform::MutexLock lock(mutex_);
    domainHook = domainHook_;
    qosHook = qosHook_;
  }
  if (domainHook) domainHook(domainId, *domain);
  DDS_DomainParticipantQos qos;
  const bool named = !library.empty() && !profile.empty();
  const bool loaded = named && domain->participantQosProfile(library, profile, qos);
  if (named && !loaded) logError() << signature << "Failed to load participant Qos from QoS file!";
  if (!loaded) {
    const DDS_ReturnCode_t code = DDSDomainParticipantFactory::get_instance()->get_default_participant_qos(qos);
    if (code != DDS_RETCODE_OK) {
      logError() << signature << " Failed to get the default domain participant Qos. Error code: " << code;
      return nullptr;
    }
  }
  if (qosHook) qosHook(domainId, library, profile, qos);
  return domain->createDomainParticipant(domainId, qos, true) ? domain.release() : nullptr;
}

void DomainManager::releaseSharedDomain(DDSDomain* domain, DomainManagerClient* client) {
  constexpr const char* signature =
      "void __cdecl TessivarDDS::DomainManager::releaseSharedDomain(class TessivarDDS::DDSDomain *,"
      "class TessivarDDS::DomainManagerClient *)";
  {
    const tessivar::platform::MutexLock lock(mutex_);
    const auto record = std::find_if(records_.begin(), records_.end(),
                                     [&](const Record& candidate) { return domain && candidate.domain == domain; });
    if (record == records_.end()) {
      logError() << signature << " The domain is not one of the domain manager's, or was released already.";
      return;
    }
    const auto holder = std::find(record->clients.begin(), record->clients.end(), client);
    if (holder == record->clients.end()) {
      logError() << signature << " The client does not hold domain " << record->domainId;
      return;
    }
    if (record->references == 1 && tessivar::platform::in_callback()) {
      logError() << signature << " Domain " << record->domainId
                 << " cannot be deleted from within a callback of the bus.";
      return;
    }
    record->clients.erase(holder);
    if (--record->references > 0) return;
    records_.erase(record);
  }
  if (client) tessivar::framework::guarded(signature, [&] { client->domainAboutToBeDeleted(domain); });
  domain->cleanUp();
  delete domain;
}

void DomainManager::installQosHook(DomainQosHook hook) {
  const tessivar::platform::MutexLock lock(mutex_);
  qosHook_ = std::move(hook);
}

void DomainManager::installDomainHook(DomainHook hook) {
  const tessivar::platform::MutexLock lock(mutex_);
  domainHook_ = std::move(hook);
}

void DomainManager::notifyNetworkSettingsChanged() {
  std::vector<DomainManagerClient*> clients;
  {
    const tessivar::platform::MutexLock lock(mutex_);
    for (const Record& record : records_) {
      for (DomainManagerClient* client : record.clients) {
        if (client) clients.push_back(client);
      }
    }
  }
  for (DomainManagerClient* client : clients) {
    tessivar::framework::guarded("void __cdecl TessivarDDS::DomainManager::notifyNetworkSettingsChanged(void)",
                                 [&] { client->networkSettingsChanged(); });
  }
}

}  // namespace TessivarDDS
