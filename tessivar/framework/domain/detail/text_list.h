// SPDX-License-Identifier: Apache-2.0

// Lists of texts: comma-separated lists of environment variables and properties, and string sequences of the platform.
#pragma once

#include "tessivar/platform/sequence.h"

#include <string>
#include <vector>

namespace TessivarDDS {

/// Returns the entries of "a, b,c" without surrounding blanks. Empty entries are omitted. Each character of
/// `separators` ends an entry.
std::vector<std::string> splitTextList(const std::string& list, const char* separators = ",");

/// Returns the entries, separated by commas.
std::string joinTextList(const std::vector<std::string>& entries);

/// Copies the entries into a string sequence of the platform. Returns false if memory is short.
TESSIVAR_API bool assignTexts(DDS_StringSeq& texts, const std::vector<std::string>& entries);

std::vector<std::string> toTexts(const DDS_StringSeq& texts);

}  // namespace TessivarDDS
