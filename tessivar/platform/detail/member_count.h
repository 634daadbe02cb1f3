// SPDX-License-Identifier: Apache-2.0

// The number of members of a structure at compile time, so that the compiler can check a table of members for
// completeness.
#pragma once

#include <cstddef>

namespace tessivar::platform {

/// Stands for a member of any type in an initialiser that is never evaluated.
struct AnyMember {
  template <class T>
  operator T() const;
};

template <class T, class... Members>
consteval std::size_t count_members() {
  if constexpr (requires { T{Members()..., AnyMember()}; }) {
    return count_members<T, Members..., AnyMember>();
  } else {
    return sizeof...(Members);
  }
}

/// For an aggregate this is the number of its initialisers; each element of an array counts. Specialise it for a
/// structure with constructors.
template <class T>
inline constexpr std::size_t member_count = count_members<T>();

}  // namespace tessivar::platform
