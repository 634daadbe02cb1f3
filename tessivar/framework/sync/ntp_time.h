// SPDX-License-Identifier: Apache-2.0

// Converts milliseconds to the time of the platform.
#pragma once

#include "tessivar/platform/osapi.h"

namespace tessivar::framework {

/// Returns whole seconds and a binary fraction. One millisecond is 0x418900 of 2^32. This is slightly less than a
/// thousandth, so that a time never reaches the next second. A negative time returns 0.
constexpr RTINtpTime toNtpTime(int milliseconds) {
  if (milliseconds < 0) return {0, 0};
  return {milliseconds / 1000, static_cast<DDS_UnsignedLong>(milliseconds % 1000) * 0x418900u};
}

}  // namespace tessivar::framework
