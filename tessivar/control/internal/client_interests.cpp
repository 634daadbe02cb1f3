// SPDX-License-Identifier: Apache-2.0

#include "tessivar/control/internal/client_interests.h"

#include "tessivar/control/internal/addressed_sample.h"
#include "tessivar/control/services.h"
#include "tessivar/framework/log/logger.h"

#include <utility>

namespace TessivarDDS {
namespace {

/// An address that no unit has.
constexpr const char* nobody = "none";

DDSPtr<Tessivar::CommandInterest> interestSample(const char* signature, const AddressEx& unit,
                                                 const ClientInterests::Range& range) {
  DDSPtr interest(createAddressed<Tessivar::CommandInterestTypeSupport>(signature, unit));
  if (!interest) return interest;
  interest->range.min = range.first;
  interest->range.max = range.last;
  return interest;
}

}  // namespace

void ClientInterests::start() {
  const tessivar::platform::MutexLock lock(lock_);
  started_ = true;
}

bool ClientInterests::add(const char* signature, const std::vector<AddressEx>& units, const Range& range) {
  std::vector<DDSPtr<Tessivar::CommandInterest>> samples;
  for (const AddressEx& unit : units) {
    samples.push_back(interestSample(signature, unit, range));
    if (!samples.back()) return false;
  }
  bool narrowed = true;
  {
    const tessivar::platform::MutexLock lock(lock_);
    bool changed = false;
    for (const AddressEx& unit : units) {
      const auto [known, added] = units_.try_emplace(unit);
      known->second.insert(range);
      changed = changed || added;
    }
    follows_ = follows_ || changed;
    if (changed) narrowed = setFilters();
    if (!narrowed) logError() << "Failed to set the filter parameters in register interest!";
    if (!started_) return true;
  }
  if (!services_.verifyInterestsNode()) return false;
  bool written = true;
  for (const DDSPtr<Tessivar::CommandInterest>& sample : samples) {
    if (!services_.interestsNode()->writeSample(sample)) written = false;
  }
  return written && narrowed;
}

bool ClientInterests::remove(const char* signature, const AddressEx& unit) {
  Units removed;
  bool filtered = true;
  {
    const tessivar::platform::MutexLock lock(lock_);
    auto known = units_.extract(unit);
    if (!known) return false;
    removed.insert(std::move(known));
    filtered = setFilters();
    if (!started_) return true;
  }
  return afterRemoval(signature, unit, filtered, removed);
}

bool ClientInterests::remove(const char* signature, const AddressEx& unit, const Range& range) {
  Units removed{{unit, {}}};
  bool filtered = true;
  {
    const tessivar::platform::MutexLock lock(lock_);
    const auto known = units_.find(unit);
    if (known == units_.end()) return false;
    auto node = known->second.extract(range);
    if (!node) return false;
    removed.at(unit).insert(std::move(node));
    if (known->second.empty()) {
      units_.erase(known);
      filtered = setFilters();
    }
    if (!started_) return true;
  }
  return afterRemoval(signature, unit, filtered, removed);
}

/// The removed ranges are moved, not copied, so that they can be put back also if memory is short.
bool ClientInterests::afterRemoval(const char* signature, const AddressEx& unit, bool filtered, Units& removed) {
  if (!filtered) logError() << signature << "Failed to set the filter parameters";
  std::set<Range>& ranges = removed.at(unit);
  if (services_.verifyInterestsNode()) {
    std::erase_if(ranges, [&](const Range& range) { return withdraw(signature, unit, range); });
  }
  if (ranges.empty()) return filtered;
  // The devices still know these interests, so they stay registered and can be withdrawn again.
  const tessivar::platform::MutexLock lock(lock_);
  const auto back = units_.insert(removed.extract(unit));
  if (!back.inserted) back.position->second.merge(ranges);  // the unit is registered with other ranges
  if (!setFilters()) logError() << signature << "Failed to set the filter parameters";
  return false;
}

/// Clients that share an interest share its instance, which stays alive until the last of them unregisters it.
bool ClientInterests::withdraw(const char* signature, const AddressEx& unit, const Range& range) const {
  const DDSPtr interest = interestSample(signature, unit, range);
  if (!interest) return false;
  auto* const writer = services_.interestsNode()->dataWriter();
  const DDS_InstanceHandle_t handle = writer->lookup_instance(*interest);
  if (DDS_InstanceHandle_is_nil(&handle)) return true;  // registered before start(): no device knows this interest
  const DDS_ReturnCode_t code = writer->unregister_instance(*interest, handle);
  if (code != DDS_RETCODE_OK) logError() << signature << "Failed to withdraw the interest, return code: " << code;
  return code == DDS_RETCODE_OK;
}

bool ClientInterests::setFilters() const {
  if (!started_) return true;
  const std::vector<std::string> texts = addresses();
  const bool commands = services_.commandService()->setFilterAddresses(texts);
  return services_.metadataNode()->setFilterParameters(texts) && commands;
}

std::vector<std::string> ClientInterests::filterAddresses() const {
  const tessivar::platform::MutexLock lock(lock_);
  return addresses();
}

std::vector<std::string> ClientInterests::addresses() const {
  std::vector<std::string> texts;
  for (const auto& [unit, ranges] : units_) texts.push_back(unit.guid());
  if (texts.empty() && follows_) texts.push_back(nobody);
  return texts;
}

}  // namespace TessivarDDS
