// SPDX-License-Identifier: Apache-2.0

// Fills a sequence from a vector.
#pragma once

#include "tessivar/platform/sequence.h"

#include <algorithm>
#include <vector>

namespace tessivar::platform {

/// Sets the length, growing an owned buffer when it is too small.
template <class Sequence>
bool make_length(Sequence& sequence, std::size_t length) {
  const auto count = static_cast<DDS_Long>(length);
  return sequence.ensure_length(count, std::max(count, sequence.maximum()));
}

template <class Sequence, class T>
DDS_ReturnCode_t fill(Sequence& sequence, const std::vector<T>& values) {
  if (!make_length(sequence, values.size())) return DDS_RETCODE_OUT_OF_RESOURCES;
  DDS_Long index = 0;
  for (const T& value : values) sequence[index++] = value;
  return DDS_RETCODE_OK;
}

}  // namespace tessivar::platform
