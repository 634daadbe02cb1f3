// SPDX-License-Identifier: Apache-2.0

// The text of qos/tessivar_qos_profiles.xml, which the build embeds in the library.
#pragma once

namespace tessivar::platform {

extern const char* const embedded_qos_profiles;

}  // namespace tessivar::platform
