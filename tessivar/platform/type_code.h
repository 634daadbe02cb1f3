// SPDX-License-Identifier: Apache-2.0

// Type descriptions: the structure of a type as constant data.
//
// Every description is a constant. It is never allocated or freed, and any thread may read it.
#pragma once

#include "tessivar/platform/base.h"

#include <string>

enum DDS_TCKind {
  DDS_TK_SHORT,
  DDS_TK_USHORT,
  DDS_TK_LONG,
  DDS_TK_ULONG,
  DDS_TK_LONGLONG,
  DDS_TK_ULONGLONG,
  DDS_TK_FLOAT,
  DDS_TK_BOOLEAN,
  DDS_TK_OCTET,
  DDS_TK_STRING,
  DDS_TK_SEQUENCE,
  DDS_TK_ALIAS,
  DDS_TK_ENUM,
  DDS_TK_STRUCT,
  DDS_TK_UNION
};

/// How a structure may change in later versions; this decides its encoding (DDS-XTypes 1.3, 7.2.2.4).
enum DDS_ExtensibilityKind { DDS_FINAL_EXTENSIBILITY, DDS_MUTABLE_EXTENSIBILITY };

enum DDS_TypeCodeMemberKind {
  DDS_TYPECODE_KEY_MEMBER,
  DDS_TYPECODE_NONKEY_REQUIRED_MEMBER,
  DDS_TYPECODE_NONKEY_MEMBER  // optional
};

struct DDS_TypeCode;

/// A member of a structure, a branch of a union or an enumerator.
struct DDS_TypeCodeMember {
  const char* name;
  const DDS_TypeCode* type;  // null for an enumerator
  DDS_TypeCodeMemberKind kind;
  /// The id of a member of a structure, or the value of an enumerator.
  DDS_Long id;
  /// The case labels of a branch.
  const DDS_Long* labels;
  DDS_UnsignedLong label_count;
};

struct TESSIVAR_API DDS_TypeCode {
  DDS_TCKind tc_kind;
  /// "Tessivar::Command"; empty for primitives, strings and sequences.
  const char* qualified_name;
  /// The bound of a string in characters, or of a sequence in elements.
  DDS_UnsignedLong bound;
  /// The element type of a sequence, the target of an alias, or the discriminator type of a union.
  const DDS_TypeCode* content;
  const DDS_TypeCodeMember* members;
  DDS_UnsignedLong members_length;
  DDS_ExtensibilityKind extensibility;

  DDS_TCKind kind() const { return tc_kind; }
  const char* name() const { return qualified_name; }
  DDS_UnsignedLong length() const { return bound; }
  const DDS_TypeCode* content_type() const { return content; }
  const DDS_TypeCode* discriminator_type() const { return content; }
  DDS_ExtensibilityKind extensibility_kind() const { return extensibility; }
  DDS_UnsignedLong member_count() const { return members_length; }
  /// Returns null if there is no member of that index.
  const DDS_TypeCodeMember* member(DDS_UnsignedLong index) const {
    return index < members_length ? &members[index] : nullptr;
  }
  const DDS_TypeCodeMember* find_member_by_name(const char* member_name) const;
};

extern TESSIVAR_API const DDS_TypeCode DDS_g_tc_short;
extern TESSIVAR_API const DDS_TypeCode DDS_g_tc_ushort;
extern TESSIVAR_API const DDS_TypeCode DDS_g_tc_long;
extern TESSIVAR_API const DDS_TypeCode DDS_g_tc_ulong;
extern TESSIVAR_API const DDS_TypeCode DDS_g_tc_longlong;
extern TESSIVAR_API const DDS_TypeCode DDS_g_tc_ulonglong;
extern TESSIVAR_API const DDS_TypeCode DDS_g_tc_float;
extern TESSIVAR_API const DDS_TypeCode DDS_g_tc_boolean;
extern TESSIVAR_API const DDS_TypeCode DDS_g_tc_octet;

namespace tessivar::platform {

/// Returns the type as IDL (OMG IDL 4.2 with the annotations of DDS-XTypes 1.3), as it is written inside its module.
/// Each line is indented by two blanks. The names of types of other modules include their module.
TESSIVAR_API std::string to_idl(const DDS_TypeCode& type);

}  // namespace tessivar::platform
