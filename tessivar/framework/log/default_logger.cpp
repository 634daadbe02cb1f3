// SPDX-License-Identifier: Apache-2.0

#include "tessivar/framework/log/default_logger.h"

#include <iostream>

namespace TessivarDDS {

void DefaultLogger::log(int level, const std::string& message) {
  const ScopedLock lock(mutex_);
  switch (level) {
    case LogDebug:
    case LogInfo:
      std::cout << message << std::endl;
      break;
    case LogWarning:
    case LogError:
      std::cerr << message << std::endl;
      break;
    default:
      break;
  }
}

}  // namespace TessivarDDS
