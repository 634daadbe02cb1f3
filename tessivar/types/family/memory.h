// Initialising, finalising and copying samples.
#pragma once

#include "tessivar/types/family/kinds.h"

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

/// Finalises and deletes what `create` made; null is ignored.
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

/// A sample of its own, initialised; null when memory is short.
template <class Content>
typename Content::type* create(Content, const Allocation& params) {
  auto* sample = new (std::nothrow) typename Content::type();
  if (sample && !initialize(Content(), *sample, params)) {
    destroy(Content(), sample, Deallocation());
    return nullptr;
  }
  return sample;
}

/// Frees the optional members alone, at every depth.
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

/// Empties a sample without allocating: numbers 0, strings empty, sequences of length 0, optional members gone.
template <class Kind, class T>
void reset(Kind, T& sample) {
  finalize_optional(Kind(), sample, Deallocation());
  initialize(Kind(), sample, Allocation{DDS_BOOLEAN_FALSE, DDS_BOOLEAN_FALSE, DDS_BOOLEAN_FALSE});
}

// --- copy ------------------------------------------------------------------------------------------------------------

template <class Kind, class T>
bool copy(Kind, T& destination, const T& source) {
  destination = source;
  return true;
}
template <std::size_t Bound>
bool copy(String<Bound>, char*& destination, char* const& source) {
  return DDS_String_copy_bounded(&destination, source, String<Bound>::size);
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

/// The key members alone.
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
