// SPDX-License-Identifier: Apache-2.0

// The interface of content filters that an application defines.
#pragma once

#include "tessivar/platform/sample_info.h"

struct DDS_TypeCode;

/// Decides which samples a content-filtered topic accepts. The application registers the filter with a participant
/// under a name, and keeps the ownership of the filter.
///
/// `compile` runs on the thread that creates a filtered topic or changes its parameters. `evaluate` runs on the
/// engine's receive threads, on a thread that writes to a reader of its own participant, and on the thread that fetches
/// history after a change of the parameters. For one reader only one thread at a time calls `evaluate`; readers of the
/// same filtered topic share the compile data. `finalize` is called when no thread uses the compile data any more.
///
/// An exception that leaves `evaluate` is logged, and the sample is rejected. During these calls the engine or the
/// platform may hold a lock. Therefore read, take, write, flush, wait, creating or deleting entities, setting
/// listeners, and asking a reader for its handle or its matched writers fail in them, each with one log line.
class TESSIVAR_API DDSContentFilter {
 public:
  virtual ~DDSContentFilter() = default;
  /// Creates the compile data for `evaluate`. The platform always passes null as `old_compile_data`, and finalises the
  /// old data itself when the new data is in use. So the old filter stays in force if `compile` fails.
  virtual DDS_ReturnCode_t compile(void** new_compile_data, const char* expression, const DDS_StringSeq& parameters,
                                   const DDS_TypeCode* type_code, const char* type_class_name,
                                   void* old_compile_data) = 0;
  virtual DDS_Boolean evaluate(void* compile_data, const void* sample, const struct DDS_FilterSampleInfo* info) = 0;
  virtual void finalize(void* compile_data) = 0;
};
