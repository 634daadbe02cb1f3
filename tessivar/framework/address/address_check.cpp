// SPDX-License-Identifier: Apache-2.0

#include "tessivar/framework/address/address_check.h"

#include "tessivar/framework/log/logger.h"
#include "tessivar/platform/detail/immortal.h"
#include "tessivar/platform/detail/reported_texts.h"

#include <algorithm>
#include <string_view>

namespace TessivarDDS {
namespace {

constexpr std::string_view form = "0000:00:00";

bool isCanonical(std::string_view text) {
  return text.size() == form.size() && std::equal(text.begin(), text.end(), form.begin(), [](char c, char place) {
           return place == ':' ? c == ':' : (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F');
         });
}

tessivar::platform::ReportedTexts& warnings() {
  static tessivar::platform::Immortal<tessivar::platform::ReportedTexts> all;
  return *all;
}

}  // namespace

void checkAddress(const char* signature, const AddressEx& address) noexcept {
  const char* const text = address.guid();
  try {
    if (isCanonical(text) || !warnings().add(text)) return;
    LogRecord record = logWarning();
    record << signature << " \"" << text << "\" is not the address of a unit";
    if (address.packed() != 0)
      record << ": addresses are compared as texts, and \"" << AddressEx(address.packed()).guid()
             << "\" is another one.";
    else
      record << ", which is written as \"0001:02:0A\".";
  } catch (...) {
    // No memory: no warning for this address.
  }
}

}  // namespace TessivarDDS
