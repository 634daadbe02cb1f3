// SPDX-License-Identifier: Apache-2.0

// A domain that releases itself.
#pragma once

#include "tessivar/platform/export.h"

#include <string>
#include <utility>

namespace TessivarDDS {

class DDSDomain;

/// Holds a domain of the DomainManager and releases it on destruction.
///
///     const DomainHandle domain = DomainHandle::shared(7);
///     if (!domain) return 1;  // the log says why
///     TessivarClient client;  // declared after the handle, so that it is destroyed before it
///     client.attachDomain(domain.get());
///
/// Move-only. Different handles may be used by different threads, also when they hold the same shared domain; a single
/// handle belongs to one thread at a time. Creating and releasing a domain take some milliseconds; nothing else blocks.
class TESSIVAR_API DomainHandle {
 public:
  /// Holds no domain.
  DomainHandle() = default;
  /// DomainManager::sharedDomain(): the process has one shared domain per id. `domainId`: 0 to 232. Without library or
  /// profile the default QoS is used. Holds no domain on failure; the log says why.
  static DomainHandle shared(int domainId, const std::string& library = {}, const std::string& profile = {});
  /// DomainManager::exclusiveDomain(): a domain of its own with every call.
  static DomainHandle exclusive(int domainId, const std::string& library = {}, const std::string& profile = {});

  DomainHandle(DomainHandle&& other) noexcept : domain_(std::exchange(other.domain_, nullptr)) {}
  /// Releases the domain that it held.
  DomainHandle& operator=(DomainHandle&& other) noexcept {
    if (this != &other) {
      reset();
      domain_ = std::exchange(other.domain_, nullptr);
    }
    return *this;
  }
  /// As reset().
  ~DomainHandle() { reset(); }

  /// Releases the domain, if any. Clean up the nodes, clients and services on it first. The participant is deleted with
  /// the last holder's release.
  void reset();

  /// Null without a domain. The handle keeps the ownership: do not pass it to releaseSharedDomain().
  DDSDomain* get() const noexcept { return domain_; }
  DDSDomain* operator->() const noexcept { return domain_; }
  /// True when it holds a domain.
  explicit operator bool() const noexcept { return domain_ != nullptr; }

 private:
  explicit DomainHandle(DDSDomain* domain) noexcept : domain_(domain) {}

  DDSDomain* domain_ = nullptr;
};

}  // namespace TessivarDDS
