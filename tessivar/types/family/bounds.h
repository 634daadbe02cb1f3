// SPDX-License-Identifier: Apache-2.0

// The largest and the smallest size of an encoding, without a sample. Each function takes the position where an
// encoding begins and returns the position where it ends.
//
// An encoding that begins later never ends earlier. Therefore the longest form of each member gives the longest
// encoding.
#pragma once

#include "tessivar/types/family/cursor.h"
#include "tessivar/types/family/kinds.h"

#include <algorithm>

namespace tessivar::types {

enum class Bound { most, least };

constexpr std::size_t after_number(std::size_t position, std::size_t size) {
  return align_up(position, size) + size;
}
constexpr std::size_t after_header(std::size_t position) {
  return align_up(position, parameter::alignment) + parameter::header_size;
}

template <Bound B, class T>
constexpr std::size_t end_of(Number<T>, std::size_t position) {
  return after_number(position, sizeof(T));
}
template <Bound B>
constexpr std::size_t end_of(Octet, std::size_t position) {
  return after_number(position, 1);
}
template <Bound B>
constexpr std::size_t end_of(Boolean, std::size_t position) {
  return after_number(position, 1);
}
template <Bound B, class T>
constexpr std::size_t end_of(Enumeration<T>, std::size_t position) {
  return after_number(position, sizeof(DDS_UnsignedLong));
}
template <Bound B, std::size_t Length>
constexpr std::size_t end_of(String<Length>, std::size_t position) {
  return after_number(position, sizeof(DDS_UnsignedLong)) + (B == Bound::most ? Length + 1 : 1);
}
template <Bound B, class Element, DDS_Long Count, class S>
constexpr std::size_t end_of(Sequence<Element, Count, S>, std::size_t position) {
  position = after_number(position, sizeof(DDS_UnsignedLong));
  for (DDS_Long i = 0; B == Bound::most && i < Count; ++i) position = end_of<B>(Element(), position);
  return position;
}
template <Bound B, Name N, class Content>
constexpr std::size_t end_of(Typedef<N, Content>, std::size_t position) {
  return end_of<B>(Content(), position);
}
/// Returns true if a short parameter header is enough and if the cursors align the body correctly. The body of a
/// parameter begins at a multiple of 4, and alignment counts from there. This equals the alignment from the start of
/// the sample if no member is aligned to 8.
template <class Content>
constexpr bool fits_parameter() {
  const std::size_t size = end_of<Bound::most>(Content(), 0);
  return size <= parameter::max_length && end_of<Bound::most>(Content(), 4) - 4 == size;
}

template <Bound B, class Content>
constexpr std::size_t end_of(Optional<Content>, std::size_t position) {
  static_assert(fits_parameter<Content>());
  const std::size_t body = after_header(position);
  return B == Bound::most ? align_up(end_of<B>(Content(), body), parameter::alignment) : body;
}
template <Bound B, class T>
constexpr std::size_t end_of(Union<T>, std::size_t position) {
  position = end_of<B>(typename Table<T>::Discriminator(), position);
  std::size_t end = 0;
  for_each_branch<T>([&]<class Branch>() {
    const std::size_t one = end_of<B>(typename Branch::Kind(), position);
    end = end == 0 ? one : (B == Bound::most ? std::max(end, one) : std::min(end, one));
    return true;
  });
  return end;
}
template <Bound B, class T>
constexpr std::size_t end_of(Structure<T>, std::size_t position) {
  for_each_member<T>([&]<class M>(DDS_UnsignedLong) {
    if constexpr (Table<T>::is_mutable) {
      static_assert(fits_parameter<typename M::Kind>());
      position = align_up(end_of<B>(typename M::Kind(), after_header(position)), parameter::alignment);
    } else {
      position = end_of<B>(typename M::Kind(), position);
    }
    return true;
  });
  return Table<T>::is_mutable ? after_header(position) : position;
}

/// The end of the key members only. For a type without key: the end of the whole encoding.
template <Bound B, class Kind>
constexpr std::size_t end_of_key(Kind, std::size_t position) {
  if constexpr (IsKeyed<Kind>::value) {
    for_each_member<typename Kind::type>([&]<class M>(DDS_UnsignedLong) {
      if constexpr (M::key) position = end_of_key<B>(typename M::Kind(), position);
      return true;
    });
    return position;
  } else {
    return end_of<B>(Kind(), position);
  }
}

template <class Kind>
constexpr std::size_t max_key_size = end_of_key<Bound::most>(Kind(), 0);

}  // namespace tessivar::types
