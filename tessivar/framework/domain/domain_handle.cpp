// SPDX-License-Identifier: Apache-2.0

#include "tessivar/framework/domain/domain_handle.h"

#include "tessivar/framework/domain/domain_manager.h"

namespace TessivarDDS {

DomainHandle DomainHandle::shared(int domainId, const std::string& library, const std::string& profile) {
  return DomainHandle(DomainManager::instance().sharedDomain(domainId, library, profile, nullptr));
}

DomainHandle DomainHandle::exclusive(int domainId, const std::string& library, const std::string& profile) {
  return DomainHandle(DomainManager::instance().exclusiveDomain(domainId, library, profile));
}

void DomainHandle::reset() {
  if (DDSDomain* const released = std::exchange(domain_, nullptr)) {
    DomainManager::instance().releaseSharedDomain(released, nullptr);
  }
}

}  // namespace TessivarDDS
