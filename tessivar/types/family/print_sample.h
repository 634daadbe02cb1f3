// SPDX-License-Identifier: Apache-2.0

// Prints samples as text for debugging.
#pragma once

#include "tessivar/platform/print.h"
#include "tessivar/types/family/kinds.h"

namespace tessivar::types {

using platform::Printer;

template <class T>
void print(Number<T>, Printer& printer, const T* value, const char* description, unsigned indent) {
  printer.value(*value, description, indent);
}
inline void print(Octet, Printer& printer, const DDS_Octet* value, const char* description, unsigned indent) {
  printer.octet(*value, description, indent);
}
inline void print(Boolean, Printer& printer, const DDS_Boolean* value, const char* description, unsigned indent) {
  printer.boolean(*value, description, indent);
}
template <std::size_t Bound>
void print(String<Bound>, Printer& printer, char* const* text, const char* description, unsigned indent) {
  printer.string(*text, description, indent);
}

/// Types with a name begin with a heading line.
template <class T>
bool begin(Printer& printer, const T* sample, const char* description, unsigned indent) {
  printer.heading(description, indent);
  if (!sample) printer.null();
  return sample != nullptr;
}

template <class Element, DDS_Long Bound, class S>
void print(Sequence<Element, Bound, S>, Printer& printer, const S* sequence, const char* description, unsigned indent) {
  const std::string name = description ? description : "";
  if (!name.empty()) printer.heading(description, indent++);
  for (DDS_Long i = 0; i < sequence->length(); ++i)
    print(Element(), printer, sequence->get_reference(i), (name + '[' + std::to_string(i) + ']').c_str(), indent);
}

template <Name N, class Content>
void print(Typedef<N, Content>, Printer& printer, const typename Content::type* value, const char* description,
           unsigned indent) {
  if (begin(printer, value, description, indent)) print(Content(), printer, value, "", indent + 1);
}

template <class T>
void print(Enumeration<T>, Printer& printer, const T* value, const char* description, unsigned indent) {
  if (!begin(printer, value, description, indent)) return;
  const char* name = is_enumerator(*value) ? Table<T>::enumerators[static_cast<std::size_t>(*value)] : nullptr;
  printer.enumerator(static_cast<DDS_Long>(*value), name, short_name(Table<T>::name).data(), indent + 1);
}

template <class T>
void print(Structure<T>, Printer& printer, const T* sample, const char* description, unsigned indent) {
  if (!begin(printer, sample, description, indent)) return;
  for_each_member<T>([&]<class M>(DDS_UnsignedLong) {
    print(typename M::Kind(), printer, &(sample->*M::pointer), M::name, indent + 1);
    return true;
  });
}

template <class Content>
void print(Optional<Content>, Printer& printer, typename Content::type* const* member, const char* description,
           unsigned indent) {
  print(Content(), printer, *member, description, indent);
}

/// Prints the discriminator and the branch that it selects.
template <class T>
void print(Union<T>, Printer& printer, const T* value, const char* description, unsigned indent) {
  if (!begin(printer, value, description, indent)) return;
  print(typename Table<T>::Discriminator(), printer, &value->_d, "_d", indent + 1);
  for_each_branch<T>([&]<class B>() {
    if (B::selected_by(value->_d)) print(typename B::Kind(), printer, &(value->_u.*B::pointer), B::name, indent + 1);
    return true;
  });
}

}  // namespace tessivar::types
