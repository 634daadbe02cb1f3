// SPDX-License-Identifier: Apache-2.0

// Explains why a sample cannot be encoded: names the member that is over its bound or that is no enumerator.
//
// Used only after an encoding failed, so that encoding itself stays fast. Nothing is allocated.
#pragma once

#include "tessivar/types/family/kinds.h"

#include <cstdio>
#include <cstring>

namespace tessivar::types {

/// The path, the fault and the value of one member, as text:
/// Tessivar::Command.value.stringValue has more than 64 characters: "abc..."
class Fault {
 public:
  /// If `key_only` is true, only key members are examined. `text` has a size of `size` > 0 octets; a longer text is
  /// cut.
  Fault(char* text, std::size_t size, bool key_only) : text_(text), size_(size), key_only_(key_only) {
    text_[0] = '\0';
  }

  bool key_only() const { return key_only_; }

  /// Appends to the text. Returns true.
  template <class... Values>
  bool say(const char* format, Values... values) {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"
    const std::size_t used = std::strlen(text_);
    std::snprintf(text_ + used, size_ - used, format, values...);
#pragma GCC diagnostic pop
    return true;
  }
  /// Appends a step to the path and calls `find()`. Returns the result of `find()`; if it is false, the step is removed
  /// again.
  template <class Value, class Find>
  bool within(const char* step, Value value, Find&& find) {
    const std::size_t outer = std::strlen(text_);
    say(step, value);
    if (find()) return true;
    text_[outer] = '\0';
    return false;
  }

 private:
  char* const text_;
  const std::size_t size_;
  const bool key_only_;
};

template <class Kind, class T>
bool find_fault(Kind, Fault&, const T&) {  // any number can be encoded
  return false;
}
template <class T>
bool find_fault(Enumeration<T>, Fault& fault, const T& value) {
  return !is_enumerator(value) &&
         fault.say(" is %d, which is no enumerator of %s", static_cast<int>(value), Table<T>::name);
}
template <std::size_t Bound>
bool find_fault(String<Bound>, Fault& fault, char* const& text) {
  return text && strnlen(text, Bound + 1) > Bound &&
         fault.say(" has more than %d characters: \"%.32s...\"", static_cast<int>(Bound),
                   static_cast<const char*>(text));
}
template <class Element, DDS_Long Bound, class S>
bool find_fault(Sequence<Element, Bound, S>, Fault& fault, const S& sequence) {
  if (sequence.length() > Bound)
    return fault.say(" has %d elements, more than %d", static_cast<int>(sequence.length()), static_cast<int>(Bound));
  for (DDS_Long i = 0; i < sequence.length(); ++i)
    if (fault.within("[%d]", static_cast<int>(i), [&] { return find_fault(Element(), fault, sequence[i]); }))
      return true;
  return false;
}
template <Name N, class Content>
bool find_fault(Typedef<N, Content>, Fault& fault, const typename Content::type& value) {
  return find_fault(Content(), fault, value);
}
template <class Content>
bool find_fault(Optional<Content>, Fault& fault, typename Content::type* const& member) {
  return member && find_fault(Content(), fault, *member);
}
template <class T>
bool find_fault(Structure<T>, Fault& fault, const T& sample) {
  return !for_each_member<T>([&]<class M>(DDS_UnsignedLong) {
    if (fault.key_only() && Table<T>::keyed && !M::key) return true;
    return !fault.within(".%s", M::name, [&] { return find_fault(typename M::Kind(), fault, sample.*M::pointer); });
  });
}
template <class T>
bool find_fault(Union<T>, Fault& fault, const T& value) {
  typedef typename Table<T>::Discriminator Discriminator;
  if (fault.within(".%s", "_d", [&] { return find_fault(Discriminator(), fault, value._d); })) return true;
  return !for_each_branch<T>([&]<class B>() {
    return !B::selected_by(value._d) ||
           !fault.within(".%s", B::name, [&] { return find_fault(typename B::Kind(), fault, value._u.*B::pointer); });
  });
}

}  // namespace tessivar::types
