// SPDX-License-Identifier: Apache-2.0

// The identity of a request/reply node: 16 octets that travel with every request and come back with its replies.
#pragma once

#include "tessivar/platform/sequence.h"

#include <string>

namespace TessivarDDS {

/// Octets of an identity.
constexpr DDS_Long requestGuidLength = 16;

/// A new identity; no octet is 255. Unlike any other, also of processes that started at once or were forked from one
/// another. Seeds the C library's random generator once in a process. Thread-safe.
TESSIVAR_API void generateRequestGuid(DDS_OctetSeq& guid);
/// Two lower-case hexadecimal digits for each octet.
TESSIVAR_API std::string requestGuidToText(const DDS_OctetSeq& guid);
/// The octets of a sample's publication handle in the same form; "unknown" for a nil handle.
TESSIVAR_API std::string requestPeerText(const DDS_InstanceHandle_t& writer);
/// False, with `guid` unchanged, for a text of other than 32 characters. A pair of characters that is no number counts
/// as 0.
TESSIVAR_API bool requestGuidFromText(const std::string& text, DDS_OctetSeq& guid);
/// Same length and same octets.
TESSIVAR_API bool requestGuidsEqual(const DDS_OctetSeq& a, const DDS_OctetSeq& b);

}  // namespace TessivarDDS
