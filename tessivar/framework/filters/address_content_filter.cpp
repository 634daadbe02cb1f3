// SPDX-License-Identifier: Apache-2.0

#include "tessivar/framework/filters/address_content_filter.h"

#include "tessivar/framework/domain/detail/signature.h"
#include "tessivar/framework/log/logger.h"
#include "tessivar/platform/detail/immortal.h"
#include "tessivar/types/command/command.h"
#include "tessivar/types/routing/routing.h"

#include <memory>

namespace TessivarDDS {
namespace {

constexpr std::string_view type_key = "typeName=";

struct FilteredType {
  AddressContentFilter::TypeEnum type;
  const char* name;
  const char* (*address)(const void* sample);
};

template <class T>
const char* unitOf(const void* sample) {
  return static_cast<const T*>(sample)->unitId;
}

/// The address of a change request is the unit that it changes.
template <class T>
const char* unitOfNewValue(const void* sample) {
  return static_cast<const T*>(sample)->newValue.unitId;
}

constexpr FilteredType filtered_types[] = {
    {AddressContentFilter::RoutingSource, "Tessivar_Routing::Source", unitOf<Tessivar_Routing::Source>},
    {AddressContentFilter::RoutingDestination, "Tessivar_Routing::Destination", unitOf<Tessivar_Routing::Destination>},
    {AddressContentFilter::RoutingAssociation, "Tessivar_Routing::Association", unitOf<Tessivar_Routing::Association>},
    {AddressContentFilter::RoutingAssociationRoute, "Tessivar_Routing::AssociationRoute",
     unitOf<Tessivar_Routing::AssociationRoute>},
    {AddressContentFilter::RoutingAssociationRouteChangeRequest, "Tessivar_Routing::AssociationRouteChangeRequest",
     unitOfNewValue<Tessivar_Routing::AssociationRouteChangeRequest>},
    {AddressContentFilter::Command, "Tessivar::Command", unitOf<Tessivar::Command>},
    {AddressContentFilter::CommandChangeRequest, "Tessivar::CommandChangeRequest",
     unitOfNewValue<Tessivar::CommandChangeRequest>},
    {AddressContentFilter::CommandInterest, "Tessivar::CommandInterest", unitOf<Tessivar::CommandInterest>},
    {AddressContentFilter::CommandMetadata, "Tessivar::CommandMetadata", unitOf<Tessivar::CommandMetadata>},
};

const FilteredType* findType(AddressContentFilter::TypeEnum type) {
  for (const FilteredType& entry : filtered_types) {
    if (entry.type == type) return &entry;
  }
  return nullptr;
}

}  // namespace

AddressContentFilter& AddressContentFilter::instance() {
  static tessivar::platform::Immortal<AddressContentFilter> filter;
  return *filter;
}

std::string AddressContentFilter::expression(const char* typeName) {
  return std::string(type_key) + typeName;
}

DDS_ReturnCode_t AddressContentFilter::compile(void** newCompileData, const char* expression,
                                               const DDS_StringSeq& parameters, const DDS_TypeCode*, const char*,
                                               void* oldCompileData) {
  constexpr const char* signature =
      "DDS_ReturnCode_t __cdecl TessivarDDS::AddressContentFilter::compile(void **,const char *,"
      "const struct DDS_StringSeq &,const struct DDS_TypeCode *,const char *,void *)";
  delete static_cast<CompileData*>(oldCompileData);
  if (!expression) {
    logError() << signature << "Expression was null";
    return DDS_RETCODE_ERROR;
  }
  const std::string_view text = expression;
  const std::size_t key = text.find(type_key);
  if (key == std::string_view::npos) {
    logError() << signature << "Expected expression in the form typeName=Type";
    return DDS_RETCODE_ERROR;
  }
  // The length of the name is the position of the first blank in the whole expression. Therefore text after the name is
  // not always cut off. Peers read the expression in the same way, so this must not change.
  const std::string typeName(text.substr(key + type_key.size(), text.find(' ', key)));

  const TypeEnum type = convertType(typeName);
  const FilteredType* const entry = findType(type);
  if (!entry) return DDS_RETCODE_ERROR;
  auto data = std::make_unique<CompileData>();
  data->type = type;
  data->address = entry->address;
  for (DDS_Long i = 0; i < parameters.length(); ++i) {
    if (parameters[i]) data->addresses.emplace(static_cast<const char*>(parameters[i]));
  }
  data->texts.reserve(data->addresses.size());
  for (const AddressEx& address : data->addresses) data->texts.emplace(address.guid());
  logInfo() << signature << "Compiled Address Filter for TypeName: " << typeName
            << " Address List Size: " << data->addresses.size();
  *newCompileData = data.release();
  return DDS_RETCODE_OK;
}

DDS_Boolean AddressContentFilter::evaluate(void* compileData, const void* sample, const struct DDS_FilterSampleInfo*) {
  const auto& data = *static_cast<const CompileData*>(compileData);
  if (data.texts.empty()) return DDS_BOOLEAN_TRUE;
  const char* const address = data.address(sample);
  // A sample without address belongs to no unit.
  return address && data.texts.contains(address) ? DDS_BOOLEAN_TRUE : DDS_BOOLEAN_FALSE;
}

void AddressContentFilter::finalize(void* compileData) {
  logInfo() << "void __cdecl TessivarDDS::AddressContentFilter::finalize(void *)"
            << "Deleting Address Content Filter";
  delete static_cast<CompileData*>(compileData);
}

AddressContentFilter::TypeEnum AddressContentFilter::convertType(const std::string& typeName) const {
  for (const FilteredType& entry : filtered_types) {
    if (typeName == entry.name) return entry.type;
  }
  logError()
      << "enum TessivarDDS::AddressContentFilter::TypeEnum __cdecl TessivarDDS::AddressContentFilter::convertType("
         "const " TESSIVAR_SIGNATURE_STRING " &) const"
      << "Unknown typename in address content filter: " << typeName;
  return Unknown;
}

}  // namespace TessivarDDS
