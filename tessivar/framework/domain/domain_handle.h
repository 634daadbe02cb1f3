// SPDX-License-Identifier: Apache-2.0

// A handle that releases its domain.
#pragma once

#include "tessivar/platform/export.h"

#include <string>
#include <utility>

namespace TessivarDDS {

class DDSDomain;

/// Holds a domain of the DomainManager and releases it in its destructor.
///
///     const DomainHandle domain = DomainHandle::shared(7);
///     if (!domain) return 1;  // the log says why
///     TessivarClient client;  // declared after the handle: destroyed before the handle
///     client.attachDomain(domain.get());
///
/// Move-only. Different threads may use different handles, also of the same shared domain. One handle belongs to one
/// thread at a time. Creating and releasing a domain take some milliseconds; no other function blocks.
class TESSIVAR_API DomainHandle {
 public:
  /// Holds no domain.
  DomainHandle() = default;
  /// Calls DomainManager::sharedDomain(): the process has one shared domain for each id. `domainId` is 0 to 232.
  /// Without library or profile, the default QoS is used. On failure the handle holds no domain, and the log has the
  /// reason.
  static DomainHandle shared(int domainId, const std::string& library = {}, const std::string& profile = {});
  /// Calls DomainManager::exclusiveDomain(): each call creates a new domain.
  static DomainHandle exclusive(int domainId, const std::string& library = {}, const std::string& profile = {});

  DomainHandle(DomainHandle&& other) noexcept : domain_(std::exchange(other.domain_, nullptr)) {}
  /// Releases the old domain.
  DomainHandle& operator=(DomainHandle&& other) noexcept {
    if (this != &other) {
      reset();
      domain_ = std::exchange(other.domain_, nullptr);
    }
    return *this;
  }
  /// Does the same as reset().
  ~DomainHandle() { reset(); }

  /// Releases the domain, if there is one. Clean up the nodes, clients and services on it first. The last release
  /// deletes the participant.
  void reset();

  /// Returns null if the handle holds no domain. The handle keeps the ownership: do not pass the pointer to
  /// releaseSharedDomain().
  DDSDomain* get() const noexcept { return domain_; }
  DDSDomain* operator->() const noexcept { return domain_; }
  /// Returns true if the handle holds a domain.
  explicit operator bool() const noexcept { return domain_ != nullptr; }

 private:
  explicit DomainHandle(DDSDomain* domain) noexcept : domain_(domain) {}

  DDSDomain* domain_ = nullptr;
};

}  // namespace TessivarDDS
