// SPDX-License-Identifier: Apache-2.0

#include "tessivar/platform/reader/compiled_filter.h"

#include "tessivar/platform/system/application_call.h"

#include <new>

namespace tessivar::platform {

std::shared_ptr<CompiledFilter> CompiledFilter::compile(DDSContentFilter& filter, const std::string& expression,
                                                        const DDS_StringSeq& parameters, const PRESTypePlugin& type,
                                                        DDS_ReturnCode_t& result) {
  void* data = nullptr;
  result = DDS_RETCODE_ERROR;
  call_application(CallbackKind::filter, "DDSContentFilter::compile", [&] {
    result = filter.compile(&data, expression.c_str(), parameters, type.type_code, type.type_name, nullptr);
  });
  if (result != DDS_RETCODE_OK) return nullptr;
  try {
    return std::make_shared<CompiledFilter>(filter, data);
  } catch (const std::bad_alloc&) {
    call_application(CallbackKind::filter, "DDSContentFilter::finalize", [&] { filter.finalize(data); });
    result = DDS_RETCODE_OUT_OF_RESOURCES;
    return nullptr;
  }
}

CompiledFilter::~CompiledFilter() {
  call_application(CallbackKind::filter, "DDSContentFilter::finalize", [&] { filter_.finalize(data_); });
}

bool CompiledFilter::accepts(const void* sample, const DDS_FilterSampleInfo& info) const {
  bool accepted = false;
  call_application(CallbackKind::filter, "DDSContentFilter::evaluate",
                   [&] { accepted = filter_.evaluate(data_, sample, &info) != DDS_BOOLEAN_FALSE; });
  return accepted;
}

}  // namespace tessivar::platform
