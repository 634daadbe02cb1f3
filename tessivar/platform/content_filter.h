// SPDX-License-Identifier: Apache-2.0

// Filters that an application brings along.
#pragma once

#include "tessivar/platform/sample_info.h"

struct DDS_TypeCode;

/// Decides which samples a content-filtered topic lets through. Registered with a participant by name; not owned.
///
/// `compile` runs on the thread that makes or re-parameterises a filtered topic, `evaluate` on the engine's receive
/// threads, for one reader never two at a time; `finalize` once nobody evaluates with that data any more. An exception
/// that leaves `evaluate` is logged and refuses the sample. The engine or the platform holds a lock meanwhile: reading,
/// taking, writing, waiting, and making or deleting entities are refused there, each with one log line.
class TESSIVAR_API DDSContentFilter {
 public:
  virtual ~DDSContentFilter() = default;
  /// Makes the data that `evaluate` gets. The platform passes null as `old_compile_data` and finalises the old data
  /// itself when the new one is in place, so that a failing compile leaves the old filter working.
  virtual DDS_ReturnCode_t compile(void** new_compile_data, const char* expression, const DDS_StringSeq& parameters,
                                   const DDS_TypeCode* type_code, const char* type_class_name,
                                   void* old_compile_data) = 0;
  virtual DDS_Boolean evaluate(void* compile_data, const void* sample, const struct DDS_FilterSampleInfo* info) = 0;
  virtual void finalize(void* compile_data) = 0;
};
