// SPDX-License-Identifier: Apache-2.0

#include "tessivar/framework/domain/detail/text_list.h"

#include <algorithm>

namespace TessivarDDS {

std::vector<std::string> splitTextList(const std::string& list, const char* separators) {
  constexpr const char* blanks = " \t\r\n";
  std::vector<std::string> entries;
  for (std::size_t begin = 0, end = 0; begin < list.size(); begin = end + 1) {
    end = std::min(list.find_first_of(separators, begin), list.size());
    const std::string entry = list.substr(begin, end - begin);
    const std::size_t first = entry.find_first_not_of(blanks);
    if (first == std::string::npos) continue;
    entries.push_back(entry.substr(first, entry.find_last_not_of(blanks) - first + 1));
  }
  return entries;
}

std::string joinTextList(const std::vector<std::string>& entries) {
  std::string list;
  for (const std::string& entry : entries) {
    if (!list.empty()) list += ',';
    list += entry;
  }
  return list;
}

bool assignTexts(DDS_StringSeq& texts, const std::vector<std::string>& entries) {
  const auto count = static_cast<DDS_Long>(entries.size());
  if (!texts.ensure_length(count, count)) return false;
  for (DDS_Long i = 0; i < count; ++i) {
    if (!DDS_String_replace(&texts[i], entries[static_cast<std::size_t>(i)].c_str())) return false;
  }
  return true;
}

std::vector<std::string> toTexts(const DDS_StringSeq& texts) {
  std::vector<std::string> entries;
  entries.reserve(static_cast<std::size_t>(texts.length()));
  for (DDS_Long i = 0; i < texts.length(); ++i) entries.emplace_back(texts[i] ? texts[i] : "");
  return entries;
}

}  // namespace TessivarDDS
