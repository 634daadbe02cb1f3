// SPDX-License-Identifier: Apache-2.0

// MD5 (RFC 1321), which RTPS uses to shorten keys (DDSI-RTPS 2.3, 9.6.3.8). Do not use it where security matters.
#pragma once

#include "tessivar/platform/base.h"

#include <cstddef>

namespace tessivar::platform {

/// Thread-safe, allocates nothing.
TESSIVAR_API void md5(const std::uint8_t* data, std::size_t size, std::uint8_t (&digest)[16]);

}  // namespace tessivar::platform
