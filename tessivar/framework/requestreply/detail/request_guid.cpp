// SPDX-License-Identifier: Apache-2.0

#include "tessivar/framework/requestreply/detail/request_guid.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <random>

namespace TessivarDDS {
namespace {

unsigned timeStampCounter() {
#if defined(__GNUC__) && (defined(__x86_64__) || defined(__i386__))
  return static_cast<unsigned>(__builtin_ia32_rdtsc());
#else
  return static_cast<unsigned>(std::chrono::steady_clock::now().time_since_epoch().count());
#endif
}

/// Returns random bits to combine with std::rand(). Forked processes share the state of std::rand(). Applications that
/// seed std::rand() with the time of day may have the same state, too. The time-stamp counter alone does not prevent
/// that.
unsigned entropy() {
  try {
    return std::random_device()();
  } catch (...) {
    return timeStampCounter();
  }
}

void appendHex(std::string& text, DDS_Octet octet) {
  constexpr char digits[] = "0123456789abcdef";
  text += digits[octet >> 4];
  text += digits[octet & 15];
}

}  // namespace

void generateRequestGuid(DDS_OctetSeq& guid) {
  static std::once_flag seeded;
  std::call_once(seeded, [] { std::srand(timeStampCounter()); });
  if (!guid.ensure_length(requestGuidLength, requestGuidLength)) return;
  for (DDS_Long i = 0; i < requestGuidLength; ++i) {
    guid[i] = static_cast<DDS_Octet>((static_cast<unsigned>(std::rand()) ^ entropy()) % 255);
  }
}

std::string requestGuidToText(const DDS_OctetSeq& guid) {
  std::string text;
  for (DDS_Long i = 0; i < guid.length(); ++i) appendHex(text, guid[i]);
  return text;
}

std::string requestPeerText(const DDS_InstanceHandle_t& writer) {
  if (!writer.isValid) return "unknown";
  std::string text;
  for (const DDS_Octet octet : writer.keyHash.value) appendHex(text, octet);
  return text;
}

bool requestGuidFromText(const std::string& text, DDS_OctetSeq& guid) {
  if (text.size() != 2 * std::size_t{requestGuidLength} || !guid.ensure_length(requestGuidLength, requestGuidLength))
    return false;
  for (DDS_Long i = 0; i < requestGuidLength; ++i) {
    const std::size_t at = 2 * static_cast<std::size_t>(i);
    const char pair[] = {text[at], text[at + 1], '\0'};
    guid[i] = static_cast<DDS_Octet>(std::strtol(pair, nullptr, 16));
  }
  return true;
}

bool requestGuidsEqual(const DDS_OctetSeq& a, const DDS_OctetSeq& b) {
  const DDS_Long length = a.length();
  if (length != b.length()) return false;
  const DDS_Octet* const octetsA = a.get_contiguous_buffer();
  const DDS_Octet* const octetsB = b.get_contiguous_buffer();
  if (octetsA && octetsB) return std::memcmp(octetsA, octetsB, static_cast<std::size_t>(length)) == 0;
  for (DDS_Long i = 0; i < length; ++i) {
    if (a[i] != b[i]) return false;
  }
  return true;
}

}  // namespace TessivarDDS
