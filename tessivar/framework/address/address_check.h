// SPDX-License-Identifier: Apache-2.0

// Warns about addresses that do not identify a unit.
#pragma once

#include "tessivar/framework/address/address_ex.h"

namespace TessivarDDS {

/// Logs a warning if the text of `address` does not have the form "0001:02:0A": then the address of another application
/// probably has a different text. The message begins with `signature`. Each text is reported once; after 1024 different
/// texts, texts may be reported again. Any thread may call this. Allocates nothing if the address has this form.
void checkAddress(const char* signature, const AddressEx& address) noexcept;

}  // namespace TessivarDDS
