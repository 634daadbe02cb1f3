// SPDX-License-Identifier: Apache-2.0

// Lets a reader receive only the samples of chosen units.
#pragma once

#include "tessivar/framework/address/address_ex.h"
#include "tessivar/platform/content_filter.h"

#include <set>
#include <string>

namespace TessivarDDS {

/// The content filter behind every address-filtered topic.
///
/// The filter expression is "typeName=" and a registered type name, the parameters are the texts of the wanted
/// addresses, compared as texts; without parameters every sample passes. The filter holds no state: one instance serves
/// the process, on any thread. Evaluating allocates nothing and takes the time of one search among the addresses.
class TESSIVAR_API AddressContentFilter : public DDSContentFilter {
 public:
  /// What it is registered with domains as.
  static constexpr const char* name = "Orvel.Filters.Address";
  /// Lives until the process ends.
  static AddressContentFilter& instance();
  /// The filter expression for the samples of a type.
  static std::string expression(const char* typeName);

  /// The types that carry an address.
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

  /// Compares addresses with each other and with bare texts, which saves making an address of each sample's text.
  struct AddressOrder {
    using is_transparent = void;
    bool operator()(const AddressEx& a, const AddressEx& b) const { return a < b; }
    bool operator()(const AddressEx& a, const char* b) const;
    bool operator()(const char* a, const AddressEx& b) const;
  };

  /// What one filtered topic is filtered by; read-only once it is compiled.
  struct CompileData {
    std::set<AddressEx, AddressOrder> addresses;
    TypeEnum type;
    const char* (*address)(const void* sample);
  };

  DDS_ReturnCode_t compile(void** newCompileData, const char* expression, const DDS_StringSeq& parameters,
                           const DDS_TypeCode* typeCode, const char* typeClassName, void* oldCompileData) override;
  DDS_Boolean evaluate(void* compileData, const void* sample, const struct DDS_FilterSampleInfo* info) override;
  void finalize(void* compileData) override;

 private:
  TypeEnum convertType(const std::string& typeName) const;
};

}  // namespace TessivarDDS
