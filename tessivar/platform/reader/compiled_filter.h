// SPDX-License-Identifier: Apache-2.0

// An application's content filter, compiled for one expression and one set of parameters.
#pragma once

#include "tessivar/platform/content_filter.h"
#include "tessivar/platform/type_plugin.h"

#include <memory>
#include <string>

namespace tessivar::platform {

/// A filtered topic and its readers share it. When its last owner releases it, the compile data is finalised.
class CompiledFilter {
 public:
  /// Returns null on failure. `result` is then the filter's own return code, ERROR if the filter threw an exception, or
  /// OUT_OF_RESOURCES if memory is short.
  static std::shared_ptr<CompiledFilter> compile(DDSContentFilter& filter, const std::string& expression,
                                                 const DDS_StringSeq& parameters, const PRESTypePlugin& type,
                                                 DDS_ReturnCode_t& result);
  CompiledFilter(DDSContentFilter& filter, void* data) : filter_(filter), data_(data) {}
  ~CompiledFilter();
  CompiledFilter(const CompiledFilter&) = delete;
  CompiledFilter& operator=(const CompiledFilter&) = delete;

  bool accepts(const void* sample, const DDS_FilterSampleInfo& info) const;

 private:
  DDSContentFilter& filter_;
  void* const data_;
};

}  // namespace tessivar::platform
