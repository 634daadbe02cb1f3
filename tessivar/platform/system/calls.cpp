// SPDX-License-Identifier: Apache-2.0

#include "tessivar/platform/system/calls.h"

#include <fnmatch.h>
#include <strings.h>

namespace tessivar::platform {

bool matches_pattern(const char* pattern, const char* text) {
  return fnmatch(pattern, text, 0) == 0;
}

bool equal_ignoring_case(const char* one, const char* other) {
  return strcasecmp(one, other) == 0;
}

std::int64_t coarse_time() {
  timespec time = {};
  clock_gettime(CLOCK_REALTIME_COARSE, &time);
  return static_cast<std::int64_t>(time.tv_sec) * 1000000000 + time.tv_nsec;
}

std::tm local_time(std::time_t seconds) {
  std::tm local = {};
  localtime_r(&seconds, &local);
  return local;
}

std::tm utc_time(std::time_t seconds) {
  std::tm utc = {};
  gmtime_r(&seconds, &utc);
  return utc;
}

}  // namespace tessivar::platform
