// SPDX-License-Identifier: Apache-2.0

// Type descriptions (type codes). The compiler computes them from the tables.
#pragma once

#include "tessivar/platform/type_code.h"
#include "tessivar/types/family/kinds.h"

namespace tessivar::types {

template <class Kind>
struct Description;

template <class Kind>
constexpr const DDS_TypeCode* type_code_of() {
  return Description<Kind>::type_code();
}

template <>
struct Description<Short> {
  static constexpr const DDS_TypeCode* type_code() { return &DDS_g_tc_short; }
};
template <>
struct Description<UShort> {
  static constexpr const DDS_TypeCode* type_code() { return &DDS_g_tc_ushort; }
};
template <>
struct Description<Long> {
  static constexpr const DDS_TypeCode* type_code() { return &DDS_g_tc_long; }
};
template <>
struct Description<ULong> {
  static constexpr const DDS_TypeCode* type_code() { return &DDS_g_tc_ulong; }
};
template <>
struct Description<ULongLong> {
  static constexpr const DDS_TypeCode* type_code() { return &DDS_g_tc_ulonglong; }
};
template <>
struct Description<Float> {
  static constexpr const DDS_TypeCode* type_code() { return &DDS_g_tc_float; }
};
template <>
struct Description<Boolean> {
  static constexpr const DDS_TypeCode* type_code() { return &DDS_g_tc_boolean; }
};
template <>
struct Description<Octet> {
  static constexpr const DDS_TypeCode* type_code() { return &DDS_g_tc_octet; }
};

template <std::size_t Bound>
struct Description<String<Bound>> {
  static constexpr DDS_TypeCode value = {DDS_TK_STRING, "", Bound, nullptr, nullptr, 0, DDS_FINAL_EXTENSIBILITY};
  static constexpr const DDS_TypeCode* type_code() { return &value; }
};

template <class Element, DDS_Long Bound, class S>
struct Description<Sequence<Element, Bound, S>> {
  static constexpr DDS_TypeCode value = {DDS_TK_SEQUENCE,         "",      static_cast<DDS_UnsignedLong>(Bound),
                                         type_code_of<Element>(), nullptr, 0,
                                         DDS_FINAL_EXTENSIBILITY};
  static constexpr const DDS_TypeCode* type_code() { return &value; }
};

template <Name N, class Content>
struct Description<Typedef<N, Content>> {
  static constexpr DDS_TypeCode value = {DDS_TK_ALIAS,           N.text, 0, type_code_of<Content>(), nullptr, 0,
                                         DDS_FINAL_EXTENSIBILITY};
  static constexpr const DDS_TypeCode* type_code() { return &value; }
};

template <class Content>
struct Description<Optional<Content>> : Description<Content> {};

template <class T>
struct Description<Enumeration<T>> {
  static constexpr auto members = [] {
    std::array<DDS_TypeCodeMember, Table<T>::enumerators.size()> all = {};
    for (std::size_t i = 0; i < all.size(); ++i)
      all[i] = {Table<T>::enumerators[i], nullptr, DDS_TYPECODE_NONKEY_REQUIRED_MEMBER,
                static_cast<DDS_Long>(i), nullptr, 0};
    return all;
  }();
  static constexpr DDS_TypeCode value = {DDS_TK_ENUM,    Table<T>::name,         0, nullptr, members.data(),
                                         members.size(), DDS_FINAL_EXTENSIBILITY};
  static constexpr const DDS_TypeCode* type_code() { return &value; }
};

template <class M>
constexpr DDS_TypeCodeMemberKind member_kind() {
  if (M::key) return DDS_TYPECODE_KEY_MEMBER;
  return M::optional ? DDS_TYPECODE_NONKEY_MEMBER : DDS_TYPECODE_NONKEY_REQUIRED_MEMBER;
}

template <class T, class... Members>
constexpr auto describe_members(List<Members...>) {
  std::array<DDS_TypeCodeMember, sizeof...(Members)> all = {};
  for_each_member<T>([&]<class M>(DDS_UnsignedLong id) {
    all[id - Table<T>::first_id] = {
        M::name, type_code_of<typename M::Kind>(), member_kind<M>(), static_cast<DDS_Long>(id), nullptr, 0};
    return true;
  });
  return all;
}

template <class T>
struct Description<Structure<T>> {
  static constexpr auto members = describe_members<T>(typename Table<T>::MemberList());
  static constexpr DDS_TypeCode value = {DDS_TK_STRUCT,
                                         Table<T>::name,
                                         0,
                                         nullptr,
                                         members.data(),
                                         members.size(),
                                         Table<T>::is_mutable ? DDS_MUTABLE_EXTENSIBILITY : DDS_FINAL_EXTENSIBILITY};
  static constexpr const DDS_TypeCode* type_code() { return &value; }
};

template <class... Branches>
constexpr auto describe_branches(List<Branches...>) {
  return std::array<DDS_TypeCodeMember, sizeof...(Branches)>{
      DDS_TypeCodeMember{Branches::name, type_code_of<typename Branches::Kind>(), DDS_TYPECODE_NONKEY_REQUIRED_MEMBER,
                         0, Branches::labels.data(), Branches::labels.size()}...};
}

template <class T>
struct Description<Union<T>> {
  static constexpr auto members = describe_branches(typename Table<T>::BranchList());
  static constexpr DDS_TypeCode value = {
      DDS_TK_UNION,   Table<T>::name,         0, type_code_of<typename Table<T>::Discriminator>(), members.data(),
      members.size(), DDS_FINAL_EXTENSIBILITY};
  static constexpr const DDS_TypeCode* type_code() { return &value; }
};

}  // namespace tessivar::types
