// SPDX-License-Identifier: Apache-2.0

// The kinds of members, and the tables that describe each type.
//
// A kind is a tag; it stores nothing. Each operation on samples (memory.h, encode.h, decode.h …) is a set of overloads,
// one for each kind. The overload for a structure walks over the table of the structure. The members of a type are
// stated only in its table.
//
// Adding a type needs: a structure and a macro of type_support.h in MODULE.h; a table in internal/MODULE_tables.h;
// macros of type_support_impl.h in a .cpp file of the module; the type in MODULE.idl; a line in tests/types/any_type/,
// with which every test covers the type.
#pragma once

#include "tessivar/platform/sequence.h"

#include <array>
#include <cstddef>
#include <string_view>
#include <type_traits>

namespace tessivar::types {

using platform::Name;

template <class T>
struct Table;

// --- kinds -----------------------------------------------------------------------------------------------------------

/// A number. It has the same size in an encoding as in memory.
template <class T>
struct Number {
  typedef T type;
};
using Short = Number<DDS_Short>;
using UShort = Number<DDS_UnsignedShort>;
using Long = Number<DDS_Long>;
using ULong = Number<DDS_UnsignedLong>;
using ULongLong = Number<DDS_UnsignedLongLong>;
using Float = Number<DDS_Float>;

struct Octet {
  typedef DDS_Octet type;
};

/// Encoded as 0 or 1. Any other octet in memory counts as 1.
struct Boolean {
  typedef DDS_Boolean type;
};

/// At most `Bound` characters, in a `char*` that the sample owns.
template <std::size_t Bound>
struct String {
  typedef char* type;
  static constexpr std::size_t bound = Bound;
  static constexpr std::size_t size = Bound + 1;
};

/// At most `Bound` elements, in a sequence class.
template <class ElementKind, DDS_Long Bound, class SequenceType>
struct Sequence {
  typedef SequenceType type;
  typedef ElementKind Element;
  static constexpr DDS_Long bound = Bound;
};

/// Another name for a kind.
template <Name QualifiedName, class ContentKind>
struct Typedef {
  typedef typename ContentKind::type type;
  typedef ContentKind Content;
  static constexpr const char* name = QualifiedName.text;
};

template <class T>
struct Enumeration {
  typedef T type;
};

template <class T>
struct Structure {
  typedef T type;
};

template <class T>
struct Union {
  typedef T type;
};

/// A member that may be absent: a pointer that the sample owns. It is null if the member is absent.
template <class ContentKind>
struct Optional {
  typedef typename ContentKind::type* type;
  typedef ContentKind Content;
};

// --- parts of tables -------------------------------------------------------------------------------------------------

enum class Role { plain, key };

template <Name MemberName, auto Pointer, class MemberKind, Role MemberRole = Role::plain>
struct Member {
  typedef MemberKind Kind;
  static constexpr const char* name = MemberName.text;
  static constexpr auto pointer = Pointer;
  static constexpr bool key = MemberRole == Role::key;
  static constexpr bool optional = false;
};

template <Name MemberName, auto Pointer, class MemberKind>
struct Member<MemberName, Pointer, Optional<MemberKind>, Role::plain> {
  typedef Optional<MemberKind> Kind;
  static constexpr const char* name = MemberName.text;
  static constexpr auto pointer = Pointer;
  static constexpr bool key = false;
  static constexpr bool optional = true;
};

template <Name MemberName, auto Pointer, class MemberKind>
using Key = Member<MemberName, Pointer, MemberKind, Role::key>;

template <class... Members>
struct List {};

/// Ids count from `FirstId`, in declaration order.
template <bool Mutable, DDS_UnsignedLong FirstId, Name QualifiedName, class... Members>
struct StructureTable {
  typedef List<Members...> MemberList;
  static constexpr const char* name = QualifiedName.text;
  static constexpr bool is_mutable = Mutable;
  static constexpr DDS_UnsignedLong first_id = FirstId;
  static constexpr bool keyed = (Members::key || ...);
  static constexpr std::size_t member_count = sizeof...(Members);
};
template <Name QualifiedName, class... Members>
using Final = StructureTable<false, 0, QualifiedName, Members...>;
template <Name QualifiedName, class... Members>
using Mutable = StructureTable<true, 1, QualifiedName, Members...>;

/// Values count from 0.
template <Name QualifiedName, Name... Enumerators>
struct EnumerationTable {
  static constexpr const char* name = QualifiedName.text;
  static constexpr std::array<const char*, sizeof...(Enumerators)> enumerators = {Enumerators.text...};
};

/// A branch of a union's `_u`, with its case labels.
template <Name BranchName, auto Pointer, class BranchKind, auto... Labels>
struct Branch {
  typedef BranchKind Kind;
  static constexpr const char* name = BranchName.text;
  static constexpr auto pointer = Pointer;
  static constexpr std::array<DDS_Long, sizeof...(Labels)> labels = {static_cast<DDS_Long>(Labels)...};
  template <class T>
  static constexpr bool selected_by(T discriminator) {
    return ((discriminator == Labels) || ...);
  }
};

/// In memory a union is `_d`, and `_u` with all branches side by side.
template <Name QualifiedName, class DiscriminatorKind, class... Branches>
struct UnionTable {
  typedef DiscriminatorKind Discriminator;
  typedef List<Branches...> BranchList;
  static constexpr const char* name = QualifiedName.text;
};

// --- queries about kinds ---------------------------------------------------------------------------------------------

/// Calls `visit.template operator()<Member>(id)` for each member, until a call returns false. Returns true if no call
/// returned false.
template <class T, class Visit, class... Members>
constexpr bool for_each_member(List<Members...>, Visit&& visit) {
  DDS_UnsignedLong id = Table<T>::first_id;
  return (visit.template operator()<Members>(id++) && ...);
}
template <class T, class Visit>
constexpr bool for_each_member(Visit&& visit) {
  return for_each_member<T>(typename Table<T>::MemberList{}, visit);
}

template <class T, class Visit, class... Branches>
constexpr bool for_each_branch(List<Branches...>, Visit&& visit) {
  return (visit.template operator()<Branches>() && ...);
}
template <class T, class Visit>
constexpr bool for_each_branch(Visit&& visit) {
  return for_each_branch<T>(typename Table<T>::BranchList{}, visit);
}

template <class Kind>
struct IsKeyed : std::false_type {};
template <class T>
struct IsKeyed<Structure<T>> : std::bool_constant<Table<T>::keyed> {};

template <class Kind>
struct IsMutable : std::false_type {};
template <class T>
struct IsMutable<Structure<T>> : std::bool_constant<Table<T>::is_mutable> {};

/// True for kinds whose octets in memory equal the octets of the encoding, except for their order.
template <class Kind>
struct IsNumber : std::false_type {};
template <class T>
struct IsNumber<Number<T>> : std::true_type {};
template <>
struct IsNumber<Octet> : std::true_type {};
template <Name N, class Content>
struct IsNumber<Typedef<N, Content>> : IsNumber<Content> {};

/// The name of a type without its module.
constexpr std::string_view short_name(std::string_view qualified) {
  const std::size_t colons = qualified.rfind("::");
  return colons == std::string_view::npos ? qualified : qualified.substr(colons + 2);
}

template <class Kind>
struct NameOf;
template <class T>
struct NameOf<Structure<T>> {
  static constexpr const char* value = Table<T>::name;
};
template <class T>
struct NameOf<Union<T>> {
  static constexpr const char* value = Table<T>::name;
};
template <class T>
struct NameOf<Enumeration<T>> {
  static constexpr const char* value = Table<T>::name;
};
template <Name N, class Content>
struct NameOf<Typedef<N, Content>> {
  static constexpr const char* value = N.text;
};

template <class T>
constexpr bool is_enumerator(T value) {
  return static_cast<DDS_UnsignedLong>(value) < Table<T>::enumerators.size();
}

}  // namespace tessivar::types
