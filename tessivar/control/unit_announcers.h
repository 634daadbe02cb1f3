// Which devices announce a unit.
#pragma once

#include "tessivar/platform/base.h"

#include <algorithm>
#include <array>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace TessivarDDS {

/// Finds units that more than one device announces. Belongs to one thread.
class UnitAnnouncers {
 public:
  /// Notes that `publication` has announced `unit`. Returns the publications that announce it if this is a further one,
  /// as one text.
  std::optional<std::string> announced(const DDS_InstanceHandle_t& unit, const DDS_InstanceHandle_t& publication) {
    std::vector<Key>& known = publications_[keyOf(unit)];
    const Key key = keyOf(publication);
    if (std::find(known.begin(), known.end(), key) != known.end()) return std::nullopt;
    known.push_back(key);
    if (known.size() == 1) return std::nullopt;
    std::string texts;
    for (const Key& one : known) texts.append(texts.empty() ? "" : " and ").append(textOf(one));
    return texts;
  }
  void gone(const DDS_InstanceHandle_t& unit) { publications_.erase(keyOf(unit)); }

 private:
  typedef std::array<DDS_Octet, 16> Key;

  static Key keyOf(const DDS_InstanceHandle_t& handle) { return std::to_array(handle.keyHash.value); }
  static std::string textOf(const Key& key) {
    constexpr char digits[] = "0123456789abcdef";
    std::string text;
    for (const DDS_Octet octet : key) text.append({digits[octet >> 4], digits[octet & 15]});
    return text;
  }

  std::map<Key, std::vector<Key>> publications_;
};

}  // namespace TessivarDDS
