// SPDX-License-Identifier: Apache-2.0

// One interface for all types of the data model, to run a test on each of them.
#pragma once

#include "tessivar/platform/cdr_stream.h"
#include "tessivar/platform/type_code.h"
#include "tessivar/platform/type_plugin.h"

#include <random>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

namespace types_test {

using nlohmann::json;
typedef std::mt19937_64 Random;

struct AnyType {
  const char* name;
  const char* room;  // the folder of its module
  bool keyed;
  bool is_mutable;
  const PRESTypePlugin* plugin;

  unsigned int (*min_size)(PRESTypePluginEndpointData, RTIBool with_header, RTIEncapsulationId, unsigned int alignment);
  unsigned int (*max_key_size)(PRESTypePluginEndpointData, RTIBool with_header, RTIEncapsulationId,
                               unsigned int alignment);
  RTIBool (*skip)(PRESTypePluginEndpointData, RTICdrStream*, RTIBool with_header, RTIBool with_sample, void*);
  bool (*stream_to_key)(void* key, RTICdrStream*);

  std::string (*text)(const void* sample);          // the printed sample
  void (*assign)(void* sample, const json& value);  // throws if the value does not fit
  void (*randomize)(void* sample, Random&);
  void (*reset)(void* sample);
};

/// All types in the order of the IDL files.
const std::vector<AnyType>& all_types();
/// Throws if no type has this name.
const AnyType& type_named(std::string_view name);

/// A sample that frees itself.
class AnySample {
 public:
  explicit AnySample(const AnyType& type) : type_(type), sample_(type.plugin->create_sample()) {}
  explicit AnySample(std::string_view type) : AnySample(type_named(type)) {}
  AnySample(std::string_view type, const json& value) : AnySample(type) { assign(value); }
  ~AnySample() { type_.plugin->destroy_sample(sample_); }
  AnySample(const AnySample&) = delete;
  AnySample& operator=(const AnySample&) = delete;

  void* get() const { return sample_; }
  const AnyType& type() const { return type_; }
  std::string text() const { return type_.text(sample_); }
  void assign(const json& value) { type_.assign(sample_, value); }
  void randomize(Random& random) { type_.randomize(sample_, random); }
  void reset() { type_.reset(sample_); }

 private:
  const AnyType& type_;
  void* sample_;
};

/// A sample of a type that is known at compile time.
template <class T>
class Sample : public AnySample {
 public:
  using AnySample::AnySample;
  T* get() const { return static_cast<T*>(AnySample::get()); }
  T* operator->() const { return get(); }
  T& operator*() const { return *get(); }
};

}  // namespace types_test
