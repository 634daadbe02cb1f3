// SPDX-License-Identifier: Apache-2.0

// Functions that set the length of a sequence and fill it from a vector.
#pragma once

#include "tessivar/platform/sequence.h"

#include <algorithm>
#include <vector>

namespace tessivar::platform {

/// Sets the length. If the buffer is too small and owned, grows it first. Returns false if memory is short or the
/// buffer is a loan that is too small.
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
