// SPDX-License-Identifier: Apache-2.0

// Milliseconds as the platform's time.
#pragma once

#include "tessivar/platform/osapi.h"

namespace tessivar::framework {

/// Whole seconds and a binary fraction; a millisecond is 0x418900 of 2^32 (a little less than a thousandth, so that a
/// time never reaches the next second). A negative time is none.
constexpr RTINtpTime toNtpTime(int milliseconds) {
  if (milliseconds < 0) return {0, 0};
  return {milliseconds / 1000, static_cast<DDS_UnsignedLong>(milliseconds % 1000) * 0x418900u};
}

}  // namespace tessivar::framework
