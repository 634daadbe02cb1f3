#include "tessivar/framework/domain/text_list.h"

#include <sstream>

namespace TessivarDDS {

std::vector<std::string> splitTextList(const std::string& list) {
  constexpr const char* blanks = " \t\r\n";
  std::vector<std::string> entries;
  std::istringstream stream(list);
  for (std::string entry; std::getline(stream, entry, ',');) {
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

}  // namespace TessivarDDS
