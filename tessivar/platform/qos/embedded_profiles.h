// SPDX-License-Identifier: Apache-2.0

// The profiles of qos/tessivar_qos_profiles.xml; the build makes the text a part of the library.
#pragma once

namespace tessivar::platform {

extern const char* const embedded_qos_profiles;

}  // namespace tessivar::platform
