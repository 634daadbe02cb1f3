// SPDX-License-Identifier: Apache-2.0

// Functions that assign JSON to samples, and that make random samples, for every kind.
#pragma once

#include "tessivar/types/family/memory.h"

#include <algorithm>
#include <random>
#include <stdexcept>
#include <string>

#include <nlohmann/json.hpp>

// In the namespace of the kinds, so that the overloads for each kind find each other.
namespace tessivar::types {

using nlohmann::json;
typedef std::mt19937_64 Random;

// --- from JSON: 64-bit numbers as decimal text, enumerators by name, the selected branch of a union. Throws if a
// value does not fit.

template <class T>
void assign_json(Number<T>, T& value, const json& from) {
  if constexpr (sizeof(T) == 8) {
    value = static_cast<T>(std::stoull(from.get<std::string>()));
  } else {
    value = from.get<T>();
  }
}
inline void assign_json(Octet, DDS_Octet& value, const json& from) {
  value = from.get<DDS_Octet>();
}
inline void assign_json(Boolean, DDS_Boolean& value, const json& from) {
  value = from.get<bool>();
}
template <class T>
void assign_json(Enumeration<T>, T& value, const json& from) {
  const auto& names = Table<T>::enumerators;
  const auto found = std::find(names.begin(), names.end(), from.get<std::string>());
  if (found == names.end()) throw std::invalid_argument(from.dump());
  value = static_cast<T>(found - names.begin());
}
template <std::size_t Bound>
void assign_json(String<Bound>, char*& text, const json& from) {
  if (!DDS_String_copy_bounded(&text, from.get<std::string>().c_str(), Bound + 1)) throw std::length_error(from.dump());
}
template <class Element, DDS_Long Bound, class S>
void assign_json(Sequence<Element, Bound, S>, S& sequence, const json& from) {
  if (!sequence.ensure_length(static_cast<DDS_Long>(from.size()), Bound)) throw std::length_error(from.dump());
  for (DDS_Long i = 0; i < sequence.length(); ++i)
    assign_json(Element(), sequence[i], from.at(static_cast<std::size_t>(i)));
}
template <Name N, class Content>
void assign_json(Typedef<N, Content>, typename Content::type& value, const json& from) {
  assign_json(Content(), value, from);
}
template <class Content>
void assign_json(Optional<Content>, typename Content::type*& member, const json& from) {
  finalize(Optional<Content>(), member, Deallocation());
  if (from.is_null()) return;
  member = create(Content(), Allocation());
  assign_json(Content(), *member, from);
}
template <class T>
void assign_json(Structure<T>, T& sample, const json& from) {
  for_each_member<T>([&]<class M>(DDS_UnsignedLong) {
    assign_json(typename M::Kind(), sample.*M::pointer, from.at(M::name));
    return true;
  });
}
template <class T>
void assign_json(Union<T>, T& value, const json& from) {
  assign_json(typename Table<T>::Discriminator(), value._d, from.at("_d"));
  for_each_branch<T>([&]<class B>() {
    if (B::selected_by(value._d)) assign_json(typename B::Kind(), value._u.*B::pointer, from.at("_u").at(B::name));
    return true;
  });
}

// --- random values

/// Returns a number from 0 to `most`; often 0 or `most`.
inline std::size_t pick(Random& random, std::size_t most) {
  switch (random() % 8) {
    case 0:
      return 0;
    case 1:
      return most;
    case 2:
      return random() % (most + 1);
    default:
      return random() % (std::min<std::size_t>(most, 9) + 1);
  }
}

template <class T>
void randomize(Number<T>, T& value, Random& random) {
  if constexpr (std::is_floating_point_v<T>) {
    value = static_cast<T>(static_cast<DDS_Long>(random())) / 16;
  } else {
    value = static_cast<T>(random());
  }
}
inline void randomize(Octet, DDS_Octet& value, Random& random) {
  value = static_cast<DDS_Octet>(random());
}
inline void randomize(Boolean, DDS_Boolean& value, Random& random) {
  value = random() % 2;
}
template <class T>
void randomize(Enumeration<T>, T& value, Random& random) {
  value = static_cast<T>(random() % Table<T>::enumerators.size());
}
template <std::size_t Bound>
void randomize(String<Bound>, char*& text, Random& random) {
  std::string characters(pick(random, Bound), ' ');
  for (char& c : characters) c = static_cast<char>('!' + random() % 90);
  assign_json(String<Bound>(), text, characters);
}
template <class Element, DDS_Long Bound, class S>
void randomize(Sequence<Element, Bound, S>, S& sequence, Random& random) {
  sequence.set_length(static_cast<DDS_Long>(pick(random, static_cast<std::size_t>(Bound))));
  for (DDS_Long i = 0; i < sequence.length(); ++i) randomize(Element(), sequence[i], random);
}
template <Name N, class Content>
void randomize(Typedef<N, Content>, typename Content::type& value, Random& random) {
  randomize(Content(), value, random);
}
template <class Content>
void randomize(Optional<Content>, typename Content::type*& member, Random& random) {
  finalize(Optional<Content>(), member, Deallocation());
  if (random() % 2) return;
  member = create(Content(), Allocation());
  randomize(Content(), *member, random);
}
template <class T>
void randomize(Structure<T>, T& sample, Random& random) {
  for_each_member<T>([&]<class M>(DDS_UnsignedLong) {
    randomize(typename M::Kind(), sample.*M::pointer, random);
    return true;
  });
}
template <class T>
void randomize(Union<T>, T& value, Random& random) {
  randomize(typename Table<T>::Discriminator(), value._d, random);
  for_each_branch<T>([&]<class B>() {
    randomize(typename B::Kind(), value._u.*B::pointer, random);
    return true;
  });
}

}  // namespace tessivar::types
