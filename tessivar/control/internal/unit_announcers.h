// SPDX-License-Identifier: Apache-2.0

// The devices that announce each unit.
#pragma once

#include "tessivar/platform/base.h"
#include "tessivar/platform/detail/mutex.h"

#include <algorithm>
#include <array>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace TessivarDDS {

/// Finds units that more than one device announces. A publication is the writer of a device's announcements.
/// DDS_HANDLE_NIL stands for the device of this object's owner. Thread-safe. No function throws.
class UnitAnnouncers {
 public:
  enum class Of { anyUnit, ownUnits };
  explicit UnitAnnouncers(Of of) : of_(of) {}

  /// Records that `publication` announces `unit`. If `publication` is new and not the only one, returns a text with all
  /// publications of the unit. With Of::ownUnits, only if this device is one of them.
  std::optional<std::string> announced(const DDS_InstanceHandle_t& unit,
                                       const DDS_InstanceHandle_t& publication) noexcept try {
    const tessivar::platform::MutexLock lock(mutex_);
    std::vector<Key>& known = publications_[keyOf(unit)];
    const Key key = keyOf(publication);
    if (std::find(known.begin(), known.end(), key) != known.end()) return std::nullopt;
    known.push_back(key);
    if (known.size() == 1) return std::nullopt;
    if (of_ == Of::ownUnits && std::find(known.begin(), known.end(), this_device) == known.end()) return std::nullopt;
    std::string texts;
    for (const Key& one : known) texts.append(texts.empty() ? "" : " and ").append(textOf(one));
    return texts;
  } catch (...) {
    return std::nullopt;  // no memory, also none for a log line
  }
  /// No other device announces the unit any more.
  void gone(const DDS_InstanceHandle_t& unit) {
    keep(unit, [](const Key& key) { return key == this_device; });
  }
  /// This device does not announce the unit any more.
  void withdrawn(const DDS_InstanceHandle_t& unit) {
    keep(unit, [](const Key& key) { return key != this_device; });
  }

 private:
  typedef std::array<DDS_Octet, 16> Key;
  static constexpr Key this_device = {};

  static Key keyOf(const DDS_InstanceHandle_t& handle) { return std::to_array(handle.keyHash.value); }
  static std::string textOf(const Key& key) {
    if (key == this_device) return "this device";
    constexpr char digits[] = "0123456789abcdef";
    std::string text("writer ");
    for (const DDS_Octet octet : key) text.append({digits[octet >> 4], digits[octet & 15]});
    return text;
  }

  template <class Choice>
  void keep(const DDS_InstanceHandle_t& unit, Choice chosen) {
    const tessivar::platform::MutexLock lock(mutex_);
    const auto found = publications_.find(keyOf(unit));
    if (found == publications_.end()) return;
    std::erase_if(found->second, [&](const Key& key) { return !chosen(key); });
    if (found->second.empty()) publications_.erase(found);
  }

  const Of of_;
  tessivar::platform::Mutex mutex_;
  std::map<Key, std::vector<Key>> publications_ TESSIVAR_GUARDED_BY(mutex_);
};

}  // namespace TessivarDDS
