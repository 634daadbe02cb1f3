// SPDX-License-Identifier: Apache-2.0

#include "tessivar/platform/type_code.h"

#include "tessivar/platform/system/calls.h"

#include <algorithm>
#include <cstring>
#include <string_view>

namespace {

constexpr DDS_TypeCode primitive(DDS_TCKind kind) {
  return {kind, "", 0, nullptr, nullptr, 0, DDS_FINAL_EXTENSIBILITY};
}

}  // namespace

const DDS_TypeCode DDS_g_tc_short = primitive(DDS_TK_SHORT);
const DDS_TypeCode DDS_g_tc_ushort = primitive(DDS_TK_USHORT);
const DDS_TypeCode DDS_g_tc_long = primitive(DDS_TK_LONG);
const DDS_TypeCode DDS_g_tc_ulong = primitive(DDS_TK_ULONG);
const DDS_TypeCode DDS_g_tc_longlong = primitive(DDS_TK_LONGLONG);
const DDS_TypeCode DDS_g_tc_ulonglong = primitive(DDS_TK_ULONGLONG);
const DDS_TypeCode DDS_g_tc_float = primitive(DDS_TK_FLOAT);
const DDS_TypeCode DDS_g_tc_boolean = primitive(DDS_TK_BOOLEAN);
const DDS_TypeCode DDS_g_tc_octet = primitive(DDS_TK_OCTET);

const DDS_TypeCodeMember* DDS_TypeCode::find_member_by_name(const char* member_name) const {
  for (DDS_UnsignedLong i = 0; member_name && i < members_length; ++i)
    if (std::strcmp(members[i].name, member_name) == 0) return &members[i];
  return nullptr;
}

namespace tessivar::platform {
namespace {

struct QualifiedName {
  std::string_view module;
  std::string_view name;
};

QualifiedName split(std::string_view qualified) {
  const std::size_t colons = qualified.rfind("::");
  if (colons == std::string_view::npos) return {{}, qualified};
  return {qualified.substr(0, colons), qualified.substr(colons + 2)};
}

// OMG IDL 4.2, table 7-6.
constexpr const char* keywords[] = {
    "abstract", "any",         "alias",     "attribute", "bitfield",  "bitmask",    "bitset",   "boolean",
    "case",     "char",        "component", "connector", "const",     "consumes",   "context",  "custom",
    "default",  "double",      "exception", "emits",     "enum",      "eventtype",  "factory",  "false",
    "final",    "finder",      "fixed",     "float",     "getraises", "getter",     "home",     "import",
    "in",       "inout",       "interface", "local",     "long",      "manages",    "map",      "mirrorport",
    "module",   "multiple",    "native",    "object",    "octet",     "oneway",     "out",      "primarykey",
    "private",  "port",        "porttype",  "provides",  "public",    "publishes",  "raises",   "readonly",
    "setter",   "sequence",    "setraises", "short",     "string",    "struct",     "supports", "switch",
    "true",     "truncatable", "typedef",   "typeid",    "typename",  "typeprefix", "unsigned", "union",
    "uses",     "valuebase",   "valuetype", "void",      "wchar",     "wstring",    "int8",     "uint8",
    "int16",    "int32",       "int64",     "uint16",    "uint32",    "uint64"};

/// Returns the name as an IDL identifier. A name that equals a keyword, in upper or lower case, gets an underscore in
/// front, which is not part of the name.
std::string identifier(std::string_view name) {
  const std::string text(name);
  const bool taken = std::any_of(std::begin(keywords), std::end(keywords),
                                 [&](const char* keyword) { return equal_ignoring_case(keyword, text.c_str()); });
  return taken ? '_' + text : text;
}

/// Returns the IDL with which a member inside `module` declares this type.
std::string reference(const DDS_TypeCode& type, std::string_view module) {
  switch (type.kind()) {
    case DDS_TK_SHORT:
      return "short";
    case DDS_TK_USHORT:
      return "unsigned short";
    case DDS_TK_LONG:
      return "long";
    case DDS_TK_ULONG:
      return "unsigned long";
    case DDS_TK_LONGLONG:
      return "long long";
    case DDS_TK_ULONGLONG:
      return "unsigned long long";
    case DDS_TK_FLOAT:
      return "float";
    case DDS_TK_BOOLEAN:
      return "boolean";
    case DDS_TK_OCTET:
      return "octet";
    case DDS_TK_STRING:
      return "string<" + std::to_string(type.length()) + ">";
    case DDS_TK_SEQUENCE:
      return "sequence<" + reference(*type.content_type(), module) + ", " + std::to_string(type.length()) + ">";
    case DDS_TK_ALIAS:
    case DDS_TK_ENUM:
    case DDS_TK_STRUCT:
    case DDS_TK_UNION:
      break;
  }
  const QualifiedName name = split(type.name());
  return name.module == module ? identifier(name.name) : std::string(name.module) + "::" + identifier(name.name);
}

std::string enumeration(const DDS_TypeCode& type, std::string_view name) {
  std::string text = "  enum " + identifier(name) + " {\n";
  for (DDS_UnsignedLong i = 0; i < type.member_count(); ++i) {
    text += "    ";
    text += identifier(type.member(i)->name);
    text += i + 1 < type.member_count() ? ",\n" : "\n";
  }
  return text + "  };\n";
}

std::string structure(const DDS_TypeCode& type, const QualifiedName& name) {
  const bool is_mutable = type.extensibility_kind() == DDS_MUTABLE_EXTENSIBILITY;
  std::string text = is_mutable ? "  @mutable\n" : "  @final\n";
  text += "  struct " + identifier(name.name) + " {\n";
  for (DDS_UnsignedLong i = 0; i < type.member_count(); ++i) {
    const DDS_TypeCodeMember& member = *type.member(i);
    text += "    ";
    if (member.kind == DDS_TYPECODE_KEY_MEMBER) text += "@key ";
    if (member.kind == DDS_TYPECODE_NONKEY_MEMBER) text += "@optional ";
    if (is_mutable) text += "@id(" + std::to_string(member.id) + ") ";
    text += reference(*member.type, name.module) + " " + identifier(member.name) + ";\n";
  }
  return text + "  };\n";
}

std::string union_type(const DDS_TypeCode& type, const QualifiedName& name) {
  const DDS_TypeCode& discriminator = *type.discriminator_type();
  std::string text = "  @final\n  union " + identifier(name.name);
  text += " switch (" + reference(discriminator, name.module) + ") {\n";
  for (DDS_UnsignedLong i = 0; i < type.member_count(); ++i) {
    const DDS_TypeCodeMember& branch = *type.member(i);
    for (DDS_UnsignedLong label = 0; label < branch.label_count; ++label) {
      text += "    case ";
      text += identifier(discriminator.member(static_cast<DDS_UnsignedLong>(branch.labels[label]))->name);
      text += ":\n";
    }
    text += "      " + reference(*branch.type, name.module) + " " + identifier(branch.name) + ";\n";
  }
  return text + "  };\n";
}

}  // namespace

std::string to_idl(const DDS_TypeCode& type) {
  const QualifiedName name = split(type.name());
  switch (type.kind()) {
    case DDS_TK_ALIAS:
      return "  typedef " + reference(*type.content_type(), name.module) + " " + identifier(name.name) + ";\n";
    case DDS_TK_ENUM:
      return enumeration(type, name.name);
    case DDS_TK_STRUCT:
      return structure(type, name);
    case DDS_TK_UNION:
      return union_type(type, name);
    default:
      return reference(type, name.module);
  }
}

}  // namespace tessivar::platform
