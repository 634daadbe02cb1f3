// SPDX-License-Identifier: Apache-2.0

#include "tessivar/platform/detail/log.h"
#include "tessivar/types/family/encode.h"

#include <cstdio>

namespace tessivar::types {

void report_invalid_enumerator(const char* type_name, DDS_Long value) {
  char context[128];
  char text[160];
  std::snprintf(context, sizeof context, "%sPlugin_serialize", short_name(type_name).data());
  std::snprintf(text, sizeof text, "%d is no enumerator of %s", value, type_name);
  platform::log(platform::LogLevel::error, context, text);
}

}  // namespace tessivar::types
