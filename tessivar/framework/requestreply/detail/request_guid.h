// SPDX-License-Identifier: Apache-2.0

// The identity of a request/reply node: 16 octets that every request carries and its replies return.
#pragma once

#include "tessivar/platform/sequence.h"

#include <string>

namespace TessivarDDS {

/// The length of an identity in octets.
constexpr DDS_Long requestGuidLength = 16;

/// Generates a new, unique identity, also in processes that started at the same time or that were forked from one
/// another. No octet is 255. Seeds the random generator of the C library once in a process. Thread-safe.
TESSIVAR_API void generateRequestGuid(DDS_OctetSeq& guid);
/// Returns two lower-case hexadecimal digits for each octet.
TESSIVAR_API std::string requestGuidToText(const DDS_OctetSeq& guid);
/// Returns the octets of a publication handle in the same form, or "unknown" for a nil handle.
TESSIVAR_API std::string requestPeerText(const DDS_InstanceHandle_t& writer);
/// Returns false and leaves `guid` unchanged if the text does not have 32 characters. A pair of characters that is no
/// hexadecimal number counts as 0.
TESSIVAR_API bool requestGuidFromText(const std::string& text, DDS_OctetSeq& guid);
/// Returns true if both have the same length and the same octets.
TESSIVAR_API bool requestGuidsEqual(const DDS_OctetSeq& a, const DDS_OctetSeq& b);

}  // namespace TessivarDDS
