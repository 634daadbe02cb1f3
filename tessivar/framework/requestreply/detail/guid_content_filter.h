// SPDX-License-Identifier: Apache-2.0

// The content filter with which a client receives only the replies to its own requests.
#pragma once

#include "tessivar/framework/log/logger.h"
#include "tessivar/framework/nodes/type_of.h"
#include "tessivar/framework/requestreply/detail/request_guid.h"
#include "tessivar/platform/content_filter.h"
#include "tessivar/platform/detail/immortal.h"

#include <memory>
#include <string>

namespace TessivarDDS {

/// Passes the samples of Rep whose `changeguid` equals the identity in the filter expression. The filter has no state:
/// one instance serves the process, on any thread.
template <class Rep>
class TESSIVAR_API GuidContentFilter : public DDSContentFilter {
 public:
  /// The instance lives until the process ends.
  static GuidContentFilter& instance();

  DDS_ReturnCode_t compile(void** newCompileData, const char* expression, const DDS_StringSeq& parameters,
                           const DDS_TypeCode* typeCode, const char* typeClassName, void* oldCompileData) override;
  DDS_Boolean evaluate(void* compileData, const void* sample, const struct DDS_FilterSampleInfo* info) override;
  void finalize(void* compileData) override;

 private:
  static std::string signature(const char* function);
};

template <class Rep>
std::string GuidContentFilter<Rep>::signature(const char* function) {
  return std::string("TessivarDDS::GuidContentFilter<class ") + TypeOf<Rep>::name() + ">::" + function;
}

template <class Rep>
GuidContentFilter<Rep>& GuidContentFilter<Rep>::instance() {
  static tessivar::platform::Immortal<GuidContentFilter> filter;
  return *filter;
}

template <class Rep>
DDS_ReturnCode_t GuidContentFilter<Rep>::compile(void** newCompileData, const char* expression, const DDS_StringSeq&,
                                                 const DDS_TypeCode*, const char*, void* oldCompileData) {
  const std::string where =
      "DDS_ReturnCode_t __cdecl " + signature(
                                        "compile(void **,const char *,const struct DDS_StringSeq &,"
                                        "const struct DDS_TypeCode *,const char *,void *)");
  logDebug() << where << "Creating Guid Content Filter type for guid: " << expression;
  delete static_cast<DDS_OctetSeq*>(oldCompileData);
  auto guid = std::make_unique<DDS_OctetSeq>();
  if (!requestGuidFromText(expression ? expression : "", *guid)) {
    logError() << where << "Failed to parse guid in content filtered topic.";
    return DDS_RETCODE_BAD_PARAMETER;
  }
  *newCompileData = guid.release();
  return DDS_RETCODE_OK;
}

template <class Rep>
DDS_Boolean GuidContentFilter<Rep>::evaluate(void* compileData, const void* sample,
                                             const struct DDS_FilterSampleInfo*) {
  return requestGuidsEqual(*static_cast<const DDS_OctetSeq*>(compileData), static_cast<const Rep*>(sample)->changeguid)
             ? DDS_BOOLEAN_TRUE
             : DDS_BOOLEAN_FALSE;
}

template <class Rep>
void GuidContentFilter<Rep>::finalize(void* compileData) {
  logDebug() << "void __cdecl " << signature("finalize(void *)") << "Deleting Guid Content Filter";
  delete static_cast<DDS_OctetSeq*>(compileData);
}

}  // namespace TessivarDDS
