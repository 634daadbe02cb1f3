// SPDX-License-Identifier: Apache-2.0

// The content filter with which a reader receives only the samples of selected units.
#pragma once

#include "tessivar/framework/address/address_ex.h"
#include "tessivar/platform/content_filter.h"

#include <set>
#include <string>
#include <string_view>
#include <unordered_set>

namespace TessivarDDS {

/// The content filter of all address-filtered topics.
///
/// The filter expression is "typeName=" and the registered name of a type. The parameters are the texts of the wanted
/// addresses. Addresses are compared as texts. Without parameters, every sample passes. The filter has no state: one
/// instance serves the process, on any thread. An evaluation allocates nothing and needs one search in a hash table.
class TESSIVAR_API AddressContentFilter : public DDSContentFilter {
 public:
  /// The name under which the filter is registered with domains.
  static constexpr const char* name = "Orvel.Filters.Address";
  /// The instance lives until the process ends.
  static AddressContentFilter& instance();
  /// Returns the filter expression for the samples of a type.
  static std::string expression(const char* typeName);

  /// The types with an address.
  enum TypeEnum {
    Unknown = 0,
    RoutingSource = 1,
    RoutingDestination = 2,
    RoutingAssociation = 3,
    RoutingAssociationRoute = 4,
    RoutingAssociationRouteChangeRequest = 5,
    Command = 6,
    CommandChangeRequest = 7,
    CommandInterest = 8,
    CommandMetadata = 9,
  };

  /// The compiled filter of one filtered topic. It does not change after the compilation.
  struct CompileData {
    std::set<AddressEx> addresses;
    TypeEnum type;
    const char* (*address)(const void* sample);
    std::unordered_set<std::string_view> texts;  // the texts of `addresses`, which own them
  };

  DDS_ReturnCode_t compile(void** newCompileData, const char* expression, const DDS_StringSeq& parameters,
                           const DDS_TypeCode* typeCode, const char* typeClassName, void* oldCompileData) override;
  DDS_Boolean evaluate(void* compileData, const void* sample, const struct DDS_FilterSampleInfo* info) override;
  void finalize(void* compileData) override;

 private:
  TypeEnum convertType(const std::string& typeName) const;
};

}  // namespace TessivarDDS
