// SPDX-License-Identifier: Apache-2.0

// Decodes an encoding into a sample, or checks an encoding without storing it.
//
// `decode` fills a sample and reuses its buffers. `pass` copies from an encoding to another cursor, in the byte order
// of that cursor. With a NullCursor, `pass` only checks. Both refuse exactly the same input: a length over the bound or
// over the end of the data, a string without terminator, a boolean other than 0 or 1, an unknown enumerator, an unknown
// parameter that must be understood.
#pragma once

#include "tessivar/types/family/cursor.h"
#include "tessivar/types/family/kinds.h"
#include "tessivar/types/family/memory.h"

namespace tessivar::types {

// --- shared functions ------------------------------------------------------------------------------------------------

template <class R>
bool read_boolean(R& in, DDS_Octet& value) {
  return in.get(value) && value <= 1;
}

template <class T, class R>
bool read_enumerator(R& in, T& value) {
  DDS_UnsignedLong number;
  if (!in.get(number) || number >= Table<T>::enumerators.size()) return false;
  value = static_cast<T>(number);
  return true;
}

/// Returns the characters with their terminator, `size` octets. Returns null if the string is invalid.
template <std::size_t Bound, class R>
const char* read_string(R& in, DDS_UnsignedLong& size) {
  if (!in.get(size) || size == 0 || size > Bound + 1) return nullptr;
  const auto* text = reinterpret_cast<const char*>(in.get_block(1, size));
  return text && text[size - 1] == '\0' ? text : nullptr;
}

template <DDS_Long Bound, class R>
bool read_count(R& in, DDS_UnsignedLong& count) {
  // Every element takes at least one octet.
  return in.get(count) && count <= static_cast<DDS_UnsignedLong>(Bound) && count <= in.remainder();
}

/// Reads the parameter of one optional member. Calls `read(body)` if the member is present.
template <class R, class Read>
bool read_optional(R& in, DDS_UnsignedLong id, bool& present, Read&& read) {
  ParameterHeader header;
  if (!in.get_parameter(header) || header.is_list_end || header.id != id) return false;
  R body = in.until(header.end);
  present = body.remainder() > 0;
  return (!present || read(body)) && in.close_parameter(body);
}

/// Reads a parameter list to its end. Calls `read.operator()<Member>(body)` for each member in the list. Unknown
/// parameters are skipped, but an unknown parameter that must be understood is a failure.
template <class T, class R, class Read>
bool read_parameters(R& in, Read&& read) {
  for (;;) {
    ParameterHeader header;
    if (!in.get_parameter(header)) return false;
    if (header.is_list_end) return true;
    R body = in.until(header.end);
    bool known = false;
    const bool good = for_each_member<T>([&]<class M>(DDS_UnsignedLong id) {
      if (header.id != id) return true;
      known = true;
      return read.template operator()<M>(body) && in.close_parameter(body);
    });
    if (!good || (!known && header.must_understand)) return false;
    in.position = header.end;
  }
}

// --- pass ------------------------------------------------------------------------------------------------------------

template <class R, class W, class T>
bool pass(Number<T>, R& in, W& out) {
  T value;
  return in.get(value) && out.put(value);
}
template <class R, class W>
bool pass(Octet, R& in, W& out) {
  DDS_Octet value;
  return in.get(value) && out.put(value);
}
template <class R, class W>
bool pass(Boolean, R& in, W& out) {
  DDS_Octet value;
  return read_boolean(in, value) && out.put(value);
}
template <class R, class W, class T>
bool pass(Enumeration<T>, R& in, W& out) {
  T value;
  return read_enumerator(in, value) && out.put(static_cast<DDS_UnsignedLong>(value));
}

template <class R, class W, std::size_t Bound>
bool pass(String<Bound>, R& in, W& out) {
  DDS_UnsignedLong size;
  const char* text = read_string<Bound>(in, size);
  if constexpr (std::is_same_v<W, NullCursor>) return text != nullptr;
  if (!text) return false;
  size = static_cast<DDS_UnsignedLong>(std::strlen(text) + 1);  // the length that a sample stores
  return out.put(size) && out.put_array(text, size);
}

template <class R, class W, class Element, DDS_Long Bound, class S>
bool pass(Sequence<Element, Bound, S>, R& in, W& out) {
  DDS_UnsignedLong count;
  if (!read_count<Bound>(in, count) || !out.put(count)) return false;
  if constexpr (IsNumber<Element>::value && (std::is_same_v<W, NullCursor> || sizeof(typename Element::type) == 1)) {
    const std::uint8_t* block = in.get_block(sizeof(typename Element::type), count);
    return block && out.put_array(block, count);
  } else {
    for (DDS_UnsignedLong i = 0; i < count; ++i)
      if (!pass(Element(), in, out)) return false;
    return true;
  }
}

template <class R, class W, Name N, class Content>
bool pass(Typedef<N, Content>, R& in, W& out) {
  return pass(Content(), in, out);
}

template <class R, class W, class T>
bool pass(Structure<T>, R& in, W& out) {
  constexpr bool only_checked = std::is_same_v<W, NullCursor>;
  if constexpr (Table<T>::is_mutable) {
    static_assert(only_checked, "a mutable structure is no part of a key");
    return read_parameters<T>(in, [&]<class M>(R& body) { return pass(typename M::Kind(), body, out); });
  } else {
    return for_each_member<T>([&]<class M>(DDS_UnsignedLong id) {
      if constexpr (M::optional) {
        static_assert(only_checked || !M::optional, "an optional member is no part of a key");
        bool present;
        return read_optional(in, id, present, [&](R& body) { return pass(typename M::Kind::Content(), body, out); });
      } else {
        return pass(typename M::Kind(), in, out);
      }
    });
  }
}

template <class R, class W, class T>
bool pass(Union<T>, R& in, W& out) {
  decltype(T::_d) discriminator;
  if (!read_enumerator(in, discriminator) || !out.put(static_cast<DDS_UnsignedLong>(discriminator))) return false;
  return for_each_branch<T>(
      [&]<class B>() { return !B::selected_by(discriminator) || pass(typename B::Kind(), in, out); });
}

// --- decode ----------------------------------------------------------------------------------------------------------

template <class R, class T>
bool decode(Number<T>, R& in, T& value) {
  return in.get(value);
}
template <class R>
bool decode(Octet, R& in, DDS_Octet& value) {
  return in.get(value);
}
template <class R>
bool decode(Boolean, R& in, DDS_Boolean& value) {
  return read_boolean(in, value);
}
template <class R, class T>
bool decode(Enumeration<T>, R& in, T& value) {
  return read_enumerator(in, value);
}

template <class R, std::size_t Bound>
bool decode(String<Bound>, R& in, char*& text) {
  DDS_UnsignedLong size;
  const char* source = read_string<Bound>(in, size);
  if (!source || !reserve(String<Bound>(), text, size, in.lean)) return false;
  copy_text(text, source, size);
  return true;
}

template <class R, class Element, DDS_Long Bound, class S>
bool decode(Sequence<Element, Bound, S>, R& in, S& sequence) {
  DDS_UnsignedLong count;
  if (!read_count<Bound>(in, count)) return false;
  const auto length = static_cast<DDS_Long>(count);
  if (!reserve(Sequence<Element, Bound, S>(), sequence, length, in.lean) || !sequence.set_length(length)) return false;
  if constexpr (IsNumber<Element>::value)
    if (auto* values = sequence.get_contiguous_buffer()) return in.get_array(values, count);
  for (DDS_Long i = 0; i < length; ++i)
    if (!decode(Element(), in, sequence[i])) return false;
  return true;
}

template <class R, Name N, class Content>
bool decode(Typedef<N, Content>, R& in, typename Content::type& value) {
  return decode(Content(), in, value);
}

template <class R, class Content>
bool decode_optional(Content, R& in, DDS_UnsignedLong id, typename Content::type*& member) {
  bool present;
  const bool good = read_optional(in, id, present, [&](R& body) {
    if (!member) {
      if (in.lean) in.lean->grew = true;
      member = in.lean ? create_lean(Content()) : create(Content(), Allocation());
    }
    return member && decode(Content(), body, *member);
  });
  if (good && !present) finalize(Optional<Content>(), member, Deallocation());
  return good;
}

template <class R, class T>
bool decode(Structure<T>, R& in, T& sample) {
  if constexpr (Table<T>::is_mutable) {
    return clear(Structure<T>(), sample, in.lean) && read_parameters<T>(in, [&]<class M>(R& body) {
             return decode(typename M::Kind(), body, sample.*M::pointer);
           });
  } else {
    return for_each_member<T>([&]<class M>(DDS_UnsignedLong id) {
      if constexpr (M::optional) {
        return decode_optional(typename M::Kind::Content(), in, id, sample.*M::pointer);
      } else {
        return decode(typename M::Kind(), in, sample.*M::pointer);
      }
    });
  }
}

/// Empties the branches that are not selected.
template <class R, class T>
bool decode(Union<T>, R& in, T& value) {
  return clear(Union<T>(), value, in.lean) && read_enumerator(in, value._d) && for_each_branch<T>([&]<class B>() {
           return !B::selected_by(value._d) || decode(typename B::Kind(), in, value._u.*B::pointer);
         });
}

// --- keys ------------------------------------------------------------------------------------------------------------

/// The input of a walk over the key members: a whole encoding, or an encoding of the key members only.
enum class Encoding { whole, key_only };

/// Copies the key members to `out`. Checks the other members of a whole encoding.
template <Encoding E, class R, class W, class Kind>
bool pass_key(Kind, R& in, W& out) {
  if constexpr (IsKeyed<Kind>::value) {
    return for_each_member<typename Kind::type>([&]<class M>(DDS_UnsignedLong id) {
      if constexpr (M::key) {
        return pass_key<E>(typename M::Kind(), in, out);
      } else if constexpr (E == Encoding::key_only) {
        return true;
      } else {
        NullCursor none;
        if constexpr (M::optional) {
          bool present;
          return read_optional(in, id, present, [&](R& body) { return pass(typename M::Kind::Content(), body, none); });
        } else {
          return pass(typename M::Kind(), in, none);
        }
      }
    });
  } else {
    return pass(Kind(), in, out);
  }
}

/// Decodes the key members. Checks the other members of a whole encoding.
template <Encoding E, class R, class Kind, class T>
bool decode_key(Kind, R& in, T& holder) {
  if constexpr (IsKeyed<Kind>::value) {
    return for_each_member<T>([&]<class M>(DDS_UnsignedLong id) {
      if constexpr (M::key) {
        return decode_key<E>(typename M::Kind(), in, holder.*M::pointer);
      } else if constexpr (E == Encoding::key_only) {
        return true;
      } else {
        NullCursor none;
        if constexpr (M::optional) {
          bool present;
          return read_optional(in, id, present, [&](R& body) { return pass(typename M::Kind::Content(), body, none); });
        } else {
          return pass(typename M::Kind(), in, none);
        }
      }
    });
  } else {
    return decode(Kind(), in, holder);
  }
}

}  // namespace tessivar::types
