#pragma once

#include "tessivar/platform/base.h"

#include <exception>
#include <string>

namespace tessivar::platform::cyclone {

/// The result of `body`; OUT_OF_RESOURCES when it threw, as it does when there is no memory or no thread to be had.
template <typename Body>
DDS_ReturnCode_t without_exceptions(std::string& error, Body body) noexcept {
  try {
    return body();
  } catch (const std::exception& exception) {
    try {
      error = exception.what();
    } catch (...) {
      // then without a reason
    }
    return DDS_RETCODE_OUT_OF_RESOURCES;
  }
}

}  // namespace tessivar::platform::cyclone
