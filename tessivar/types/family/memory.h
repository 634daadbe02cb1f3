// SPDX-License-Identifier: Apache-2.0

// Functions that initialise, finalise, empty, measure and copy samples.
#pragma once

#include "tessivar/platform/detail/string_room.h"
#include "tessivar/types/family/kinds.h"

#include <algorithm>
#include <new>

namespace tessivar::types {

typedef DDS_TypeAllocationParams_t Allocation;
typedef DDS_TypeDeallocationParams_t Deallocation;

// --- initialise ------------------------------------------------------------------------------------------------------

template <class T>
bool initialize(Number<T>, T& value, const Allocation&) {
  value = 0;
  return true;
}
inline bool initialize(Octet, DDS_Octet& value, const Allocation&) {
  value = 0;
  return true;
}
inline bool initialize(Boolean, DDS_Boolean& value, const Allocation&) {
  value = DDS_BOOLEAN_FALSE;
  return true;
}
template <class T>
bool initialize(Enumeration<T>, T& value, const Allocation&) {
  value = static_cast<T>(0);
  return true;
}

template <std::size_t Bound>
bool initialize(String<Bound>, char*& text, const Allocation& params) {
  if (params.allocate_memory) {
    text = DDS_String_alloc(Bound);
    return text != nullptr;
  }
  if (text) text[0] = '\0';
  return true;
}

template <class Element, DDS_Long Bound, class S>
bool initialize(Sequence<Element, Bound, S>, S& sequence, const Allocation& params) {
  if (!params.allocate_memory) return sequence.set_length(0);
  return sequence.initialize() && sequence.element_allocation_params(params) && sequence.set_absolute_maximum(Bound) &&
         sequence.set_maximum(Bound);
}

template <Name N, class Content>
bool initialize(Typedef<N, Content>, typename Content::type& value, const Allocation& params) {
  return initialize(Content(), value, params);
}

template <class T>
bool initialize(Structure<T>, T& sample, const Allocation& params) {
  return for_each_member<T>(
      [&]<class M>(DDS_UnsignedLong) { return initialize(typename M::Kind(), sample.*M::pointer, params); });
}

template <class T>
bool initialize(Union<T>, T& sample, const Allocation& params) {
  return initialize(typename Table<T>::Discriminator(), sample._d, params) &&
         for_each_branch<T>([&]<class B>() { return initialize(typename B::Kind(), sample._u.*B::pointer, params); });
}

template <class Content>
typename Content::type* create(Content, const Allocation& params);

template <class Content>
bool initialize(Optional<Content>, typename Content::type*& member, const Allocation& params) {
  if (!params.allocate_optional_members) {
    member = nullptr;
    return true;
  }
  if (!params.allocate_memory) return !member || initialize(Content(), *member, params);
  member = create(Content(), params);
  return member != nullptr;
}

// --- finalise --------------------------------------------------------------------------------------------------------

template <class Kind, class T>
void finalize(Kind, T&, const Deallocation&) {}  // numbers and enumerations own nothing

template <std::size_t Bound>
void finalize(String<Bound>, char*& text, const Deallocation&) {
  DDS_String_free(text);
  text = nullptr;
}
template <class Element, DDS_Long Bound, class S>
void finalize(Sequence<Element, Bound, S>, S& sequence, const Deallocation& params) {
  sequence.element_deallocation_params(params);
  sequence.finalize();
}
template <Name N, class Content>
void finalize(Typedef<N, Content>, typename Content::type& value, const Deallocation& params) {
  finalize(Content(), value, params);
}
template <class T>
void finalize(Structure<T>, T& sample, const Deallocation& params) {
  for_each_member<T>([&]<class M>(DDS_UnsignedLong) {
    finalize(typename M::Kind(), sample.*M::pointer, params);
    return true;
  });
}
template <class T>
void finalize(Union<T>, T& sample, const Deallocation& params) {
  for_each_branch<T>([&]<class B>() {
    finalize(typename B::Kind(), sample._u.*B::pointer, params);
    return true;
  });
}

/// Finalises and deletes a sample that `create` returned. Ignores null.
template <class Content>
void destroy(Content, typename Content::type* sample, const Deallocation& params) {
  if (sample) finalize(Content(), *sample, params);
  delete sample;
}

template <class Content>
void finalize(Optional<Content>, typename Content::type*& member, const Deallocation& params) {
  if (!params.delete_optional_members) return;
  destroy(Content(), member, params);
  member = nullptr;
}

/// Allocates and initialises a sample. The caller owns it and frees it with `destroy`. Returns null if memory is short.
template <class Content>
typename Content::type* create(Content, const Allocation& params) {
  auto* sample = new (std::nothrow) typename Content::type();
  if (sample && !initialize(Content(), *sample, params)) {
    destroy(Content(), sample, Deallocation());
    return nullptr;
  }
  return sample;
}

/// Frees only the optional members, at every depth.
template <class Kind, class T>
void finalize_optional(Kind, T&, const Deallocation&) {}

template <class T>
void finalize_optional(Structure<T>, T& sample, const Deallocation& params) {
  for_each_member<T>([&]<class M>(DDS_UnsignedLong) {
    finalize_optional(typename M::Kind(), sample.*M::pointer, params);
    return true;
  });
}
template <class T>
void finalize_optional(Union<T>, T& sample, const Deallocation& params) {
  for_each_branch<T>([&]<class B>() {
    finalize_optional(typename B::Kind(), sample._u.*B::pointer, params);
    return true;
  });
}
template <class Element, DDS_Long Bound, class S>
void finalize_optional(Sequence<Element, Bound, S>, S& sequence, const Deallocation& params) {
  for (DDS_Long i = 0; i < sequence.length(); ++i) finalize_optional(Element(), sequence[i], params);
}
template <class Content>
void finalize_optional(Optional<Content>, typename Content::type*& member, const Deallocation& params) {
  finalize(Optional<Content>(), member, params);
}

// --- storage ---------------------------------------------------------------------------------------------------------

/// Lean storage: strings and sequences are allocated for their current content. Samples on loan use it. If a function
/// gets a null `LeanStorage*`, it allocates for the whole bound, as in samples of the application. `grew` becomes true
/// if something was allocated.
struct LeanStorage {
  bool grew = false;
};

constexpr Allocation lean_allocation = {DDS_BOOLEAN_FALSE, DDS_BOOLEAN_FALSE, DDS_BOOLEAN_FALSE};

/// The allocation of a lean string grows in the steps of common allocators, so that it does not grow for each
/// character.
constexpr std::size_t lean_room(std::size_t octets) {
  constexpr std::size_t step = 16;
  const std::size_t block = std::max(platform::string_header + octets, step);
  return (block + step / 2 - 1) / step * step + step / 2 - platform::string_header;
}

/// Makes sure that `text` has room for `octets`, terminator included. If `text` has to be reallocated, its content is
/// lost.
template <std::size_t Bound>
bool reserve(String<Bound>, char*& text, std::size_t octets, LeanStorage* lean) {
  if (platform::string_room(text) >= octets) return true;
  if (lean) lean->grew = true;
  return platform::renew_string(&text, lean ? lean_room(octets) : String<Bound>::size);
}

/// Makes sure that `sequence` has room for `length` elements. If `sequence` has to be reallocated, its content is lost.
template <class Element, DDS_Long Bound, class S>
bool reserve(Sequence<Element, Bound, S>, S& sequence, DDS_Long length, LeanStorage* lean) {
  if (sequence.maximum() >= length) return true;
  if (!lean) return sequence.set_maximum(Bound);
  lean->grew = true;
  sequence.set_length(0);
  if (sequence.maximum() == 0) sequence.element_allocation_params(lean_allocation);
  return sequence.set_maximum(length);
}

/// Allocates a sample without strings and sequences, for lean storage. The caller owns it. Returns null if memory is
/// short.
template <class Content>
typename Content::type* create_lean(Content) {
  return new (std::nothrow) typename Content::type();
}

/// Sets numbers to 0, strings to empty (not null) and sequences to length 0; frees optional members. Returns false if
/// memory is short for a string that was null; all other members are emptied in this case, too.
template <class Kind, class T>
bool clear(Kind, T& value, LeanStorage*) {
  value = T();
  return true;
}
template <std::size_t Bound>
bool clear(String<Bound>, char*& text, LeanStorage* lean) {
  if (!reserve(String<Bound>(), text, 1, lean)) return false;
  text[0] = '\0';
  return true;
}
template <class Element, DDS_Long Bound, class S>
bool clear(Sequence<Element, Bound, S>, S& sequence, LeanStorage*) {
  return sequence.set_length(0);
}
template <Name N, class Content>
bool clear(Typedef<N, Content>, typename Content::type& value, LeanStorage* lean) {
  return clear(Content(), value, lean);
}
template <class Content>
bool clear(Optional<Content>, typename Content::type*& member, LeanStorage*) {
  finalize(Optional<Content>(), member, Deallocation());
  return true;
}
template <class T>
bool clear(Structure<T>, T& sample, LeanStorage* lean) {
  bool good = true;
  for_each_member<T>([&]<class M>(DDS_UnsignedLong) {
    good &= clear(typename M::Kind(), sample.*M::pointer, lean);
    return true;
  });
  return good;
}
template <class T>
bool clear(Union<T>, T& value, LeanStorage* lean) {
  bool good = clear(typename Table<T>::Discriminator(), value._d, lean);
  for_each_branch<T>([&]<class B>() {
    good &= clear(typename B::Kind(), value._u.*B::pointer, lean);
    return true;
  });
  return good;
}

/// The largest number of octets that the allocator needs for its own data of one block.
constexpr std::size_t block_overhead = 16;

/// The octets of memory that a value owns, without the value itself.
template <class Kind, class T>
std::size_t owned_octets(Kind, const T&) {
  return 0;
}
template <std::size_t Bound>
std::size_t owned_octets(String<Bound>, char* const& text) {
  return text ? platform::string_room(text) + platform::string_header + block_overhead : 0;
}
template <class Element, DDS_Long Bound, class S>
std::size_t owned_octets(Sequence<Element, Bound, S>, const S& sequence) {
  const auto* elements = sequence.get_contiguous_buffer();
  if (!elements || !sequence.has_ownership()) return 0;
  std::size_t octets = block_overhead + sizeof *elements * static_cast<std::size_t>(sequence.maximum());
  for (DDS_Long i = 0; i < sequence.maximum(); ++i) octets += owned_octets(Element(), elements[i]);
  return octets;
}
template <Name N, class Content>
std::size_t owned_octets(Typedef<N, Content>, const typename Content::type& value) {
  return owned_octets(Content(), value);
}
template <class Content>
std::size_t owned_octets(Optional<Content>, typename Content::type* const& member) {
  return member ? block_overhead + sizeof *member + owned_octets(Content(), *member) : 0;
}
template <class T>
std::size_t owned_octets(Structure<T>, const T& sample) {
  std::size_t octets = 0;
  for_each_member<T>([&]<class M>(DDS_UnsignedLong) {
    octets += owned_octets(typename M::Kind(), sample.*M::pointer);
    return true;
  });
  return octets;
}
template <class T>
std::size_t owned_octets(Union<T>, const T& value) {
  std::size_t octets = 0;
  for_each_branch<T>([&]<class B>() {
    octets += owned_octets(typename B::Kind(), value._u.*B::pointer);
    return true;
  });
  return octets;
}

// --- copy ------------------------------------------------------------------------------------------------------------

template <class Kind, class T>
bool copy(Kind, T& destination, const T& source) {
  destination = source;
  return true;
}
/// A null string is copied as an empty string.
template <std::size_t Bound>
bool copy(String<Bound>, char*& destination, char* const& source) {
  return DDS_String_copy_bounded(&destination, source ? source : "", String<Bound>::size);
}
template <class Element, DDS_Long Bound, class S>
bool copy(Sequence<Element, Bound, S>, S& destination, const S& source) {
  return destination.copy(source);
}
template <Name N, class Content>
bool copy(Typedef<N, Content>, typename Content::type& destination, const typename Content::type& source) {
  return copy(Content(), destination, source);
}
template <class T>
bool copy(Structure<T>, T& destination, const T& source) {
  return for_each_member<T>(
      [&]<class M>(DDS_UnsignedLong) { return copy(typename M::Kind(), destination.*M::pointer, source.*M::pointer); });
}
template <class T>
bool copy(Union<T>, T& destination, const T& source) {
  destination._d = source._d;
  return for_each_branch<T>(
      [&]<class B>() { return copy(typename B::Kind(), destination._u.*B::pointer, source._u.*B::pointer); });
}
template <class Content>
bool copy(Optional<Content>, typename Content::type*& destination, typename Content::type* const& source) {
  if (!source) {
    finalize(Optional<Content>(), destination, Deallocation());
    return true;
  }
  if (!destination) destination = create(Content(), Allocation());
  return destination && copy(Content(), *destination, *source);
}

/// Copies the key members only. A type without key is copied as a whole.
template <class Kind, class T>
bool copy_key(Kind, T& destination, const T& source) {
  if constexpr (IsKeyed<Kind>::value) {
    return for_each_member<T>([&]<class M>(DDS_UnsignedLong) {
      if constexpr (M::key) return copy_key(typename M::Kind(), destination.*M::pointer, source.*M::pointer);
      return true;
    });
  } else {
    return copy(Kind(), destination, source);
  }
}

}  // namespace tessivar::types
