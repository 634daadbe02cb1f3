// SPDX-License-Identifier: Apache-2.0

// Lists of texts: comma-separated, as environment variables and properties hold them, and the platform's.
#pragma once

#include "tessivar/platform/sequence.h"

#include <string>
#include <vector>

namespace TessivarDDS {

/// The entries of "a, b,c" without surrounding blanks; empty ones are left out. Each of `separators` ends an entry.
std::vector<std::string> splitTextList(const std::string& list, const char* separators = ",");

/// The entries with commas between them.
std::string joinTextList(const std::vector<std::string>& entries);

/// Fills a platform sequence. False when memory is short.
TESSIVAR_API bool assignTexts(DDS_StringSeq& texts, const std::vector<std::string>& entries);

std::vector<std::string> toTexts(const DDS_StringSeq& texts);

}  // namespace TessivarDDS
