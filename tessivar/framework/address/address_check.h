// SPDX-License-Identifier: Apache-2.0

// Tells the user of addresses that name no unit.
#pragma once

#include "tessivar/framework/address/address_ex.h"

namespace TessivarDDS {

/// Logs a warning if the text of `address` does not have the form of "0001:02:0A", so that it will hardly be the text
/// of another application's address. The message begins with `signature`. Each text is reported once in a process. Any
/// thread; allocates nothing for an address of that form.
void checkAddress(const char* signature, const AddressEx& address) noexcept;

}  // namespace TessivarDDS
