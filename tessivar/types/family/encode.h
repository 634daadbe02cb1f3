// SPDX-License-Identifier: Apache-2.0

// Encodes samples. A size and an encoding come from the same code, with a cursor that counts or a cursor that writes,
// so that they always agree.
//
// Encoding fails for values that must not be sent: a string or a sequence over its bound, an unknown enumerator.
#pragma once

#include "tessivar/types/family/cursor.h"
#include "tessivar/types/family/kinds.h"

namespace tessivar::types {

/// Logs one line: "CommandTypePlugin_serialize: …".
void report_invalid_enumerator(const char* type_name, DDS_Long value);

template <class C, class T>
bool encode(Number<T>, C& cursor, const T& value) {
  return cursor.put(value);
}
template <class C>
bool encode(Octet, C& cursor, const DDS_Octet& value) {
  return cursor.put(value);
}
template <class C>
bool encode(Boolean, C& cursor, const DDS_Boolean& value) {
  return cursor.put(static_cast<DDS_Octet>(value != 0));
}

template <class C, class T>
bool encode(Enumeration<T>, C& cursor, const T& value) {
  if (!is_enumerator(value)) [[unlikely]] {
    if constexpr (C::reports) report_invalid_enumerator(Table<T>::name, static_cast<DDS_Long>(value));
    return false;
  }
  return cursor.put(static_cast<DDS_UnsignedLong>(value));
}

/// Replaces a null string. It is not inline because null strings are rare; an inline choice of two pointers would slow
/// down every string.
TESSIVAR_COLD inline const char* empty_string() {
  return "";
}

template <class C, std::size_t Bound>
bool encode(String<Bound>, C& cursor, char* const& text) {
  const char* characters = text;
  if (!characters) [[unlikely]]
    characters = empty_string();
  const std::size_t length = std::strlen(characters);  // faster than strnlen, and strings over their bound are rare
  if (length > Bound) return false;
  return cursor.put(static_cast<DDS_UnsignedLong>(length + 1)) && cursor.put_text(characters, length + 1);
}

template <class C, class Element, DDS_Long Bound, class S>
bool encode(Sequence<Element, Bound, S>, C& cursor, const S& sequence) {
  const DDS_Long length = sequence.length();
  if (length > Bound || !cursor.put(static_cast<DDS_UnsignedLong>(length))) return false;
  if constexpr (IsNumber<Element>::value)
    if (const auto* values = sequence.get_contiguous_buffer())
      return cursor.put_array(values, static_cast<std::size_t>(length));
  for (DDS_Long i = 0; i < length; ++i)
    if (!encode(Element(), cursor, sequence[i])) return false;
  return true;
}

template <class C, Name N, class Content>
bool encode(Typedef<N, Content>, C& cursor, const typename Content::type& value) {
  return encode(Content(), cursor, value);
}

/// An absent member is encoded as an empty parameter.
template <class C, class Content>
bool encode_optional(Content, C& cursor, DDS_UnsignedLong id, const typename Content::type* member) {
  const std::size_t body = cursor.open_parameter(id);
  return (!member || encode(Content(), cursor, *member)) && cursor.close_parameter(body);
}

template <class C, class T>
bool encode(Structure<T>, C& cursor, const T& sample) {
  const bool encoded = for_each_member<T>([&]<class M>(DDS_UnsignedLong id) {
    if constexpr (M::optional) {
      return encode_optional(typename M::Kind::Content(), cursor, id, sample.*M::pointer);
    } else if constexpr (Table<T>::is_mutable) {
      const std::size_t body = cursor.open_parameter(id);
      return encode(typename M::Kind(), cursor, sample.*M::pointer) && cursor.close_parameter(body);
    } else {
      return encode(typename M::Kind(), cursor, sample.*M::pointer);
    }
  });
  if constexpr (Table<T>::is_mutable) return encoded && cursor.end_parameters();
  return encoded;
}

template <class C, class T>
bool encode(Union<T>, C& cursor, const T& value) {
  return encode(typename Table<T>::Discriminator(), cursor, value._d) && for_each_branch<T>([&]<class B>() {
           return !B::selected_by(value._d) || encode(typename B::Kind(), cursor, value._u.*B::pointer);
         });
}

/// Encodes the key members only. A type without key is encoded as a whole.
template <class C, class Kind, class T>
bool encode_key(Kind, C& cursor, const T& value) {
  if constexpr (IsKeyed<Kind>::value) {
    return for_each_member<T>([&]<class M>(DDS_UnsignedLong) {
      if constexpr (M::key) return encode_key(typename M::Kind(), cursor, value.*M::pointer);
      return true;
    });
  } else {
    return encode(Kind(), cursor, value);
  }
}

}  // namespace tessivar::types
