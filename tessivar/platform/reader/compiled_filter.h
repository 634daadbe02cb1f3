// An application's content filter, compiled for one expression and one set of parameters.
#pragma once

#include "tessivar/platform/content_filter.h"
#include "tessivar/platform/type_plugin.h"

#include <memory>
#include <string>

namespace tessivar::platform {

/// Shared by a filtered topic and its readers; the compile data is finalised with the last of them.
class CompiledFilter {
 public:
  /// Null, with the filter's own return code in `result`, when it refuses.
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
